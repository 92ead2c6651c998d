#pragma once
#include "linux/index/Catalogue.h"
#include "linux/index/GroupRule.h"
#include "linux/index/LikePattern.h"
#include "linux/index/ScopeFilter.h"
#include "linux/index/Segment.h"
#include "linux/index/TextSource.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vennic::index {

struct SearchRequest {
    std::vector<std::string> patterns;    // UTF-8, see LikePattern
    std::vector<std::vector<int>> groups; // see GroupRule
    std::vector<std::string> scopes;      // absolute paths
    std::vector<std::string> folders;     // the folders that are indexed now
    std::size_t limit = 0;
};

struct SearchHit {
    std::string path; // begins with the scope as spelled
    Entry entry;
};

/// Answers queries from the files of an index, on one thread. Sees one state of the index per query.
class Searcher {
public:
    Searcher(std::string directory, TextSource& texts);
    ~Searcher();

    using Sink = std::function<void(SearchHit)>;
    /// A look at the disk for what the index doesn't hold yet.
    struct OnDisk {
        std::chrono::steady_clock::time_point until;
        std::function<bool(const Entry&)> wants; // whether a match as old as that would still be among the newest
    };
    /// Gives the newest matches to `sink`, newest first, until `stop` becomes true. `folderGeneration` is a number
    /// that has changed when folders have. With `onDisk`, where that gives fewer than asked for, the disk
    /// is looked at too: its matches come in no order, and some of them may have come before. Raises DamagedIndex and
    /// DatabaseError.
    void run(const SearchRequest& request, std::int64_t folderGeneration, const std::atomic<bool>& stop,
             const Sink& sink, const OnDisk* onDisk = nullptr);
    /// Forgets the files, which another index replaces.
    void reopen();

private:
    void open();
    std::vector<std::shared_ptr<const Segment>> segments();

    std::string directory_;
    TextSource& texts_;
    std::unique_ptr<Database> database_;
    std::unordered_map<std::string, std::shared_ptr<const Segment>> open_;
    FolderTree tree_;
    std::int64_t treeGeneration_ = -1;
};

} // namespace vennic::index
