#include "localllm/InstallLog.h"
#include "localllm/OutputLines.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

/// Of the properties and categories of Unicode: what begins a line, turns the direction of a text or is no character.
bool mayBeShown(char32_t c) {
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format: // joiners, tags, and the signs that enclose a number, which are seen
        return c == 0x200C || c == 0x200D || c >= 0xE0020 || (c >= 0x0600 && c <= 0x0605) || c == 0x06DD ||
               c == 0x070F || c == 0x0890 || c == 0x0891 || c == 0x08E2 || c == 0x110BD || c == 0x110CD;
    default:
        return c != QChar::ObjectReplacementCharacter && !QChar::isNonCharacter(c);
    }
}

} // namespace

/// A piece of a program's output: its lines are the text between line feeds, or nothing where it is no text. What the
/// log shows of them is free of what commands the one who draws it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray piece(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QString kept;
    vennic::InstallLog log;
    for (const QString& line : vennic::outputLines(piece)) {
        if (line.isEmpty() || line.contains(u'\n') || vennic::settledLine(line).contains(u'\r'))
            std::abort();
        kept += line;
        log.append(line);
        const auto percentage = vennic::percentageIn(line);
        if (percentage && (*percentage < 0 || *percentage > 100))
            std::abort();
    }
    for (const QString& line : log.shown()) {
        if (line.isEmpty() || !line.isValidUtf16() || !std::ranges::all_of(line.toUcs4(), mayBeShown))
            std::abort();
    }
    if (log.lines().size() > vennic::InstallLog::mostLines || log.shown().size() > log.lines().size())
        std::abort();
    if (kept != (piece.isValidUtf8() ? QString::fromUtf8(piece).remove(u'\n') : QString()))
        std::abort();
    return 0;
}
