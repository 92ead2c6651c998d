#include "linux/photos/PhotoKeeper.h"

#include "linux/SetAside.h"
#include "linux/index/DirtySet.h"
#include "linux/photos/PhotoDate.h"
#include "linux/photos/PhotoSync.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <sqlite3.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <system_error>

namespace vennic::photos {

namespace {

/// What SQLite says of a failure, in the user's language.
std::string faultSentence(const index::DatabaseError& error) {
    switch (error.code()) {
    case SQLITE_FULL:
        return "le disque est plein";
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return "son fichier ne peut pas être écrit";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return "un autre programme tient son fichier";
    case SQLITE_IOERR:
        return "le disque a signalé une erreur";
    default:
        return "erreur " + std::to_string(error.code()) + " de la base de données";
    }
}

/// Catalogues that were damaged once hold names and places too.
void removeSetAside(const std::filesystem::path& catalogue) {
    std::error_code ignored;
    const std::string beginning = catalogue.filename().string() + ".corrupt-";
    for (const auto& entry : std::filesystem::directory_iterator(catalogue.parent_path(), ignored)) {
        if (entry.path().filename().string().starts_with(beginning))
            std::filesystem::remove(entry.path(), ignored);
    }
}

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds slice{20};         // the longest stretch of work without a look around
constexpr milliseconds longestBatch{500}; // until what was found becomes visible
constexpr std::chrono::minutes readerPause{5};

} // namespace

struct PhotoKeeper::Work {
    Work(const KeeperSettings& settings, const FileTypes& types, PhotoSync::Facts facts, PhotoSync::Taken taken)
        : catalogue(settings.catalogue), watches(settings.watchBudget),
          sync(catalogue, watches, types, std::move(facts), std::move(taken)) {}

    PhotoCatalogue catalogue;
    index::Watches watches;
    PhotoSync sync;
    index::DirtySet dirty; // folders in which something has happened
    std::uint32_t root = 0;
    std::string folder;   // of the root; empty: none
    bool hurried = false; // somebody waits: nothing settles by itself
    Moment batchBegan{};
    Moment pausedUntil{}; // the reader's pause
};

PhotoKeeper::PhotoKeeper(KeeperSettings settings, std::shared_ptr<PhotoFactsReader> reader,
                         std::shared_ptr<const FileTypes> types)
    : settings_(std::move(settings)), reader_(std::move(reader)), types_(std::move(types)),
      wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

PhotoKeeper::~PhotoKeeper() { close(); }

void PhotoKeeper::close() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
    }
    caughtUp_.notify_all();
    wake();
    if (thread_.joinable())
        thread_.join();
}

void PhotoKeeper::wake() const { eventfd_write(wake_.number(), 1); }

void PhotoKeeper::follow() {
    {
        const std::lock_guard lock(mutex_);
        if (stop_ || following_)
            return;
        following_ = true;
        ordered_ = true;
        status_.settled = false;
        if (!thread_.joinable())
            thread_ = std::thread([this] { run(); });
    }
    wake();
}

void PhotoKeeper::forget() {
    {
        const std::lock_guard lock(mutex_);
        const bool isKept = thread_.joinable() || std::filesystem::exists(settings_.catalogue);
        if (stop_ || !isKept)
            return;
        following_ = false;
        ordered_ = true;
        forget_ = true;
        if (!thread_.joinable())
            thread_ = std::thread([this] { run(); });
    }
    wake();
}

bool PhotoKeeper::catchUp(milliseconds limit) {
    std::unique_lock lock(mutex_);
    if (!following_ || stop_)
        return false;
    const std::uint64_t number = ++asked_;
    lock.unlock();
    wake();
    reader_->hurry();
    lock.lock();
    caughtUp_.wait_for(lock, limit, [&] { return answered_ >= number || stop_; });
    return isThere();
}

bool PhotoKeeper::isFollowing() const {
    const std::lock_guard lock(mutex_);
    return isThere();
}

bool PhotoKeeper::isThere() const { return following_ && !status_.folder.empty() && !status_.missing; }

KeeperStatus PhotoKeeper::status() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

PhotoFactsReader::Haste PhotoKeeper::haste() const {
    const std::lock_guard lock(mutex_);
    return asked_ > answered_ ? PhotoFactsReader::Haste::awaited : PhotoFactsReader::Haste::none;
}

std::int64_t PhotoKeeper::nanosecondsNow() const { return settings_.now().toMSecsSinceEpoch() * 1'000'000; }

