#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why the local server gave no usable answer. Failures of the wire are TransportError, unchanged.
class DirectError : public LocalizedError {
public:
    enum class Case { serverUnreachable, httpError, decoding };

    static DirectError serverUnreachable(const QString& why) {
        return {Case::serverUnreachable, QStringLiteral("Local server offline: ") + why};
    }
    /// `excerpt` is the beginning of what the server said.
    static DirectError httpError(qint64 status, const QString& excerpt) {
        return {Case::httpError, QStringLiteral("Local server HTTP %1: ").arg(status) + excerpt};
    }
    static DirectError decoding() {
        return {Case::decoding, QStringLiteral("Local server returned an unparseable stream.")};
    }

    Case kind() const noexcept { return kind_; }

private:
    DirectError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}

    Case kind_;
};

} // namespace vennic
