#pragma once
#include <QString>

namespace vennic {

/// What the backend answered to one text of the user.
struct ChatReply {
    QString text;
    qint64 discussionId = 0; // 0 when neither the answer nor the caller knew one
    bool operator==(const ChatReply&) const = default;
};

} // namespace vennic
