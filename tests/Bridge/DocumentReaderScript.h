#pragma once
#include "ports/DocumentReader.h"

#include <QStringList>

#include <map>
#include <mutex>
#include <variant>

namespace vennic::test {

/// Documents in memory. A path without one is unreadable. Texts are cut by code unit.
class DocumentReaderScript final : public DocumentReader {
public:
    struct Failure {
        DocumentFault fault;
        QString description;
    };
    using Document = std::variant<QString, Failure>;

    DocumentText plainText(const QString& path, qint64 maxChars) override { return read("text", path, maxChars); }
    DocumentText rtf(const QString& path, qint64 maxChars) override { return read("rtf", path, maxChars); }
    DocumentText pdf(const QString& path, qint64 maxChars) override { return read("pdf", path, maxChars); }

    /// "text /path 8000" and so on, in order.
    QStringList calls() const {
        const std::scoped_lock guard(lock_);
        return calls_;
    }

    std::map<QString, Document> documents;
    qint64 fileBytes = 4096; // what every document claims as the size of its file

private:
    DocumentText read(const char* form, const QString& path, qint64 maxChars) {
        {
            const std::scoped_lock guard(lock_);
            calls_.append(QStringLiteral("%1 %2 %3").arg(QLatin1String(form), path).arg(maxChars));
        }
        const auto document = documents.find(path);
        if (document == documents.end())
            throw DocumentReadError(DocumentFault::unreadable, QStringLiteral("Le fichier n'existe pas."));
        if (const auto* failure = std::get_if<Failure>(&document->second))
            throw DocumentReadError(failure->fault, failure->description);
        const QString& text = std::get<QString>(document->second);
        return {text.left(std::max<qint64>(maxChars, 0)), text.size() > maxChars, fileBytes};
    }

    mutable std::mutex lock_;
    QStringList calls_;
};

} // namespace vennic::test
