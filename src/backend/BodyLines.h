#pragma once
#include "base/LineReader.h"
#include "ports/HttpTransport.h"

namespace vennic {

/// The lines of an answer's body, one after the other; a line holds 1 MiB at most. The stream outlives it.
class BodyLines {
public:
    explicit BodyLines(HttpStream& stream) : stream_(stream) {}

    /// None at the body's end; a last line without an end is given before. Raises TransportError and Cancelled.
    Task<std::optional<QByteArray>> next();

private:
    std::optional<QByteArray> takeRest();

    HttpStream& stream_;
    LineReader reader_{mostLineBytes};
    bool ended_ = false;
};

/// What a refused request says: the lines of its body run together, up to the one that reaches 501 characters, or
/// before the one that is too long. Raises TransportError and Cancelled.
Task<QString> refusalIn(HttpStream* stream);

} // namespace vennic
