#pragma once
#include <QThreadPool>

namespace vennic::test {

/// A pool of one thread while it lives.
struct OneThread {
    OneThread() { QThreadPool::globalInstance()->setMaxThreadCount(1); }
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;
    ~OneThread() { QThreadPool::globalInstance()->setMaxThreadCount(before); }
    int before = QThreadPool::globalInstance()->maxThreadCount();
};

} // namespace vennic::test
