#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why a document gives no text.
class ExtractorError : public LocalizedError {
public:
    enum class Case { unsupportedFormat, tooLarge, readFailed };

    static ExtractorError unsupportedFormat(const QString& format) {
        return {Case::unsupportedFormat, QStringLiteral("Format non supporté (") + format + u')'};
    }
    /// `bytes`: the size of the file.
    static ExtractorError tooLarge(qint64 bytes) {
        return {Case::tooLarge, QStringLiteral("Fichier trop gros (%1 Ko)").arg(bytes / 1024)};
    }
    static ExtractorError readFailed(const QString& reason) {
        return {Case::readFailed, QStringLiteral("Lecture: ") + reason};
    }
    Case kind() const noexcept { return kind_; }

private:
    ExtractorError(Case kind, const QString& description) : LocalizedError(description), kind_(kind) {}
    Case kind_;
};

} // namespace vennic
