#include "linux/index/QueryThread.h"

#include <system_error>

namespace vennic::index {

namespace {
constexpr std::chrono::milliseconds longestRefresh{100};
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
    : indexer_(indexer), searcher_(std::move(directory), texts) {
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
    if (gathering.stopFlag() || !indexer_.waitUntilOpen())
        return;
    indexer_.refreshUnwatched(longestRefresh);
    try {
        if (indexGeneration_ != indexer_.indexGeneration()) {
            indexGeneration_ = indexer_.indexGeneration();
            searcher_.reopen();
        }
        SearchRequest request = gathering.request();
        request.folders = indexer_.folders(); // as of now: what was withdrawn since it was asked isn't found
        searcher_.run(request, indexer_.folderGeneration(), gathering.stopFlag(),
                      [&](SearchHit hit) { gathering.add(std::move(hit)); });
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
