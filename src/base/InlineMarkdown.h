#pragma once
#include <QString>
#include <QStringList>

#include <vector>

namespace vennic {

/// A piece of text of one look.
struct MarkdownRun {
    QString text{};
    bool emphasis = false;
    bool strong = false;
    bool code = false;
    QString link{}; // where it leads; empty for text that is no link
    bool operator==(const MarkdownRun&) const = default;
};

/// The inline Markdown of one line (CommonMark 0.30, chapter 6): code spans, emphasis, links, autolinks, backslash
/// escapes. Blanks stay as they are. An image is the text that stands for it, HTML is text, and nothing is ever loaded.
/// A line of more than 64 KiB characters is given back as it stands.
std::vector<MarkdownRun> parseInlineMarkdown(const QString& line);

} // namespace vennic
