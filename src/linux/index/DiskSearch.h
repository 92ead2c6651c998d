#pragma once
#include "linux/index/FolderFinder.h"
#include "linux/index/GroupRule.h"
#include "linux/index/LikePattern.h"
#include "linux/index/Searcher.h"

#include <chrono>
#include <unordered_map>

namespace vennic::index {

/// Looks on the disk itself for what an index that is still being made can't find yet: first every name, then the
/// texts that nobody has read so far, newest first. Bounded in time and in entries.
class DiskSearch {
public:
    /// `catalogue` is null where there is none to read: then nothing is known already.
    DiskSearch(const SearchRequest& request, const Database* catalogue, TextSource& texts,
               const std::atomic<bool>& stop);

    /// Gives matches to `sink` in no order, until the time is up or no older document is wanted. What the catalogue
    /// holds as it is on the disk, text and all, is left to the index.
    void run(const Searcher::OnDisk& onDisk, const Searcher::Sink& sink);

private:
    struct Folder {
        std::vector<std::string> components; // see `openFolder`
        std::string path;                    // that results begin with
        std::optional<std::uint32_t> known;  // in the catalogue
        std::uint64_t device = 0;            // of the folder above; 0: none
    };
    struct Unread {
        std::size_t folder = 0;
        Entry entry;
    };
    using Moment = std::chrono::steady_clock::time_point;

    void walk(std::size_t first, Moment end, const Searcher::Sink& sink);
    /// All of one folder; how many entries it has.
    std::size_t look(std::size_t folder, const Searcher::Sink& sink);
    void judge(std::size_t folder, const Entry& entry, const Entry* known, const Searcher::Sink& sink);
    void readTexts(const Searcher::OnDisk& onDisk, const Searcher::Sink& sink);
    bool textMatches(const Unread& unread);
    std::vector<bool> matchesOf(const std::string& name) const;
    std::unordered_map<std::string, Entry> knownIn(const Folder& folder);
    bool over(Moment end) const { return stop_ || std::chrono::steady_clock::now() >= end; }

    const SearchRequest& request_;
    TextSource& texts_;
    const std::atomic<bool>& stop_;
    std::vector<LikePattern> patterns_;
    GroupRule rule_;
    std::optional<FolderFinder> finder_;
    Statement entries_;
    std::vector<Folder> folders_; // those below a folder stand behind it
    std::vector<Unread> unread_;
};

} // namespace vennic::index
