#include "localllm/InstallLog.h"
#include "localllm/OutputLines.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

/// A piece of a program's output: its lines are the text between line feeds, or nothing where it is no text. What the
/// log shows of them is free of control characters.
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
        if (line.isEmpty() || std::ranges::any_of(line, [](QChar c) { return c.category() == QChar::Other_Control; }))
            std::abort();
    }
    if (log.lines().size() > vennic::InstallLog::mostLines || log.shown().size() > log.lines().size())
        std::abort();
    if (kept != (piece.isValidUtf8() ? QString::fromUtf8(piece).remove(u'\n') : QString()))
        std::abort();
    return 0;
}
