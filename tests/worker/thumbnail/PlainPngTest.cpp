#include "linux/worker/PlainPng.h"

#include "linux/worker/AnswerCheck.h"
#include "worker/thumbnail/Finish.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace vennic;

namespace {

constexpr wire::PictureSize size{5, 3};

QByteArray honest() {
    return QByteArray::fromStdString(worker::encodePng(worker::Raster(5, 3, worker::Raster::Kind::withAlpha)));
}

QByteArray big32(quint32 number) {
    const quint32 stored = qToBigEndian(number);
    return {reinterpret_cast<const char*>(&stored), sizeof stored};
}

QByteArray chunk(const QByteArray& type, const QByteArray& data) {
    return big32(static_cast<quint32>(data.size())) + type + data + "SUM.";
}

const QByteArray signature("\x89PNG\r\n\x1a\n");
const QByteArray header = chunk("IHDR", big32(5) + big32(3) + QByteArray("\x08\x06\0\0\0", 5));
const QByteArray pixels = chunk("IDAT", "...");
const QByteArray end = chunk("IEND", {});

bool isPlain(const QByteArray& bytes) { return isPlainPng(bytes, size); }

/// Whether a thumbnail of at most `edge` pixels may have this body.
bool isAllowed(const QByteArray& body, std::uint32_t edge) {
    const wire::Request request{.form = wire::Form::thumbnail, .number = 1, .parameters = {.edge = edge}};
    const wire::Answer answer{.number = 1, .bodyBytes = static_cast<std::uint64_t>(body.size()), .fileBytes = 100};
    const AnswerCheck check(request, 100, 100);
    return check.allows(answer) && check.allows(answer, body);
}

QByteArray bodyOf(const wire::PictureSize& said, const QByteArray& png) {
    return QByteArray(reinterpret_cast<const char*>(&said), sizeof said) + png;
}

} // namespace

TEST(PlainPng, anHonestEncodersPictureIsPlain) {
    EXPECT_TRUE(isPlain(honest()));
    EXPECT_TRUE(
        isPlain(QByteArray::fromStdString(worker::encodePng(worker::Raster(5, 3, worker::Raster::Kind::opaque)))));
    EXPECT_TRUE(isPlain(signature + header + chunk("bKGD", "......") + pixels + pixels + end));
}

TEST(PlainPng, aPictureThatWasCutAnywhereIsNot) {
    const QByteArray whole = honest();
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(isPlain(whole.first(length))) << length;
    EXPECT_FALSE(isPlain(whole + '\0'));
    EXPECT_FALSE(isPlain(whole + whole));
}

TEST(PlainPng, theHeaderSaysTheSizeAndNothingUnusual) {
    const auto withHeader = [](const QByteArray& data) { return signature + chunk("IHDR", data) + pixels + end; };
    EXPECT_TRUE(isPlain(withHeader(big32(5) + big32(3) + QByteArray("\x08\x02\0\0\0", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(6) + big32(3) + QByteArray("\x08\x06\0\0\0", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(5) + big32(0x80000003) + QByteArray("\x08\x06\0\0\0", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(5) + big32(3) + QByteArray("\x10\x06\0\0\0", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(5) + big32(3) + QByteArray("\x08\x03\0\0\0", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(5) + big32(3) + QByteArray("\x08\x06\0\0\1", 5))));
    EXPECT_FALSE(isPlain(withHeader(big32(5) + big32(3) + QByteArray("\x08\x06\0\0\0\0", 6))));
    EXPECT_FALSE(isPlain(withHeader(big32(5))));
}

TEST(PlainPng, nothingElseIsInIt) {
    for (const char* type : {"tEXt", "iTXt", "zTXt", "eXIf", "iCCP", "acTL", "PLTE", "tRNS", "IHDR", "????"})
        EXPECT_FALSE(isPlain(signature + header + chunk(type, "...") + pixels + end)) << type;
    EXPECT_FALSE(isPlain(signature + pixels + header + end));
    EXPECT_FALSE(isPlain(signature + header + end));
    EXPECT_FALSE(isPlain(signature + header + pixels));
    EXPECT_FALSE(isPlain(signature + header + pixels + chunk("IEND", "!")));
    EXPECT_FALSE(isPlain(signature + header + pixels + end + pixels));
    EXPECT_FALSE(isPlain(signature + header + big32(0xffffffff) + "IDAT" + "..." + end));
    EXPECT_FALSE(isPlain("GIF89a" + header + pixels + end));
}

TEST(PlainPng, anAnswerWithAPictureIsBelievedOnlyAsAWhole) {
    EXPECT_TRUE(isAllowed(bodyOf(size, honest()), 5));
    EXPECT_TRUE(isAllowed(bodyOf(size, honest()), 256));
    EXPECT_FALSE(isAllowed(bodyOf(size, honest()), 4)); // larger than asked
    EXPECT_FALSE(isAllowed(bodyOf({4, 3}, honest()), 5));
    EXPECT_FALSE(isAllowed(bodyOf({0, 0}, {}), 5));
    EXPECT_FALSE(isAllowed(bodyOf(size, {}), 5));
    EXPECT_FALSE(isAllowed({}, 5));
    EXPECT_FALSE(isAllowed("1234567", 5));
    EXPECT_FALSE(isAllowed(bodyOf(size, honest() + QByteArray(6 << 20, '\0')), 5));
}
