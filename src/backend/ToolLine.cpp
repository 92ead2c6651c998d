#include "backend/ToolLine.h"

#include "base/ShownText.h"

#include <algorithm>

namespace vennic {

namespace {
const QString beginning = QStringLiteral("🔧 ");
constexpr QChar end = u'…';
} // namespace

QString toolLine(const QString& label) { return beginning + label + end; }

std::optional<QString> shownToolLine(const ChatMessage& message) {
    const QString& content = message.content;
    if (message.role != ChatMessage::Role::assistant || !content.startsWith(beginning) || !content.endsWith(end))
        return std::nullopt;
    const QString label = content.sliced(beginning.size()).chopped(1);
    const QString shown = shownTitle(label);
    if (shown == label || std::any_of(label.begin(), label.end(), [](QChar c) { return c.isSpace(); }))
        return std::nullopt;
    return beginning + shown;
}

} // namespace vennic
