#include "linux/index/Searcher.h"

#include "linux/index/DiskSearch.h"
#include "linux/index/SearchQuery.h"

namespace vennic::index {

namespace {

/// One reading transaction, which sees one state of the catalogue.
class Snapshot {
public:
    explicit Snapshot(const Database& database) : database_(database) { database_.execute("BEGIN"); }
    ~Snapshot() {
        try {
            database_.execute("ROLLBACK");
        } catch (const DatabaseError&) { // NOLINT(bugprone-empty-catch): the connection is of no more use then
        }
    }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

private:
    const Database& database_;
};

constexpr int attempts = 5;

} // namespace

Searcher::Searcher(std::string directory, TextSource& texts) : directory_(std::move(directory)), texts_(texts) {}
Searcher::~Searcher() = default;

void Searcher::reopen() {
    open_.clear();
    database_.reset();
    treeGeneration_ = -1;
}

void Searcher::open() {
    if (!database_)
        database_ = std::make_unique<Database>(directory_ + "/catalog.db", Database::Mode::read);
}

std::vector<std::shared_ptr<const Segment>> Searcher::segments() {
    decltype(open_) live;
    std::vector<std::shared_ptr<const Segment>> result;
    Statement rows = database_->prepare("SELECT name FROM seg");
    while (rows.step()) {
        std::string name(rows.blob(0));
        auto& segment = open_[name];
        if (!segment)
            segment = std::make_shared<const Segment>(directory_ + '/' + name);
        result.push_back(segment);
        live.emplace(std::move(name), segment);
    }
    open_ = std::move(live);
    return result;
}

void Searcher::run(const SearchRequest& request, std::int64_t folderGeneration, const std::atomic<bool>& stop,
                   const Sink& sink, const OnDisk* onDisk) {
    open();
    for (int attempt = 1;; ++attempt) {
        const Snapshot snapshot(*database_);
        std::vector<std::shared_ptr<const Segment>> files;
        try {
            files = segments();
        } catch (const DamagedIndex&) {
            std::erase_if(open_, [](const auto& each) { return !each.second; });
            if (attempt == attempts)
                throw;
            continue; // merged away between the look at the list and the opening: the next look shows its successor
        }
        if (treeGeneration_ != folderGeneration) {
            tree_.load(*database_);
            treeGeneration_ = folderGeneration;
        }
        ScopeFilter scope(*database_, tree_, request.scopes, request.folders);
        std::size_t found = 0;
        const auto counted = [&](SearchHit hit) {
            ++found;
            sink(std::move(hit));
        };
        if (!scope.nothing())
            SearchQuery(request, *database_, files, scope, texts_, stop).run(counted);
        // Still the same state of the index: what it takes in meanwhile isn't missed by both.
        if (onDisk && found < request.limit)
            DiskSearch(request, database_.get(), texts_, stop).run(*onDisk, sink);
        return;
    }
}

} // namespace vennic::index
