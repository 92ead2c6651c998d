#pragma once
#include "core/Models.h"

namespace vennic {

/// Makes the stored form of a conversation again and again, keeping each message's form: a change of one message
/// costs its own encoding and the copying of the rest.
class ConversationEncoding {
public:
    /// The JSON array of `messages`; none when one of them has no stored form.
    std::optional<QByteArray> encode(const std::vector<ChatMessage>& messages);

private:
    struct Entry {
        ChatMessage message; // shares its text with the session's
        QByteArray json;
    };
    std::vector<Entry> entries_;
};

} // namespace vennic