std::int64_t PhotoKeeper::takenOf(const PhotoFacts& facts) {
    const auto date = writtenDate(facts, zone_);
    if (!date)
        return undated;
    const QDateTime counts = countsFrom(*date);
    if (counts <= settings_.now())
        return date->toMSecsSinceEpoch();
    nextDate_ = nextDate_ ? std::min(*nextDate_, counts) : counts;
    return undated;
}

void PhotoKeeper::run() {
    while (!stop_) {
        try {
            serve();
        } catch (const index::DatabaseError& error) {
            work_.reset();
            if (error.damaged())
                setCatalogueAside();
            else
                fail(faultSentence(error));
        } catch (const std::system_error& error) {
            work_.reset();
            fail(error.code().message());
        }
    }
    work_.reset();
}

void PhotoKeeper::serve() {
    if (!work_)
        open();
    while (!stop_)
        cycle();
    commit();
}

void PhotoKeeper::setCatalogueAside() {
    const auto name = setAside(QString::fromStdString(settings_.catalogue), QStringLiteral("corrupt"));
    if (!name) {
        fail("le fichier abîmé n'a pas pu être mis de côté");
        return;
    }
    const std::lock_guard lock(mutex_);
    status_.setAside = name->toStdString();
}

/// Waits until somebody asks again: what keeps the disk from being written may have gone by then.
void PhotoKeeper::fail(const std::string& why) {
    eventfd_t ignored = 0;
    eventfd_read(wake_.number(), &ignored); // who asks after this isn't answered by it
    {
        const std::lock_guard lock(mutex_);
        status_.fault = why;
        status_.settled = false;
        answered_ = asked_;
    }
    caughtUp_.notify_all();
    pollfd waited{wake_.number(), POLLIN, 0};
    if (!stop_)
        poll(&waited, 1, -1);
}

void PhotoKeeper::open() {
    const std::filesystem::path folder = std::filesystem::path(settings_.catalogue).parent_path();
    if (std::filesystem::create_directories(folder))
        chmod(folder.c_str(), 0700);
    const auto facts = [this](int file) {
        PhotoFactsReader::Result result;
        do
            result = reader_->read(file, haste());
        while (result.outcome == PhotoFactsReader::Outcome::interrupted);
        return result;
    };
    zone_ = settings_.zone();
    work_ = std::make_unique<Work>(settings_, *types_, facts, [this](const PhotoFacts& each) { return takenOf(each); });
    {
        const std::lock_guard lock(mutex_);
        status_.fault.clear();
        ordered_ = true; // it holds for a catalogue that was made anew, too
    }
    work_->catalogue.forgetDeparted(nanosecondsNow());
    redate();
}

/// The zone that photos without one of their own are in may have changed, and dates that were in the future may have
/// come.
void PhotoKeeper::redate() {
    zone_ = settings_.zone();
    nextDate_.reset();
    work_->catalogue.redate([this](const PhotoFacts& facts) { return takenOf(facts); });
}

void PhotoKeeper::cycle() {
    Work& work = *work_;
    takeOrders();
    takeChanges();
    const auto end = steady_clock::now() + slice;
    while (!stop_ && work.sync.active() && steady_clock::now() < end)
        work.sync.step(nanosecondsNow());
    const bool busy = work.sync.active() || readWaiting();
    if (busy && steady_clock::now() - work.batchBegan < longestBatch)
        return;
    commit();
    publish(!busy);
    if (busy)
        return;
    answer();
    sleep();
}

void PhotoKeeper::takeOrders() {
    eventfd_t ignored = 0;
    eventfd_read(wake_.number(), &ignored);
    Work& work = *work_;
    bool following = false;
    bool ordered = false;
    bool forget = false;
    bool hurried = false;
    {
        const std::lock_guard lock(mutex_);
        following = following_;
        ordered = std::exchange(ordered_, false);
        forget = std::exchange(forget_, false);
        hurried = asked_ > taken_;
        taken_ = asked_;
    }
    if (forget)
        erase();
    if (!following && ordered)
        applyFolder({});
    if (!following || (!ordered && !hurried))
        return;
    if (const std::string folder = settings_.folder(); ordered || folder != work.folder)
        applyFolder(folder);
    work.hurried = hurried;
    work.pausedUntil = {};
    if (settings_.zone() != zone_ || (nextDate_ && *nextDate_ <= settings_.now()))
        redate();
    if (work.sync.lostRoot() != 0)
        work.sync.push(work.sync.lostRoot(), PhotoSync::Depth::all);
    for (const std::uint32_t each : work.sync.unwatched())
        work.sync.push(each, PhotoSync::Depth::fresh);
}

