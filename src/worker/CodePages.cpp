#include "worker/CodePages.h"

#include "base/Utf8.h"

#include <unicode/ucnv.h>

namespace vennic::worker {
namespace {

const char* converterName(int codePage) {
    switch (codePage) {
    case 437:
        return "ibm-437";
    case 720:
        return "ibm-720";
    case 737:
        return "ibm-737";
    case 775:
        return "ibm-775";
    case 850:
        return "ibm-850";
    case 852:
        return "ibm-852";
    case 855:
        return "ibm-855";
    case 857:
        return "ibm-857";
    case 858:
        return "ibm-858";
    case 860:
        return "ibm-860";
    case 861:
        return "ibm-861";
    case 862:
        return "ibm-862";
    case 863:
        return "ibm-863";
    case 864:
        return "ibm-864";
    case 865:
        return "ibm-865";
    case 866:
        return "ibm-866";
    case 869:
        return "ibm-869";
    case 874:
        return "windows-874";
    case 932:
    case 10001:
        return "windows-932";
    case 936:
    case 10008:
        return "windows-936";
    case 949:
    case 1361:
    case 10003:
        return "windows-949";
    case 950:
    case 10002:
        return "windows-950";
    case 1250:
        return "windows-1250";
    case 1251:
        return "windows-1251";
    case 1253:
        return "windows-1253";
    case 1254:
        return "windows-1254";
    case 1255:
        return "windows-1255";
    case 1256:
        return "windows-1256";
    case 1257:
        return "windows-1257";
    case 1258:
        return "windows-1258";
    case 10000:
        return "macintosh";
    case 10006:
        return "x-mac-greek";
    case 10007:
        return "x-mac-cyrillic";
    case 10029:
        return "x-mac-centraleurroman";
    case 10081:
        return "x-mac-turkish";
    case 65001:
        return "UTF-8";
    default:
        return "windows-1252";
    }
}

} // namespace

void CodePages::Closer::operator()(UConverter* converter) const { ucnv_close(converter); }

UConverter* CodePages::converter(int codePage) {
    const char* const name = converterName(codePage);
    auto& entry = open_[name];
    if (!entry) {
        UErrorCode error = U_ZERO_ERROR;
        entry.reset(ucnv_open(name, &error));
    }
    return entry.get();
}

void CodePages::append(std::string& utf8, int codePage, std::string_view bytes) {
    UConverter* const from = converter(codePage);
    if (from == nullptr) {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            appendUtf8(utf8, static_cast<unsigned char>(bytes[i]) < 0x80 ? static_cast<char32_t>(bytes[i]) : 0xFFFD);
        return;
    }
    std::u16string units(bytes.size() + 1, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const auto convert = [&] {
        error = U_ZERO_ERROR;
        return ucnv_toUChars(from, units.data(), static_cast<int32_t>(units.size()), bytes.data(),
                             static_cast<int32_t>(bytes.size()), &error);
    };
    int32_t length = convert();
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        units.resize(static_cast<std::size_t>(length) + 1);
        length = convert();
    }
    for (std::size_t at = 0; U_SUCCESS(error) && at < static_cast<std::size_t>(length); ++at) {
        char32_t codePoint = units[at];
        if ((codePoint & 0xFC00) == 0xD800 && (units[at + 1] & 0xFC00) == 0xDC00)
            codePoint = 0x10000 + ((codePoint & 0x3FF) << 10) + (units[++at] & 0x3FFU);
        appendUtf8(utf8, codePoint);
    }
}

int codePageOfCharset(int charset) {
    switch (charset) {
    case 1:
        return 0;
    case 77:
        return 10000;
    case 78:
        return 10001;
    case 79:
        return 10003;
    case 80:
        return 10008;
    case 81:
        return 10002;
    case 85:
        return 10006;
    case 86:
        return 10081;
    case 88:
        return 10029;
    case 89:
        return 10007;
    case 128:
        return 932;
    case 129:
        return 949;
    case 130:
        return 1361;
    case 134:
        return 936;
    case 136:
        return 950;
    case 161:
        return 1253;
    case 162:
        return 1254;
    case 163:
        return 1258;
    case 177:
        return 1255;
    case 178:
    case 179:
    case 180:
        return 1256;
    case 181:
        return 1255;
    case 186:
        return 1257;
    case 204:
        return 1251;
    case 222:
        return 874;
    case 238:
        return 1250;
    case 254:
        return 437;
    case 255:
        return 850;
    default:
        return 1252;
    }
}

} // namespace vennic::worker
