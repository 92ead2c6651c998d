#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why a folder can't be shared, or a shared one can't be used.
class BookmarkError : public LocalizedError {
public:
    enum class Case { notADirectory, systemSensitive, resolutionFailed };

    static BookmarkError notADirectory() {
        return {Case::notADirectory, QStringLiteral("Le chemin n'est pas un dossier.")};
    }
    static BookmarkError systemSensitive() {
        return {Case::systemSensitive, QStringLiteral("Dossier système refusé pour raisons de sécurité.")};
    }
    static BookmarkError resolutionFailed(const QString& reason) {
        return {Case::resolutionFailed, QStringLiteral("Bookmark: ") + reason};
    }
    Case kind() const noexcept { return kind_; }

private:
    BookmarkError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}
    Case kind_;
};

} // namespace vennic
