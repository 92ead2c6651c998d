#pragma once
#include "ports/FileIndex.h"

#include <functional>

namespace vennic {

/// The index as the grants see it: a query in a folder that it doesn't know, which is a shared one that has moved, has
/// the index follow the grants. What is gathered then is found by the next queries.
class GrantedFileIndex final : public FileIndex {
public:
    /// `moved` is called on the main thread, once for each folder until it is set. `index` outlives this.
    GrantedFileIndex(FileIndex& index, std::function<void()> moved) : index_(index), moved_(std::move(moved)) {}

    void setFolders(const QStringList& folders) override;
    std::unique_ptr<IndexQuery> query(const IndexPredicate& predicate, const QStringList& scopes,
                                      qint64 limit) override;
    IndexStatus status() const override { return index_.status(); }

private:
    FileIndex& index_;
    std::function<void()> moved_;
    QStringList folders_;
    QStringList asked_;  // folders that were told and haven't been set since
    bool known_ = false; // the grants have been read once
};

} // namespace vennic
