#include "linux/index/QueryThread.h"

#include "linux/index/DiskSearch.h"

#include <algorithm>
#include <system_error>

namespace vennic::index {

namespace {
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds longestRefresh{100};
/// An index at idle priority may not get to its first look at the disk while the machine is busy. Then the disk is
/// looked at here, for so long: callers wait five seconds.
constexpr milliseconds longestOnDisk{2500};
constexpr milliseconds longestOpening{500};
} // namespace

void Gathering::stop() {
    const std::lock_guard lock(mutex_);
    stop_ = true;
}

void Gathering::add(SearchHit hit) {
    const std::lock_guard lock(mutex_);
    if (!stop_)
        hits_.push_back(std::move(hit));
}

void Gathering::insert(SearchHit hit) {
    const std::lock_guard lock(mutex_);
    if (inserted_.empty()) {
        for (const SearchHit& each : hits_)
            inserted_.insert(each.path);
    }
    if (stop_ || !inserted_.insert(hit.path).second)
        return;
    const auto newer = [](const SearchHit& a, const SearchHit& b) { return a.entry.modified > b.entry.modified; };
    hits_.insert(std::ranges::upper_bound(hits_, hit, newer), std::move(hit));
    if (hits_.size() > request_.limit)
        hits_.pop_back();
}

bool Gathering::wants(const Entry& entry) const {
    const std::lock_guard lock(mutex_);
    return hits_.size() < request_.limit || (!hits_.empty() && entry.modified > hits_.back().entry.modified);
}

std::size_t Gathering::count() const {
    const std::lock_guard lock(mutex_);
    return hits_.size();
}

SearchHit Gathering::at(std::size_t position) const {
    const std::lock_guard lock(mutex_);
    return hits_.at(position);
}

std::vector<SearchHit> Gathering::all() const {
    const std::lock_guard lock(mutex_);
    return hits_;
}

QueryThread::QueryThread(std::string directory, Indexer& indexer, TextSource& texts)
    : indexer_(indexer), texts_(texts), searcher_(std::move(directory), texts) {
    thread_ = std::thread([this] { run(); });
}

QueryThread::~QueryThread() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
        orders_.clear();
        if (running_)
            running_->stop();
    }
    wake_.notify_all();
    thread_.join();
}

void QueryThread::submit(std::shared_ptr<Gathering> gathering, std::function<void()> ended) {
    {
        const std::lock_guard lock(mutex_);
        orders_.push_back({std::move(gathering), std::move(ended)});
    }
    wake_.notify_all();
}

void QueryThread::run() {
    for (;;) {
        Order order;
        {
            std::unique_lock lock(mutex_);
            running_.reset();
            wake_.wait(lock, [this] { return stop_ || !orders_.empty(); });
            if (stop_)
                return;
            order = std::move(orders_.front());
            orders_.pop_front();
            running_ = order.gathering;
        }
        answer(*order.gathering);
        order.ended();
    }
}

void QueryThread::answer(Gathering& gathering) {
    if (gathering.stopFlag())
        return;
    const Searcher::OnDisk onDisk{steady_clock::now() + longestOnDisk,
                                  [&](const Entry& entry) { return gathering.wants(entry); }};
    if (indexer_.waitUntilOpen(longestOpening))
        answerFromIndex(gathering, onDisk);
    else
        answerFromDisk(gathering, onDisk);
}

SearchRequest QueryThread::requestOf(const Gathering& gathering) const {
    SearchRequest request = gathering.request();
    request.folders = indexer_.folders(); // as of now: what was withdrawn since it was asked isn't found
    return request;
}

void QueryThread::answerFromDisk(Gathering& gathering, const Searcher::OnDisk& onDisk) {
    const SearchRequest request = requestOf(gathering);
    DiskSearch(request, nullptr, texts_, gathering.stopFlag()).run(onDisk, [&](SearchHit hit) {
        gathering.insert(std::move(hit));
    });
}

void QueryThread::answerFromIndex(Gathering& gathering, const Searcher::OnDisk& onDisk) {
    indexer_.refreshUnwatched(longestRefresh);
    try {
        if (indexGeneration_ != indexer_.indexGeneration()) {
            indexGeneration_ = indexer_.indexGeneration();
            searcher_.reopen();
        }
        const SearchRequest request = requestOf(gathering);
        const bool complete = indexer_.complete();
        const auto take = [&](SearchHit hit) {
            if (complete)
                gathering.add(std::move(hit));
            else
                gathering.insert(std::move(hit));
        };
        searcher_.run(request, indexer_.folderGeneration(), gathering.stopFlag(), take, complete ? nullptr : &onDisk);
    } catch (const DamagedIndex&) {
        searcher_.reopen();
        if (indexGeneration_ == indexer_.indexGeneration()) // else it has been made anew already
            indexer_.reportDamage();
    } catch (const DatabaseError& error) {
        searcher_.reopen();
        if (error.damaged() && indexGeneration_ == indexer_.indexGeneration())
            indexer_.reportDamage();
    } catch (const std::system_error&) { // out of descriptors or memory: the next query may fare better
        searcher_.reopen();
    }
}

} // namespace vennic::index
