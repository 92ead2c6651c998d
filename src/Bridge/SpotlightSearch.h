#pragma once
#include "Bridge/FileManagerSearch.h"
#include "Bridge/SearchResult.h"
#include "base/Clock.h"
#include "base/Task.h"
#include "ports/FileIndex.h"

#include <memory>
#include <vector>

namespace vennic {

/// Finds documents by words in given folders: every word in the index, else all words but one, else a walk of the
/// disk by name. A single word never gets past the first step. Main thread only.
class SpotlightSearch {
public:
    /// `index` and `clock` outlive every search.
    SpotlightSearch(FileIndex& index, std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types,
                    Clock& clock);

    /// `timeout` in seconds, for each step over the index by itself; what was gathered until then counts. Never
    /// fails but with Cancelled.
    Task<std::vector<SearchResult>> search(QString query, std::vector<FileURL> folders, qint64 limit,
                                           double timeout) const;

private:
    Task<std::vector<SearchResult>> runQuery(IndexPredicate predicate, std::vector<FileURL> folders, qint64 limit,
                                             double timeout) const;

    FileIndex& index_;
    std::shared_ptr<FileSystem> files_;
    FileManagerSearch walk_;
    Clock& clock_;
};

} // namespace vennic
