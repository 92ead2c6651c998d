#include "linux/index/DocumentTextSource.h"

#include "base/TextExtensions.h"

#include <QFile>

#include <array>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic::index {

namespace {

std::string pathOf(int file) {
    std::array<char, PATH_MAX> path;
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length)) : std::string();
}

/// Whether the path names the open file itself, not a link to it.
bool leadsTo(const std::string& path, int file) {
    struct stat named{};
    struct stat open{};
    return lstat(path.c_str(), &named) == 0 && fstat(file, &open) == 0 && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

} // namespace

DocumentTextSource::Road DocumentTextSource::roadOf(std::string_view name) const {
    const auto dot = name.rfind('.');
    const auto raw = dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
    const QString extension = QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size())).toLower();
    const auto type = extension.isEmpty() ? std::nullopt : types_.typeForExtension(extension);
    const auto is = [&](QLatin1StringView ancestor) { return type && types_.conforms(*type, ancestor); };
    if (extension == QLatin1StringView("pdf") || is(QLatin1StringView("com.adobe.pdf")))
        return Road::pdf;
    if (extension == QLatin1StringView("rtf") || is(QLatin1StringView("public.rtf")))
        return Road::rtf;
    if (is(QLatin1StringView("public.text")) || countsAsText(extension))
        return Road::plain;
    return Road::none;
}

TextSource::Form DocumentTextSource::formOf(std::string_view name) const {
    switch (roadOf(name)) {
    case Road::none:
        return Form::none;
    case Road::plain:
        return Form::plain;
    default:
        return Form::rich;
    }
}

TextSource::Result DocumentTextSource::read(int file, std::string_view name) {
    // The reader opens by path. The path is the kernel's own for the open file, and must lead to that file before and
    // after, or what was read may be another one's.
    const std::string real = pathOf(file);
    if (!leadsTo(real, file))
        return {Outcome::refused, {}};
    const QString path = QFile::decodeName(QByteArray::fromStdString(real));
    constexpr qint64 allCharacters = 4 * largestTextFile; // a PDF may hold more text than bytes
    try {
        DocumentText text;
        switch (roadOf(name)) {
        case Road::none:
            return {Outcome::refused, {}};
        case Road::plain:
            text = reader_.plainText(path, allCharacters);
            break;
        case Road::rtf:
            text = reader_.rtf(path, allCharacters);
            break;
        case Road::pdf:
            text = reader_.pdf(path, allCharacters);
            break;
        }
        if (!leadsTo(real, file))
            return {Outcome::refused, {}};
        return {Outcome::text, text.text.toStdString()};
    } catch (const DocumentReadError& error) {
        return {error.fault() == DocumentFault::worker ? Outcome::failed : Outcome::refused, {}};
    }
}

} // namespace vennic::index
