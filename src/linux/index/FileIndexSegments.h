#pragma once
#include "linux/index/Indexer.h"
#include "linux/index/QueryThread.h"
#include "ports/FileIndex.h"
#include "ports/FileTypes.h"

namespace vennic {

/// The file index over immutable segments of words. Its parts end in the reverse order: no query outlives the
/// threads unharmed, it then stays without more results.
class FileIndexSegments final : public FileIndex {
public:
    /// `texts` is read for the index, `queryTexts` for a query that somebody waits for, so that it never stands behind
    /// the index's own reading; they may be one. All outlive it.
    FileIndexSegments(const index::IndexerSettings& settings, index::TextSource& texts, index::TextSource& queryTexts,
                      const FileTypes& types);

    void setFolders(const QStringList& folders) override;
    std::unique_ptr<IndexQuery> query(const IndexPredicate& predicate, const QStringList& scopes,
                                      qint64 limit) override;
    IndexStatus status() const override;

private:
    const FileTypes& types_;
    std::unique_ptr<index::Indexer> indexer_;
    std::shared_ptr<index::QueryThread> queries_;
};

} // namespace vennic
