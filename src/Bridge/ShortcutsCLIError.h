#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// A run of the automation tool that ended with a status other than 0. Its description is what the tool had to say,
/// else "exit " and the status.
class ShortcutsCLIError final : public LocalizedError {
public:
    ShortcutsCLIError(int code, const QString& words)
        : LocalizedError(words.isEmpty() ? QStringLiteral("exit %1").arg(code) : words), code_(code) {}
    static QString domain() { return QStringLiteral("ShortcutsCLI"); }
    /// The exit status; 128 + its number for a signal.
    int code() const noexcept { return code_; }

private:
    int code_;
};

} // namespace vennic
