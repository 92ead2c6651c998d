#include "localllm/OutputLines.h"

#include <cstdint>
#include <cstdlib>

/// A piece of a program's output: its lines are the text between line feeds, or nothing where it is no text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray piece(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QString kept;
    for (const QString& line : vennic::outputLines(piece)) {
        if (line.isEmpty() || line.contains(u'\n') || vennic::settledLine(line).contains(u'\r'))
            std::abort();
        kept += line;
    }
    if (kept != (piece.isValidUtf8() ? QString::fromUtf8(piece).remove(u'\n') : QString()))
        std::abort();
    return 0;
}
