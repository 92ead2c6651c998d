#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why a handle leads to no document that may be read.
class SharedDocumentError : public LocalizedError {
public:
    enum class Case { notFound, notShared };

    static SharedDocumentError notFound() {
        return {Case::notFound,
                QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche).")};
    }
    static SharedDocumentError notShared() {
        return {Case::notShared, QStringLiteral("Document hors des dossiers partagés.")};
    }
    Case kind() const noexcept { return kind_; }

private:
    SharedDocumentError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}
    Case kind_;
};

} // namespace vennic
