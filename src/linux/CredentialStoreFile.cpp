#include "linux/CredentialStoreFile.h"

#include "linux/CredentialPresence.h"
#include "linux/FileDescriptor.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vennic {

namespace {

constexpr qsizetype maxFileBytes = 1024LL * 1024;
constexpr qsizetype maxSecretBytes = 512LL * 1024;

constexpr qint64 version = 1;
const auto versionKey = QStringLiteral("version");
const auto itemsKey = QStringLiteral("items");
const auto serviceKey = QStringLiteral("service");
const auto accountKey = QStringLiteral("account");
const auto dataKey = QStringLiteral("data");
const auto presenceKey = QStringLiteral("user-presence");

/// All bytes of a file; none when a read fails or there are more than `limit`.
std::optional<QByteArray> readAll(int fd, qsizetype limit) {
    QByteArray bytes;
    bytes.reserve(limit + 1); // no growing, which would leave copies behind
    while (bytes.size() <= limit) {
        const qsizetype had = bytes.size();
        bytes.resize(limit + 1);
        // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): the lock is there for this file
        const auto got = ::read(fd, bytes.data() + had, static_cast<std::size_t>(limit + 1 - had));
        if (got < 0 && errno == EINTR) {
            bytes.resize(had);
            continue;
        }
        bytes.resize(had + std::max<ssize_t>(got, 0));
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            return bytes;
    }
    wipe(bytes);
    return std::nullopt;
}

QByteArray folderOf(const QString& path) { return QFile::encodeName(QFileInfo(path).absolutePath()); }

bool writeAll(int fd, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const auto put = ::write(fd, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        bytes = bytes.sliced(put);
    }
    return true;
}

} // namespace

CredentialStoreFile::CredentialStoreFile(QString path, UserPresence& presence)
    : path_(std::move(path)), presence_(presence) {}

CredentialReadResult CredentialStoreFile::read(const CredentialItem& item, const std::optional<QString>& prompt,
                                               const std::stop_token& stop) {
    const Content content = this->content();
    if (content.condition != Condition::sound)
        return {CredentialStatus::ioFailed, std::nullopt};
    const auto found = std::find_if(content.entries.begin(), content.entries.end(),
                                    [&](const Entry& entry) { return entry.item == item; });
    if (found == content.entries.end())
        return {CredentialStatus::itemNotFound, std::nullopt};
    if (found->requiresUserPresence) {
        if (const auto status = confirmedBy(presence_, prompt, stop); status != CredentialStatus::success)
            return {status, std::nullopt};
    }
    return {CredentialStatus::success, found->data};
}

CredentialStatus CredentialStoreFile::add(const CredentialItem& item, const SecretText& data,
                                          CredentialProtection protection) {
    if (data.reveal().size() > maxSecretBytes)
        return CredentialStatus::dataTooLarge;
    if (protection.requiresUserPresence && !canRequireUserPresence())
        return CredentialStatus::authFailed;
    const std::scoped_lock lock(file_);
    Content content = load();
    if (content.condition == Condition::unreadable || (content.condition == Condition::damaged && !setAside()))
        return CredentialStatus::ioFailed;
    if (std::any_of(content.entries.begin(), content.entries.end(),
                    [&](const Entry& entry) { return entry.item == item; }))
        return CredentialStatus::duplicateItem;
    content.entries.push_back({item, data, protection.requiresUserPresence});
    return store(content.entries) ? CredentialStatus::success : CredentialStatus::ioFailed;
}

CredentialStatus CredentialStoreFile::remove(const CredentialItem& item) {
    const std::scoped_lock lock(file_);
    Content content = load();
    if (content.condition != Condition::sound)
        return CredentialStatus::ioFailed;
    if (std::erase_if(content.entries, [&](const Entry& entry) { return entry.item == item; }) == 0)
        return CredentialStatus::itemNotFound;
    return store(content.entries) ? CredentialStatus::success : CredentialStatus::ioFailed;
}

std::optional<CredentialProtection> CredentialStoreFile::protectionOf(const CredentialItem& item) const {
    for (const Entry& entry : content().entries) {
        if (entry.item == item)
            return CredentialProtection{entry.requiresUserPresence};
    }
    return std::nullopt;
}

