#pragma once
#include <sqlite3.h>

namespace vennic::test {

/// Stands between SQLite and the disk while it lives: counts what reaches the disk and fails it as told.
class FailingDisk {
public:
    FailingDisk();
    FailingDisk(const FailingDisk&) = delete;
    FailingDisk& operator=(const FailingDisk&) = delete;
    ~FailingDisk();

    /// From the `nth` operation (from 1) on, opening, writing, growing and syncing give `code`. 0 ends it.
    void failFrom(int nth, int code);
    /// The `nth` operation from now alone fails.
    void failOnce(int nth, int code);
    void heal() { failFrom(0, SQLITE_OK); }
    /// Whether the failure that was ordered has happened.
    bool hasFailed() const;
    int syncs() const;
};

} // namespace vennic::test