void PhotoKeeper::erase() {
    Work& work = *work_;
    work.sync.clear();
    removeSetAside(settings_.catalogue);
    if (work.catalogue.children(0).empty())
        return; // it has been done
    work.catalogue.departAll(nanosecondsNow());
    work.catalogue.commit();
    // Somebody may just be reading.
    constexpr int mostTries = 50;
    for (int i = 0; i < mostTries && !work.catalogue.truncateLog(); ++i)
        std::this_thread::sleep_for(milliseconds(20));
}

void PhotoKeeper::applyFolder(const std::string& folder) {
    Work& work = *work_;
    work.sync.clear();
    work.dirty.clear();
    work.root = 0;
    work.folder = folder;
    if (folder.empty()) { // nothing is followed, and nothing forgotten
        work.watches.clear();
        return;
    }
    for (const PhotoCatalogue::FolderRow& row : work.catalogue.children(0)) {
        if (row.name == folder)
            work.root = row.id;
        else
            work.sync.abandon(row.id);
    }
    if (work.root == 0)
        work.root = work.catalogue.addFolder(0, folder);
    work.sync.beginFullWalk();
    work.sync.push(work.root, PhotoSync::Depth::all);
}

void PhotoKeeper::takeChanges() {
    Work& work = *work_;
    if (work.root == 0)
        return;
    const auto now = steady_clock::now();
    for (const index::Change& change : work.watches.read()) {
        if (change.kind == index::Change::Kind::overflow) {
            work.sync.beginFullWalk();
            work.sync.push(work.root, PhotoSync::Depth::all);
        } else if (change.kind == index::Change::Kind::self) {
            if (change.folder == work.root) // nobody above it tells
                work.sync.push(work.root, PhotoSync::Depth::all);
        } else if (work.sync.concerns(change)) {
            work.dirty.touch(change.folder, {}, now);
        }
    }
    // For who waits, nothing has to settle by itself first.
    const auto due = std::exchange(work.hurried, false) ? Moment::max() : now;
    work.dirty.takeNames(due); // a name alone says nothing yet
    while (const auto key = work.dirty.takeText(due))
        work.sync.push(key->first, PhotoSync::Depth::fresh);
}

/// Reads facts for a while. Whether there is more to do.
bool PhotoKeeper::readWaiting() {
    Work& work = *work_;
    if (work.root == 0 || steady_clock::now() < work.pausedUntil)
        return false;
    const auto end = steady_clock::now() + slice;
    do {
        const auto outcome = work.sync.readNewest(nanosecondsNow());
        if (!outcome)
            return false;
        const bool fails =
            *outcome == PhotoFactsReader::Outcome::failed || *outcome == PhotoFactsReader::Outcome::ended;
        {
            const std::lock_guard lock(mutex_);
            status_.readerFails = fails;
        }
        if (fails) {
            work.pausedUntil = steady_clock::now() + readerPause;
            return false;
        }
    } while (!stop_ && steady_clock::now() < end);
    return true;
}

void PhotoKeeper::commit() {
    if (!work_)
        return;
    work_->catalogue.commit();
    work_->batchBegan = steady_clock::now();
}

void PhotoKeeper::publish(bool settled) {
    Work& work = *work_;
    const std::int64_t photos = work.catalogue.count(PhotoState::photo);
    const std::int64_t waiting = work.catalogue.count(PhotoState::waiting);
    const std::lock_guard lock(mutex_);
    status_.folder = work.folder;
    status_.photos = photos;
    status_.waiting = waiting;
    status_.missing = work.sync.lostRoot() != 0;
    status_.watchLimited = work.sync.watchLimited();
    status_.settled = settled && !ordered_;
}

/// All that was to be done is done.
void PhotoKeeper::answer() {
    {
        const std::lock_guard lock(mutex_);
        answered_ = taken_;
    }
    caughtUp_.notify_all();
}

void PhotoKeeper::sleep() {
    Work& work = *work_;
    std::optional<Moment> due = work.dirty.nextDue();
    if (work.pausedUntil > steady_clock::now())
        due = due ? std::min(*due, work.pausedUntil) : work.pausedUntil;
    int timeout = -1;
    if (due) {
        const auto left = std::chrono::ceil<milliseconds>(*due - steady_clock::now()).count();
        timeout = static_cast<int>(std::clamp<std::int64_t>(left, 0, 24L * 3600 * 1000));
    }
    std::array<pollfd, 2> waited{{{wake_.number(), POLLIN, 0}, {work.watches.descriptor(), POLLIN, 0}}};
    // While changes settle more of them don't wake us: they are read together.
    poll(waited.data(), work.dirty.empty() ? 2 : 1, timeout);
}

} // namespace vennic::photos
