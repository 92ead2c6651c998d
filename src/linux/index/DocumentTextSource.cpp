#include "linux/index/DocumentTextSource.h"

#include "base/TextExtensions.h"
#include "linux/worker/WorkerFailure.h"

namespace vennic::index {

namespace {

TextSource::Outcome outcomeOf(WorkerFailure::Cause cause) {
    switch (cause) {
    case WorkerFailure::Cause::unavailable:
        return TextSource::Outcome::unavailable;
    case WorkerFailure::Cause::interrupted:
        return TextSource::Outcome::interrupted;
    case WorkerFailure::Cause::document:
        return TextSource::Outcome::crashed;
    }
    Q_UNREACHABLE();
}

} // namespace

std::optional<DocumentForm> DocumentTextSource::documentFormOf(std::string_view name) const {
    const auto dot = name.rfind('.');
    const auto raw = dot == std::string_view::npos || dot == 0 ? std::string_view() : name.substr(dot + 1);
    const QString extension = QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size())).toLower();
    const auto type = extension.isEmpty() ? std::nullopt : types_.typeForExtension(extension);
    const auto is = [&](QLatin1StringView ancestor) { return type && types_.conforms(*type, ancestor); };
    if (extension == QLatin1StringView("pdf") || is(QLatin1StringView("com.adobe.pdf")))
        return DocumentForm::pdf;
    if (extension == QLatin1StringView("rtf") || is(QLatin1StringView("public.rtf")))
        return DocumentForm::rtf;
    if (is(QLatin1StringView("public.text")) || countsAsText(extension))
        return DocumentForm::plainText;
    return std::nullopt;
}

TextSource::Form DocumentTextSource::formOf(std::string_view name) const {
    const auto form = documentFormOf(name);
    if (!form)
        return Form::none;
    return *form == DocumentForm::plainText ? Form::plain : Form::rich;
}

TextSource::Result DocumentTextSource::read(int file, std::string_view name) {
    constexpr qint64 allCharacters = 4 * largestTextFile; // a PDF may hold more text than bytes
    const auto form = documentFormOf(name);
    if (!form)
        return {Outcome::refused, {}};
    try {
        const QString shown = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
        return {Outcome::text, reader_.readOpen(*form, file, shown, allCharacters).text.toStdString()};
    } catch (const WorkerFailure& failure) {
        return {reader_.isEnding() ? Outcome::ended : outcomeOf(failure.cause()), {}};
    } catch (const DocumentReadError& error) {
        // It is open and a regular file: what can't be read of it is the disk's or the network's fault.
        return {error.fault() == DocumentFault::unparsable ? Outcome::refused : Outcome::interrupted, {}};
    }
}

} // namespace vennic::index
