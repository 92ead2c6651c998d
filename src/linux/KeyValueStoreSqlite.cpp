#include "linux/KeyValueStoreSqlite.h"

#include <algorithm>

namespace vennic {

using namespace std::chrono_literals;

namespace {

constexpr auto firstRetry = 500ms;
constexpr auto longestRetry = 30s;
constexpr auto longestRest = 250ms;
constexpr qint64 bytesPerRest = qint64{1024} * 1024;

qsizetype sizeOf(const StoredValue& value) {
    if (const auto* text = std::get_if<QString>(&value))
        return text->size();
    if (const auto* data = std::get_if<QByteArray>(&value))
        return data->size();
    return 0;
}

QString writeFailure(const QString& reason) {
    return QStringLiteral("Les réglages ne peuvent pas être enregistrés : %1.").arg(reason);
}

} // namespace

KeyValueStoreSqlite::KeyValueStoreSqlite(const QString& path) : file_(path) {
    try {
        values_ = file_.load();
    } catch (const SqliteError& error) {
        writeProblem_ = writeFailure(QString::fromUtf8(error.what()));
    }
    if (!file_.asideName().isEmpty())
        asideProblem_ = QStringLiteral("Le fichier des réglages était illisible. Il a été mis de côté sous « %1 ».")
                            .arg(file_.asideName());
}

KeyValueStoreSqlite::~KeyValueStoreSqlite() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    wake_.notify_all();
    if (writer_.joinable())
        writer_.join();
}

std::optional<StoredValue> KeyValueStoreSqlite::value(const QString& key) const {
    const std::lock_guard lock(mutex_);
    const auto found = values_.constFind(key);
    return found == values_.constEnd() ? std::nullopt : std::optional(*found);
}

void KeyValueStoreSqlite::set(const QString& key, StoredValue value) {
    const std::lock_guard lock(mutex_);
    if (const auto found = values_.constFind(key); found != values_.constEnd() && *found == value)
        return;
    values_.insert(key, value);
    change(key);
}

void KeyValueStoreSqlite::remove(const QString& key) {
    const std::lock_guard lock(mutex_);
    if (values_.remove(key))
        change(key);
}

void KeyValueStoreSqlite::change(const QString& key) {
    dirty_.insert(key);
    if (!writer_.joinable())
        writer_ = std::thread([this] { run(); });
    wake_.notify_all();
}

bool KeyValueStoreSqlite::flush() {
    std::unique_lock lock(mutex_);
    // A commit that is under way may have begun before the last change: its end isn't ours yet.
    const quint64 enough = attempts_ + (busy_ ? 2 : 1);
    // As many attempts and no more: on a failing disk the next ones wait their time again.
    hurryUntil_ = std::max(hurryUntil_, enough);
    wake_.notify_all();
    settled_.wait(lock, [&] { return (dirty_.isEmpty() && !busy_) || attempts_ >= enough; });
    return dirty_.isEmpty() && !busy_;
}

QString KeyValueStoreSqlite::problem() const {
    const std::lock_guard lock(mutex_);
    return writeProblem_.isEmpty() ? asideProblem_ : writeProblem_;
}

void KeyValueStoreSqlite::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return ending_ || !dirty_.isEmpty(); });
        if (!dirty_.isEmpty() && !ending_ && !hurried())
            wake_.wait_until(lock, restUntil_, [this] { return ending_ || hurried(); });
        const bool last = ending_; // read before the commit: what changes during it needs one more
        if (!dirty_.isEmpty())
            commitDirty(lock);
        if (last)
            return; // whatever came of it
    }
}

void KeyValueStoreSqlite::commitDirty(std::unique_lock<std::mutex>& lock) {
    const PreferencesFile::Changes changes = takeDirty();
    qint64 bytes = 0;
    for (const auto& [key, value] : changes)
        bytes += value ? sizeOf(*value) : 0;
    busy_ = true;
    lock.unlock();
    QString failure;
    bool damaged = false;
    try {
        file_.commit(changes);
    } catch (const SqliteError& error) {
        failure = QString::fromUtf8(error.what());
        damaged = error.meansDamage();
    }
    lock.lock();
    busy_ = false;
    ++attempts_;
    const auto now = std::chrono::steady_clock::now();
    if (failure.isEmpty()) {
        writeProblem_ =
            std::exchange(tooLarge_, false) ? writeFailure(QStringLiteral("une valeur est trop grande")) : QString();
        retryAfter_ = 0ms;
        restUntil_ = now + std::min<std::chrono::milliseconds>(longestRest, longestRest * bytes / bytesPerRest);
    } else {
        for (const auto& [key, value] : changes)
            dirty_.insert(key);
        if (damaged)
            startOver();
        writeProblem_ = writeFailure(failure);
        retryAfter_ = std::clamp<std::chrono::milliseconds>(retryAfter_ * 2, firstRetry, longestRetry);
        restUntil_ = now + retryAfter_;
    }
    settled_.notify_all();
}

PreferencesFile::Changes KeyValueStoreSqlite::takeDirty() {
    PreferencesFile::Changes changes;
    for (const QString& key : std::as_const(dirty_)) {
        const auto found = values_.constFind(key);
        if (found == values_.constEnd())
            changes.emplace_back(key, std::nullopt);
        else if (sizeOf(*found) <= PreferencesFile::maxValueBytes)
            changes.emplace_back(key, *found);
        else
            tooLarge_ = true;
    }
    dirty_.clear();
    return changes;
}

// The file was damaged under our hands. What is in memory is whole: it goes into a new one.
void KeyValueStoreSqlite::startOver() {
    try {
        file_.setAside(QStringLiteral("corrupt"));
    } catch (const SqliteError&) {
        return; // tried again with the next commit
    }
    asideProblem_ = QStringLiteral("Le fichier des réglages était illisible. Il a été mis de côté sous « %1 ».")
                        .arg(file_.asideName());
    for (auto at = values_.constBegin(); at != values_.constEnd(); ++at)
        dirty_.insert(at.key());
}

} // namespace vennic
