#pragma once
#include "ports/FileIndex.h"

#include <vector>

namespace vennic::test {

/// An index in memory: finds what `files` holds and remembers what was asked.
class FileIndexFake final : public FileIndex {
public:
    struct File {
        QString path; // absolute
        QString text;
        QString contentType = QStringLiteral("public.data");
        qint64 size = 0;
        QDateTime changedAt;
    };
    struct Asked {
        IndexPredicate predicate;
        QStringList scopes;
        qint64 limit = 0;
    };

    void setFolders(const QStringList& folders) override { this->folders = folders; }
    std::unique_ptr<IndexQuery> query(const IndexPredicate& predicate, const QStringList& scopes,
                                      qint64 limit) override;
    IndexStatus status() const override { return currentStatus; }

    std::vector<File> files;
    QStringList folders;
    IndexStatus currentStatus;
    std::vector<Asked> asked;
    bool refuseToStart = false;
    bool neverEnd = false; // gathers, but `gathered` is never called
};

} // namespace vennic::test
