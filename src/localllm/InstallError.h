#pragma once
#include "base/Localized.h"
#include "base/LocalizedError.h"

namespace vennic {

/// Why the local model's server couldn't be installed.
class InstallError : public LocalizedError {
public:
    enum class Case { commandFailed, brewMissing };

    /// `command` is the program's path and its arguments, joined by blanks; `code` its exit status.
    static InstallError commandFailed(const QString& command, qint64 code) {
        return {Case::commandFailed, localized("Échec (%1) : ").arg(code) + command};
    }
    /// `site` is the address of the package manager's site.
    static InstallError brewMissing(const QString& site) {
        return {Case::brewMissing,
                localized("Homebrew est requis. Installe-le depuis ") + site + localized(" puis relance.")};
    }

    Case kind() const noexcept { return kind_; }

private:
    InstallError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}

    Case kind_;
};

} // namespace vennic
