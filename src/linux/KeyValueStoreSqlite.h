#pragma once
#include "linux/PreferencesFile.h"

#include <QSet>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace vennic {

/// Preferences in a map in memory, followed by a thread that commits what changed to an SQLite file.
///
/// A change is committed as soon as the commit before it has ended, all changes since then together, so that a crash
/// loses at most what one commit takes. After a large commit the thread rests (a quarter of a second for each
/// megabyte, no longer than that quarter), which keeps a long conversation under dictation from wearing out the disk.
/// While the disk fails the memory goes on and the writing is tried again, ever less often, at least each 30 seconds.
class KeyValueStoreSqlite final : public KeyValueStore {
public:
    /// Loads the file, which is made when it is missing. Never fails: see problem().
    explicit KeyValueStoreSqlite(const QString& path);
    KeyValueStoreSqlite(const KeyValueStoreSqlite&) = delete;
    KeyValueStoreSqlite& operator=(const KeyValueStoreSqlite&) = delete;
    /// Commits what is left.
    ~KeyValueStoreSqlite() override;

    std::optional<StoredValue> value(const QString& key) const override;
    void set(const QString& key, StoredValue value) override;
    void remove(const QString& key) override;

    /// Waits until all that was set is committed or a commit has failed; whether all is on the disk.
    bool flush();
    /// What is wrong with the file, a French sentence; empty when all is well.
    QString problem() const;

private:
    void change(const QString& key);
    void run();
    void commitDirty(std::unique_lock<std::mutex>& lock);
    PreferencesFile::Changes takeDirty();
    void startOver();
    bool hurried() const { return attempts_ < hurryUntil_; }

    PreferencesFile file_; // the thread's, once it runs
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable settled_;
    PreferencesFile::Values values_;
    QSet<QString> dirty_;  // keys whose value the file doesn't have yet
    QString asideProblem_; // a file was set aside
    QString writeProblem_; // the last commit failed
    quint64 attempts_ = 0;
    std::chrono::milliseconds retryAfter_{0};
    std::chrono::steady_clock::time_point restUntil_;
    bool tooLarge_ = false;
    quint64 hurryUntil_ = 0; // attempts up to this one have somebody waiting: no rest
    bool busy_ = false;      // a commit is under way
    bool ending_ = false;
    std::thread writer_; // started by the first change
};

} // namespace vennic
