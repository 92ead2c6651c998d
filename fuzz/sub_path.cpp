#include "Bridge/SubPath.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>

using namespace vennic;

namespace {

const FileURL root{QStringLiteral("/home/marie/partage")};

void expect(bool holds) {
    if (!holds)
        std::abort();
}

/// Whether the sub-path climbs or begins at the top, told by the library's own reading of it.
bool isRefused(const std::filesystem::path& path) {
    for (const auto& piece : path) {
        if (piece == "..")
            return true;
    }
    return path.has_root_directory();
}

} // namespace

/// A sub-path in UTF-8 or, behind a byte of ones, in UTF-16: what is taken leads below the folder and nowhere else.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const bool isWide = size > 0 && data[0] == 0xff;
    const auto* const bytes = reinterpret_cast<const char*>(data);
    QString text = isWide ? QString(static_cast<qsizetype>((size - 1) / 2), u'\0')
                          : QString::fromUtf8(bytes, static_cast<qsizetype>(size));
    for (qsizetype i = 0; isWide && i < text.size(); ++i)
        text[i] = QChar(static_cast<char16_t>(data[1 + 2 * i] << 8 | data[2 + 2 * i]));

    const auto subPath = SubPath::parse(text);
    const std::filesystem::path path = text.toStdString();
    expect(subPath.has_value() != isRefused(path));
    if (!subPath)
        return 0;
    const QString normalized = subPath->normalized();
    expect(!normalized.startsWith(u'/') && !normalized.endsWith(u'/') && !normalized.contains(QLatin1String("//")));
    const auto again = SubPath::parse(normalized);
    expect(again && again->normalized() == normalized);

    const auto folder = subPath->below(root);
    if (!folder)
        std::abort();
    expect(folder->path == (normalized.isEmpty() ? root.path : root.path + u'/' + normalized));
    expect(folder->standardized().isOrLiesUnder(root));
    std::filesystem::path plain = (std::filesystem::path(root.path.toStdString()) / path).lexically_normal();
    if (!plain.has_filename())
        plain = plain.parent_path();
    expect(folder->standardized().path.toStdString() == plain.string());
    return 0;
}
