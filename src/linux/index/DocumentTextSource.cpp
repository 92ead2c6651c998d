#include "linux/index/DocumentTextSource.h"

#include "base/TextExtensions.h"

namespace vennic::index {

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
    // The reader gets the file that was opened without following links, not a name that may lead elsewhere by now.
    const QString path = QStringLiteral("/proc/self/fd/%1").arg(file);
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
        return {Outcome::text, text.text.toStdString()};
    } catch (const DocumentReadError& error) {
        return {error.fault() == DocumentFault::worker ? Outcome::failed : Outcome::refused, {}};
    }
}

} // namespace vennic::index
