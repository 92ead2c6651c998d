#include "base/InlineMarkdown.h"

#include <cstdint>
#include <cstdlib>

using namespace vennic;

// Whatever the line: no character that wasn't in it, no empty run, no two neighbours of one look.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QString line = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    line.remove(u'\n');
    const auto runs = parseInlineMarkdown(line);
    qsizetype at = 0;
    for (std::size_t index = 0; index < runs.size(); ++index) {
        if (runs[index].text.isEmpty())
            std::abort();
        for (const QChar c : runs[index].text) {
            at = line.indexOf(c, at);
            if (at < 0)
                std::abort();
            ++at;
        }
        if (index > 0) {
            MarkdownRun previous = runs[index - 1];
            previous.text = runs[index].text;
            if (previous == runs[index])
                std::abort();
        }
    }
    return 0;
}
