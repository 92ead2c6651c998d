#pragma once
#include "base/Characters.h"
#include "ports/DocumentReader.h"

#include <QHash>
#include <QMutex>
#include <QVector>

namespace vennic::test {

/// Documents kept in memory. A path that holds none raises as a missing file does.
class DocumentReaderFake final : public DocumentReader {
public:
    enum class Form { plainText, rtf, pdf };
    struct Asked {
        Form form;
        QString path;
        qint64 maxChars;
        bool operator==(const Asked&) const = default;
    };

    /// `text` is what the whole document says, in the form that `form` names.
    void add(const QString& path, Form form, const QString& text, qint64 fileBytes) {
        documents_.insert(path, {form, text, fileBytes, std::nullopt});
    }
    void addFault(const QString& path, DocumentFault fault, const QString& description) {
        documents_.insert(path, {Form::plainText, {}, 0, DocumentReadError(fault, description)});
    }
    /// What was asked so far, in order.
    QVector<Asked> asked() const {
        const QMutexLocker lock(&guard_);
        return asked_;
    }

    DocumentText plainText(const QString& path, qint64 maxChars) override {
        return read(Form::plainText, path, maxChars);
    }
    DocumentText rtf(const QString& path, qint64 maxChars) override { return read(Form::rtf, path, maxChars); }
    DocumentText pdf(const QString& path, qint64 maxChars) override { return read(Form::pdf, path, maxChars); }

private:
    struct Document {
        Form form = Form::plainText;
        QString text;
        qint64 fileBytes = 0;
        std::optional<DocumentReadError> fault;
    };

    DocumentText read(Form form, const QString& path, qint64 maxChars) {
        {
            const QMutexLocker lock(&guard_);
            asked_.append({form, path, maxChars});
        }
        const auto found = documents_.constFind(path);
        if (found == documents_.constEnd())
            throw DocumentReadError(DocumentFault::unreadable, QStringLiteral("Le fichier n'existe pas."));
        if (found->fault)
            throw *found->fault;
        if (form != found->form && form != Form::plainText)
            throw DocumentReadError(DocumentFault::unparsable,
                                    QStringLiteral("Le document n'a pas la forme attendue."));
        const QString text = firstCharacters(found->text, maxChars);
        return {text, text.size() < found->text.size(), found->fileBytes};
    }

    QHash<QString, Document> documents_;
    mutable QMutex guard_;
    QVector<Asked> asked_;
};

} // namespace vennic::test
