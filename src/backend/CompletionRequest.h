#pragma once
#include "core/Models.h"

#include <optional>

namespace vennic {

/// One text for the backend to answer.
struct CompletionRequest {
    QString prompt{};
    Provider provider = Provider::openai;
    std::optional<qint64> discussionId{}; // the conversation to go on with
    std::optional<QString> localModel{};  // for the local provider
    std::optional<QString> cloudModel{};  // for the others
    bool operator==(const CompletionRequest&) const = default;

    /// The request's body.
    QByteArray encode() const;
};

} // namespace vennic
