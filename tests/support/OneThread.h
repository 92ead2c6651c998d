#pragma once
#include <QThreadPool>

namespace vennic::test {

/// A pool of one thread while it lives.
class OneThread {
public:
    OneThread() { QThreadPool::globalInstance()->setMaxThreadCount(1); }
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;
    ~OneThread() { QThreadPool::globalInstance()->setMaxThreadCount(before_); }

private:
    int before_ = QThreadPool::globalInstance()->maxThreadCount();
};

} // namespace vennic::test
