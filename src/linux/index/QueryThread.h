#pragma once
#include "linux/index/Indexer.h"
#include "linux/index/Searcher.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
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
    std::size_t count() const;
    SearchHit at(std::size_t position) const;
    std::vector<SearchHit> all() const;

private:
    const SearchRequest request_;
    std::atomic<bool> stop_ = false;
    mutable std::mutex mutex_;
    std::vector<SearchHit> hits_;
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

    Indexer& indexer_;
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