bool CredentialStoreFile::isFolderSafe() const {
    struct stat status{};
    if (stat(folderOf(path_).constData(), &status) != 0)
        return errno == ENOENT;
    return S_ISDIR(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void CredentialStoreFile::removeLeftovers() const {
    // One writer at a time: the client, whose place is locked. `store` gives the names.
    const QRegularExpression ending(QRegularExpression::anchoredPattern(QStringLiteral("\\.[A-Za-z0-9]{6}")));
    const QFileInfo vault(path_);
    const auto flags = QDir::Files | QDir::Hidden | QDir::NoSymLinks;
    for (const QString& name : vault.absoluteDir().entryList(flags)) {
        if (name.startsWith(vault.fileName()) && ending.match(name.mid(vault.fileName().size())).hasMatch())
            unlink(QFile::encodeName(vault.absoluteDir().filePath(name)).constData());
    }
}

CredentialStoreFile::Content CredentialStoreFile::content() const {
    const std::scoped_lock lock(file_);
    return load();
}

CredentialStoreFile::Content CredentialStoreFile::load() const {
    if (!isFolderSafe())
        return {Condition::unreadable, {}};
    if (!std::exchange(tidied_, true))
        removeLeftovers();
    // O_NONBLOCK: a pipe in the file's place must not hold us.
    const FileDescriptor file(
        ::open(QFile::encodeName(path_).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen())
        return {errno == ENOENT ? Condition::sound : Condition::unreadable, {}};
    struct stat status{};
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid() ||
        (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return {Condition::unreadable, {}};
    auto bytes = readAll(file.number(), maxFileBytes);
    if (!bytes)
        return {Condition::unreadable, {}};
    Content content = parse(*bytes);
    wipe(*bytes);
    return content;
}

CredentialStoreFile::Content CredentialStoreFile::parse(const QByteArray& bytes) {
    const QJsonObject root = QJsonDocument::fromJson(bytes).object();
    if (root.value(versionKey).toInteger() > version)
        return {Condition::unreadable, {}}; // sound, and of a program that knows more
    if (root.value(versionKey).toInteger() != version || !root.value(itemsKey).isArray())
        return {Condition::damaged, {}};
    Content content;
    for (const auto& value : root.value(itemsKey).toArray()) {
        const QJsonObject entry = value.toObject();
        auto data = QByteArray::fromBase64Encoding(entry.value(dataKey).toString().toLatin1(),
                                                   QByteArray::AbortOnBase64DecodingErrors);
        if (!entry.value(serviceKey).isString() || !entry.value(accountKey).isString() ||
            !entry.value(dataKey).isString() || !data || !entry.value(presenceKey).isBool())
            return {Condition::damaged, {}};
        content.entries.push_back({{entry.value(serviceKey).toString(), entry.value(accountKey).toString()},
                                   SecretText(*data),
                                   entry.value(presenceKey).toBool()});
        wipe(*data);
    }
    return content;
}

bool CredentialStoreFile::store(const std::vector<Entry>& entries) const {
    QJsonArray items;
    for (const Entry& entry : entries) {
        items.append(QJsonObject{
            {serviceKey, entry.item.service},
            {accountKey, entry.item.account},
            {dataKey, QString::fromLatin1(
                          QByteArray::fromRawData(entry.data.reveal().data(), entry.data.reveal().size()).toBase64())},
            {presenceKey, entry.requiresUserPresence}});
    }
    QByteArray bytes =
        QJsonDocument(QJsonObject{{versionKey, version}, {itemsKey, items}}).toJson(QJsonDocument::Compact);
    if (bytes.size() > maxFileBytes)
        return false;

    const QByteArray folder = folderOf(path_);
    if (!QFileInfo::exists(QFile::decodeName(folder))) {
        QDir().mkpath(QFile::decodeName(folder));
        chmod(folder.constData(), 0700);
    }
    QByteArray temporary = QFile::encodeName(path_) + ".XXXXXX";
    const FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC)); // made 0600
    if (!file.isOpen())
        return false;
    const bool written = writeAll(file.number(), bytes) && fsync(file.number()) == 0 &&
                         rename(temporary.constData(), QFile::encodeName(path_).constData()) == 0;
    wipe(bytes);
    if (!written) {
        unlink(temporary.constData());
        return false;
    }
    // The new name lasts only when the folder is on the disk too.
    const FileDescriptor parent(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !parent.isOpen() || fsync(parent.number()) == 0;
}

bool CredentialStoreFile::setAside() const {
    const QString base = QStringLiteral("%1.corrupt-%2")
                             .arg(path_, QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")));
    QString target = base;
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = QStringLiteral("%1-%2").arg(base).arg(number);
    return QFile::rename(path_, target);
}

} // namespace vennic
