#pragma once
#include "linux/index/Indexer.h"
#include "linux/index/Searcher.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

namespace vennic::index {

/// What a query has gathered, shared by the thread that gathers and the one that reads.
class Gathering {
public:
    explicit Gathering(SearchRequest request) : request_(std::move(request)) {}

    const SearchRequest& request() const { return request_; }
    const std::atomic<bool>& stopFlag() const { return stop_; }
    /// Nothing is added after this.
    void stop();
    void add(SearchHit hit);
    /// Adds a hit in its place, newest first, unless its path is there already; the oldest beyond the limit goes.
    void insert(SearchHit hit);
    /// Whether a hit as old as that would find a place.
    bool wants(const Entry& entry) const;
    std::size_t count() const;
    SearchHit at(std::size_t position) const;
    std::vector<SearchHit> all() const;

private:
    const SearchRequest request_;
    std::atomic<bool> stop_ = false;
    mutable std::mutex mutex_;
    std::vector<SearchHit> hits_;
    std::unordered_set<std::string> inserted_; // paths, once there are insertions
};

/// Runs queries one after another on a thread of its own.
class QueryThread {
public:
    QueryThread(std::string directory, Indexer& indexer, TextSource& texts);
    ~QueryThread();
    QueryThread(const QueryThread&) = delete;
    QueryThread& operator=(const QueryThread&) = delete;

    /// Calls `ended` on the query thread when gathering has ended.
    void submit(std::shared_ptr<Gathering> gathering, std::function<void()> ended);

private:
    struct Order {
        std::shared_ptr<Gathering> gathering;
        std::function<void()> ended;
    };
    void run();
    void answer(Gathering& gathering);
    void answerFromIndex(Gathering& gathering, const Searcher::OnDisk& onDisk);
    void answerFromDisk(Gathering& gathering, const Searcher::OnDisk& onDisk);
    SearchRequest requestOf(const Gathering& gathering) const;

    Indexer& indexer_;
    TextSource& texts_;
    Searcher searcher_;
    std::int64_t indexGeneration_ = 0;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Order> orders_;
    std::shared_ptr<Gathering> running_;
    bool stop_ = false;
    std::thread thread_;
};

} // namespace vennic::index
