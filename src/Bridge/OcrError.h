#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why no text was recognised.
class OcrError : public LocalizedError {
public:
    enum class Case { unsupported, visionFailure, noPages };

    static OcrError unsupported(const QString& extension) {
        return {Case::unsupported, QStringLiteral("Format non supporté: ") + extension};
    }
    static OcrError visionFailure(const QString& reason) {
        return {Case::visionFailure, QStringLiteral("VisionKit a échoué: ") + reason};
    }
    static OcrError noPages() { return {Case::noPages, QStringLiteral("Le PDF est vide.")}; }
    Case kind() const noexcept { return kind_; }

private:
    OcrError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}
    Case kind_;
};

} // namespace vennic
