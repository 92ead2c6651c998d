#include "linux/index/Indexer.h"

#include "base/IdlePriority.h"
#include "linux/index/IndexerWork.h"
#include "linux/index/WallTime.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace vennic::index {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds slice{20};               // the longest stretch of background work without a look around
constexpr std::chrono::seconds longestBatch{3}; // of this thread's work, until what it found in bulk becomes visible
constexpr milliseconds longestRepeat = std::chrono::minutes{5};
constexpr milliseconds publishInterval{250};

milliseconds doubled(milliseconds first, int times, milliseconds most) {
    return std::min(first * (1 << std::min(times, 20)), most);
}

/// How long this thread has run. On a busy machine an idle thread hardly does, and its batches stay as large.
std::chrono::nanoseconds ownTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace

Indexer::Indexer(IndexerSettings settings, TextSource& texts)
    : settings_(std::move(settings)), texts_(texts), wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    thread_ = std::thread([this] { run(); });
}

Indexer::~Indexer() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    opened_.notify_all();
    refreshed_.notify_all();
    wake();
    thread_.join();
}

void Indexer::wake() const { eventfd_write(wake_.number(), 1); }

void Indexer::setFolders(std::vector<std::string> folders) {
    {
        const std::lock_guard lock(mutex_);
        folders_ = std::move(folders);
        foldersSet_ = true;
        foldersKnown_ = true;
        status_.ready = false;
        complete_ = false;
    }
    wake();
}

std::vector<std::string> Indexer::folders() const {
    const std::lock_guard lock(mutex_);
    return folders_;
}

IndexerStatus Indexer::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

bool Indexer::waitUntilOpen(milliseconds limit) {
    std::unique_lock lock(mutex_);
    opened_.wait_for(lock, limit, [this] { return open_ || stop_ || status_.fault != 0 || status_.inUse; });
    return open_ && !stop_;
}

void Indexer::refreshUnwatched(milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (!status_.watchLimited && !status_.remote)
        return;
    refreshAsked_ = true;
    wake();
    refreshed_.wait_for(lock, limit, [this] { return !refreshAsked_ || stop_; });
}

void Indexer::reportDamage() {
    damaged_ = true;
    wake();
}

void Indexer::run() {
    takeIdlePriority();
    while (!stop_) {
        try {
            if (!work_)
                open();
            while (!stop_)
                cycle();
            commit();
        } catch (const DamagedIndex&) {
            damaged_ = true;
        } catch (const DatabaseError& error) {
            if (error.damaged())
                damaged_ = true;
            else
                fail(error.systemError());
        } catch (const std::system_error& error) {
            fail(error.code().value() ? error.code().value() : EIO);
        }
        if (damaged_) {
            {
                const std::lock_guard lock(mutex_);
                open_ = false; // nobody reads a catalogue that is only half made
            }
            work_.reset();
            IndexStore::erase(settings_.directory);
            complete_ = false;
            ++indexGeneration_;
            ++folderGeneration_;
            damaged_ = false; // what readers reported meanwhile is gone with it
        }
    }
    work_.reset();
}

void Indexer::fail(int fault) {
    work_.reset();
    {
        const std::lock_guard lock(mutex_);
        status_.fault = fault;
        status_.ready = false;
    }
    opened_.notify_all();
    pollfd waited{wake_.number(), POLLIN, 0};
    const milliseconds delay = doubled(settings_.repeatInterval, faultsInRow_++, longestRepeat);
    const auto until = steady_clock::now() + delay;
    while (!stop_ && steady_clock::now() < until) {
        eventfd_t ignored = 0;
        eventfd_read(wake_.number(), &ignored);
        poll(&waited, 1, static_cast<int>(delay.count()));
    }
}

