#pragma once
#include "linux/FileDescriptor.h"
#include "linux/photos/PhotoFactsReader.h"
#include "ports/FileTypes.h"

#include <QDateTime>
#include <QTimeZone>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace vennic::photos {

struct KeeperSettings {
    std::string catalogue;               // the database's path; its folder is made with mode 0700
    std::function<std::string()> folder; // of the photos: absolute, without links; empty: there is none. May block
    std::size_t watchBudget = 0;         // 0: half of what the system allows
    std::function<QTimeZone()> zone = [] { return QTimeZone::systemTimeZone(); };
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTimeUtc(); };
};

/// How far the library is.
struct KeeperStatus {
    std::string folder; // that is followed; empty: none
    std::int64_t photos = 0;
    std::int64_t waiting = 0; // files whose content hasn't been looked at yet
    bool settled = false;     // in line with the disk
    bool missing = false;     // the folder isn't there
    bool watchLimited = false;
    bool readerFails = false;
    std::string setAside; // name that a damaged catalogue was given
    std::string fault;    // what keeps the catalogue from being written, in the system's words
};

/// Keeps the catalogue of one folder's photos in line with the disk on a thread that sleeps until something happens.
/// The thread lists and compares, which is little; the reading of files is left to the reader, without haste unless
/// somebody waits. Nothing is looked at before it is told to follow the folder. Its operations may be called from any
/// thread.
class PhotoKeeper {
public:
    PhotoKeeper(KeeperSettings settings, std::shared_ptr<PhotoFactsReader> reader,
                std::shared_ptr<const FileTypes> types);
    ~PhotoKeeper();
    PhotoKeeper(const PhotoKeeper&) = delete;
    PhotoKeeper& operator=(const PhotoKeeper&) = delete;

    /// Follows the folder from now on.
    void follow();
    /// Ends the following and erases all but the identifiers.
    void forget();
    /// Waits until what has happened on disk before this call is in the catalogue, at most that long. False when
    /// nothing is followed, or the folder isn't there.
    bool catchUp(std::chrono::milliseconds limit);
    /// Whether a folder is followed that was there when it was last looked at.
    bool isFollowing() const;
    /// Ends the thread; whoever waits goes on.
    void close();

    const std::string& catalogue() const { return settings_.catalogue; }
    KeeperStatus status() const;

private:
    using Moment = std::chrono::steady_clock::time_point;
    struct Work; // what lives as long as the catalogue is open

    void run();
    void serve();
    void open();
    void cycle();
    void takeOrders();
    void applyFolder(const std::string& folder);
    void erase();
    void takeChanges();
    void redate();
    bool readWaiting();
    void commit();
    void publish(bool settled);
    void sleep();
    void answer();
    void fail(const std::string& why);
    void setCatalogueAside();
    void wake() const;
    PhotoFactsReader::Haste haste() const;
    bool isThere() const; // with the mutex held
    std::int64_t takenOf(const PhotoFacts& facts);
    std::int64_t nanosecondsNow() const;

    const KeeperSettings settings_;
    const std::shared_ptr<PhotoFactsReader> reader_;
    const std::shared_ptr<const FileTypes> types_;
    const FileDescriptor wake_;
    std::unique_ptr<Work> work_;
    QTimeZone zone_;
    std::optional<QDateTime> nextDate_; // when a photo that seems to be of the future is to be dated again

    mutable std::mutex mutex_;
    std::condition_variable caughtUp_;
    bool following_ = false;
    bool ordered_ = false; // to follow or not to, since the thread last looked
    bool forget_ = false;
    std::uint64_t asked_ = 0;    // calls of catchUp
    std::uint64_t taken_ = 0;    // of these, the last one that the thread has begun to serve
    std::uint64_t answered_ = 0; // and the last one that it has served
    KeeperStatus status_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vennic::photos
