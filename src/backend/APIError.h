#pragma once
#include "base/LocalizedError.h"

#include <QString>

#include <optional>

namespace vennic {

/// What a call to the backend fails with when the wire itself worked.
class APIError : public LocalizedError {
public:
    enum class Case { http, notAuthenticated, decoding };

    /// A status outside 200 to 299, with the text that the user is shown of the answer.
    static APIError http(qint64 status, std::optional<QString> message);
    /// No token: nothing was sent.
    static APIError notAuthenticated();
    /// An answer that isn't what was asked for.
    static APIError decoding();

    Case kind() const noexcept { return kind_; }
    /// Meaningful for http only.
    qint64 status() const noexcept { return status_; }
    const std::optional<QString>& message() const noexcept { return message_; }

private:
    APIError(Case kind, const QString& description, qint64 status, std::optional<QString> message);

    Case kind_;
    qint64 status_;
    std::optional<QString> message_;
};

} // namespace vennic