void Indexer::open() {
    std::filesystem::create_directories(std::filesystem::path(settings_.directory).parent_path());
    if (mkdir(settings_.directory.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category());
    if (chmod(settings_.directory.c_str(), 0700) != 0)
        throw std::system_error(errno, std::generic_category());
    if (!lock_.isOpen()) {
        FileDescriptor lock(
            ::open((settings_.directory + "/lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600));
        const bool locked = lock.isOpen() && flock(lock.number(), LOCK_EX | LOCK_NB) == 0;
        {
            const std::lock_guard guard(mutex_);
            status_.inUse = lock.isOpen() && !locked;
        }
        if (!locked)
            throw std::system_error(errno, std::generic_category());
        lock_ = std::move(lock);
    }
    work_ = std::make_unique<Work>(settings_, texts_);
    ++folderGeneration_;
    {
        const std::lock_guard lock(mutex_);
        open_ = true;
        status_.fault = 0;
        status_.inUse = false;
        foldersSet_ = foldersKnown_; // what was granted holds for a new index too
    }
    opened_.notify_all();
    publish(false);
}

void Indexer::cycle() {
    if (damaged_)
        throw DamagedIndex("reported by a reader");
    takeCommands();
    takeChanges();
    settleDirty();
    Work& work = *work_;
    const auto now = steady_clock::now();
    if (now >= work.nextRescan || now >= work.repeatDue)
        work.fullWalkDue = true;
    if (work.fullWalkDue && !work.walk.active() && !work.roots.empty())
        fullWalk();
    if (now >= work.lostRootsDue)
        lookForLostRoots();
    const auto end = now + slice;
    bool busy = true;
    if (work.store.purging() && !work.store.changing())
        work.store.tend(end); // what was withdrawn goes first
    else if (work.walk.active())
        work.walk.step(end);
    else if (!work.store.tend(end) && !readWaiting(end))
        busy = work.walkedOnce && !work.store.changing() && (work.store.tidy() || work.store.verifyNext());
    if (work.fullWalkRunning && !work.walk.active()) {
        work.fullWalkRunning = false;
        work.walkedOnce = true;
        for (const auto& [path, root] : work.reconciler.adoptable) { // wasn't met where it was expected
            work.urgent = true;
            work.reconciler.forget(work.store.withdraw(root));
        }
        work.reconciler.adoptable.clear();
        if (!work.reconciler.unwatched().empty())
            work.nextRescan = now + settings_.rescanInterval;
        if (!work.reconciler.incomplete())
            work.incompleteInRow = 0;
        busy = true;
    }
    if (work.reconciler.incomplete() && work.repeatDue == Moment::max() && !work.walk.active())
        repeatIncomplete(now);
    const bool batchIsOld = ownTime() - work.batchBegan > longestBatch;
    if (work.store.changing() && (work.urgent || work.store.full() || batchIsOld || !busy)) {
        commit();
        busy = true;
    }
    if (!work.store.changing())
        work.batchBegan = ownTime();
    // A root that has gone (an unmounted disk) has nobody above it that tells when it is back.
    if (!busy && work.lostRootsDue == Moment::max() && !lostRoots().empty())
        work.lostRootsDue = now + settings_.lostRootInterval;
    if (!busy && work.walkedOnce) { // what waits by now was read in vain
        const std::lock_guard lock(mutex_);
        complete_ = !foldersSet_;
    }
    const bool settled = !busy && work.walkedOnce && work.store.waiting() == 0 && work.dirty.empty();
    if (!busy || now - work.lastPublished > publishInterval)
        publish(settled);
    sleep(busy);
}

void Indexer::commit() {
    if (!work_)
        return;
    Work& work = *work_;
    const bool changing = work.store.changing();
    work.store.commit();
    if (changing)
        faultsInRow_ = 0;
    work.urgent = false;
    if (work.folderChanges != work.store.catalogue().changesOfFolders()) {
        work.folderChanges = work.store.catalogue().changesOfFolders();
        ++folderGeneration_;
    }
    if (work.store.logLingers())
        work.store.truncateLog();
}

void Indexer::publish(bool ready) {
    Work& work = *work_;
    work.lastPublished = steady_clock::now();
    const std::int64_t bytes = work.store.bytesOnDisk();
    const std::lock_guard lock(mutex_);
    status_.files = work.store.files();
    status_.waiting = work.store.waiting();
    status_.bytes = bytes;
    status_.watchLimited = work.reconciler.watchLimited();
    status_.remote = work.reconciler.remote();
    status_.ready = ready && !foldersSet_;
}

void Indexer::sleep(bool busy) {
    Work& work = *work_;
    const auto now = steady_clock::now();
    std::optional<Moment> due = work.dirty.nextDue();
    const auto earlier = [&](Moment moment) { due = due ? std::min(*due, moment) : moment; };
    for (const Moment moment : {work.nextRescan, work.repeatDue, work.lostRootsDue}) {
        if (moment != Moment::max())
            earlier(moment);
    }
    if (work.store.waiting() > 0 && !busy && !work.reconciler.readerAnswers()) {
        earlier(work.reconciler.pausedUntil());
    } else if (work.store.waiting() > 0 && !busy && work.dirty.empty()) {
        // What waits has been read in vain: else there would be something to do.
        const auto left = milliseconds(work.store.catalogue().nextRetry() - wallTime());
        earlier(now + std::clamp(left, milliseconds(0), milliseconds(longestRetry)));
    }
    if (work.store.logLingers())
        earlier(now + milliseconds(100));
    int timeout = -1;
    if (busy)
        timeout = 0;
    else if (due)
        timeout = static_cast<int>(
            std::clamp<std::int64_t>(std::chrono::ceil<milliseconds>(*due - now).count(), 0, 24L * 3600 * 1000));
    std::array<pollfd, 2> waited{{{wake_.number(), POLLIN, 0}, {work.watches.descriptor(), POLLIN, 0}}};
    // While changes settle more of them don't wake us: they are read together.
    const bool gathering = !busy && !work.dirty.empty();
    poll(waited.data(), gathering ? 1 : 2, timeout);
    if (work.store.logLingers() && !work.store.changing())
        work.store.truncateLog();
}

void Indexer::repeatIncomplete(Moment now) {
    work_->repeatDue = now + doubled(settings_.repeatInterval, work_->incompleteInRow++, longestRepeat);
}

void Indexer::fullWalk() {
    Work& work = *work_;
    work.fullWalkDue = false;
    work.fullWalkRunning = true;
    work.reconciler.beginFullWalk();
    work.nextRescan = work.repeatDue = Moment::max();
    for (const std::uint32_t root : work.roots)
        work.walk.push(root, FolderWalk::Depth::all);
}

std::vector<std::uint32_t> Indexer::lostRoots() const {
    std::vector<std::uint32_t> lost;
    std::ranges::copy_if(work_->roots, std::back_inserter(lost), [this](std::uint32_t root) {
        return !work_->watches.has(root) && !work_->reconciler.unwatched().contains(root);
    });
    return lost;
}

void Indexer::lookForLostRoots() {
    work_->lostRootsDue = Moment::max();
    for (const std::uint32_t root : lostRoots())
        work_->walk.push(root, FolderWalk::Depth::all);
}

bool Indexer::readWaiting(Moment end) {
    Work& work = *work_;
    if (work.store.waiting() == 0 || !work.reconciler.readerAnswers())
        return false;
    const auto waiting = work.store.catalogue().waiting(64, wallTime());
    if (waiting.empty())
        return false;
    bool any = false;
    for (const Entry& entry : waiting) {
        // At least one, however late it is: with nothing done here this thread would sleep on what waits.
        const bool late = any && steady_clock::now() >= end;
        if (stop_ || work.store.full() || late || !work.reconciler.readerAnswers())
            break;
        if (work.dirty.contains({entry.folder, entry.name}))
            continue; // still being written
        work.reconciler.readText(entry);
        any = true;
    }
    return any;
}

} // namespace vennic::index
