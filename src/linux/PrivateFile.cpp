#include "linux/PrivateFile.h"

#include "base/SecretText.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vennic {

namespace {

using namespace std::chrono_literals;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_;
};

QByteArray encoded(const QString& name) { return QFile::encodeName(name); }

bool writeAll(int file, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            bytes = bytes.sliced(written);
    }
    return true;
}

} // namespace

int PrivateFile::openFolder() const {
    Descriptor folder(::open(encoded(QFileInfo(path_).absolutePath()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status{};
    if (!folder || fstat(folder.get(), &status) != 0)
        return -1;
    if (status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        errno = EPERM;
        return -1;
    }
    return folder.release();
}

PrivateFile::Content PrivateFile::read() const {
    const Descriptor folder(openFolder());
    if (!folder)
        return {errno == ENOENT ? State::missing : State::refused, {}};
    return readIn(folder.get());
}

PrivateFile::Content PrivateFile::readIn(int folder) const {
    // A pipe of that name must not make anybody wait.
    const Descriptor file(openat(folder, encoded(QFileInfo(path_).fileName()).constData(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        return {errno == ENOENT ? State::missing : State::refused, {}};
    struct stat status{};
    if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid() ||
        (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return {State::refused, {}};
    if (status.st_size > maxBytes_)
        return {State::tooLarge, {}};
    QByteArray bytes(status.st_size, '\0');
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = pread(file.get(), bytes.data() + filled, static_cast<std::size_t>(bytes.size() - filled),
                                    static_cast<off_t>(filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            wipe(bytes);
            return {State::refused, {}};
        }
        if (count == 0)
            break;
        filled += count;
    }
    bytes.truncate(filled);
    return {State::sound, std::move(bytes)};
}

std::optional<PrivateFile::Writer> PrivateFile::write() const {
    const QString path = QFileInfo(path_).absolutePath();
    if (!QFileInfo::exists(path)) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        ::mkdir(encoded(path).constData(), 0700);
    }
    Descriptor folder(openFolder());
    if (!folder)
        return std::nullopt;
    const auto end = std::chrono::steady_clock::now() + 2s;
    // Some network file systems know no such lock: there the writers are on their own.
    while (flock(folder.get(), LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
        if (std::chrono::steady_clock::now() >= end)
            return std::nullopt;
        std::this_thread::sleep_for(5ms);
    }
    Writer writer(*this, folder.release());
    unlinkat(writer.folder_, encoded(QFileInfo(path_).fileName() + QStringLiteral(".new")).constData(), 0);
    return writer;
}

PrivateFile::Writer::Writer(Writer&& other) noexcept : file_(other.file_), folder_(std::exchange(other.folder_, -1)) {}

PrivateFile::Writer::~Writer() {
    if (folder_ >= 0)
        ::close(folder_);
}

PrivateFile::Content PrivateFile::Writer::read() const { return file_.readIn(folder_); }

bool PrivateFile::Writer::replace(const QByteArray& bytes) {
    const QByteArray name = encoded(QFileInfo(file_.path_).fileName());
    const QByteArray fresh = name + ".new";
    {
        const Descriptor file(openat(folder_, fresh.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file)
            return false;
        // A umask may have taken permissions of the owner.
        if (fchmod(file.get(), 0600) != 0 || !writeAll(file.get(), bytes) || fsync(file.get()) != 0 ||
            renameat(folder_, fresh.constData(), folder_, name.constData()) != 0) {
            unlinkat(folder_, fresh.constData(), 0);
            return false;
        }
    }
    fsync(folder_); // what fails here costs durability, not the content: the new file is in place
    return true;
}

bool PrivateFile::Writer::setAside(const QString& reason) {
    const QString name = QFileInfo(file_.path_).fileName();
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString base = QStringLiteral("%1.%2-%3").arg(name, reason, stamp);
    QString target = base;
    struct stat status{};
    for (int number = 2; fstatat(folder_, encoded(target).constData(), &status, AT_SYMLINK_NOFOLLOW) == 0; ++number)
        target = QStringLiteral("%1-%2").arg(base).arg(number);
    return renameat(folder_, encoded(name).constData(), folder_, encoded(target).constData()) == 0;
}

} // namespace vennic
