#include "core/ConversationEncoding.h"

namespace vennic {

namespace {

/// Equality that looks at shared text once only.
bool isSame(const ChatMessage& a, const ChatMessage& b) {
    const bool sharedText = a.content.constData() == b.content.constData() && a.content.size() == b.content.size();
    return a.id == b.id && a.role == b.role && a.createdAt == b.createdAt && (sharedText || a.content == b.content);
}

} // namespace

std::optional<QByteArray> ConversationEncoding::encode(const std::vector<ChatMessage>& messages) {
    entries_.resize(messages.size());
    qsizetype size = 2;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        Entry& entry = entries_[i];
        if (entry.json.isEmpty() || !isSame(entry.message, messages[i])) {
            auto json = encodeChatMessage(messages[i]);
            if (!json) {
                entry = {};
                return std::nullopt;
            }
            entry = {messages[i], std::move(*json)};
        }
        size += entry.json.size() + 1;
    }
    QByteArray whole;
    whole.reserve(size);
    whole += '[';
    for (const Entry& entry : entries_) {
        if (whole.size() > 1)
            whole += ',';
        whole += entry.json;
    }
    whole += ']';
    return whole;
}

} // namespace vennic
