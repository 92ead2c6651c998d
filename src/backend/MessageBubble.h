#pragma once
#include "base/InlineMarkdown.h"
#include "core/Models.h"

#include <functional>

namespace vennic {

/// How one message of the conversation is shown, and what its links do.
namespace MessageBubble {

/// A text, or some whole lines of one, as pieces of one look each; line ends stand between them as they are. A user's
/// text stands as it is; an assistant's shows its inline Markdown, line by line. Nothing in it loads anything.
std::vector<MarkdownRun> renderedContent(ChatMessage::Role role, const QString& text);
/// The same as a person or a screen reader would read it aloud.
QString plainContent(ChatMessage::Role role, const QString& text);

/// What a click on a link may do.
struct LinkActions {
    std::function<void(const QString& id)> openDocument; // a handle of the document cache
    std::function<void(const QString& percentEncodedIdentifier)> openPhoto;
};
/// Follows a link of the program's own. False for any other, which is the system's to open; an address whose scheme is
/// not spelled in lower case is such another.
bool handleURL(const QString& address, const LinkActions& actions);

} // namespace MessageBubble
} // namespace vennic
