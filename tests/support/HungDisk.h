#pragma once
#include <QThreadPool>

#include <atomic>

namespace vennic::test {

/// Holds whoever reads until it answers. What it is asked for outlives it; its end waits for the pool.
class HungDisk {
public:
    HungDisk() = default;
    HungDisk(const HungDisk&) = delete;
    HungDisk& operator=(const HungDisk&) = delete;
    ~HungDisk() {
        answer();
        QThreadPool::globalInstance()->waitForDone();
    }

    /// Any thread.
    void read() {
        ++asked_;
        answers_.wait(false);
    }
    void answer() {
        answers_ = true;
        answers_.notify_all();
    }
    int asked() const { return asked_; }

private:
    std::atomic<bool> answers_ = false;
    std::atomic<int> asked_ = 0;
};

} // namespace vennic::test
