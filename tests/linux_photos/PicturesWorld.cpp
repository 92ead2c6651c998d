#include "linux_photos/PicturesWorld.h"

#include "support/Await.h"
#include "worker/PhotoReader.h"

#include <QDir>
#include <QFile>

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace vennic::test {

namespace {

/// No picture that a test makes is larger.
QByteArray contentOf(int file) {
    QByteArray bytes(100'000, '\0');
    const ssize_t got = pread(file, bytes.data(), static_cast<std::size_t>(bytes.size()), 0);
    bytes.truncate(std::max<ssize_t>(got, 0));
    return bytes;
}

} // namespace

photos::PhotoFactsReader::Result FactsReaderScript::read(int file, Haste haste) {
    ++reads_;
    if (haste == Haste::awaited)
        ++awaited_;
    const QByteArray bytes = contentOf(file);
    if (const auto outcome = instead ? instead(bytes) : std::nullopt)
        return {*outcome, {}};
    return {Outcome::read, worker::photoFacts({bytes.constData(), static_cast<std::size_t>(bytes.size())})};
}

PicturesWorld::PicturesWorld() {
    worker::warmUpPhotos();
    QDir().mkpath(pictures());
    settings.catalogue = (base_.path() + QStringLiteral("/data/photos.sqlite")).toStdString();
    settings.folder = [this] {
        return hasFolder ? std::filesystem::weakly_canonical(pictures().toStdString()).string() : std::string();
    };
    settings.zone = [this] {
        const std::lock_guard lock(zoneLock_);
        return zone_;
    };
    settings.now = [this] {
        const std::lock_guard lock(zoneLock_);
        return now_;
    };
    reopen();
}

PicturesWorld::~PicturesWorld() {
    close();
    std::error_code error;
    std::filesystem::remove_all(base_.path().toStdString(), error); // names that are no text are beyond QTemporaryDir
}

void PicturesWorld::close() {
    library_.reset();
    consent_.reset();
}

void PicturesWorld::reopen() {
    close();
    consent_ = std::make_unique<PhotoConsent>(store, dialogs);
    library_ = std::make_unique<PhotoLibraryFolder>(*consent_, settings, script, types);
}

void PicturesWorld::put(const QString& name, const QByteArray& bytes) const {
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

void PicturesWorld::rename(const QString& from, const QString& to) const {
    std::filesystem::rename(path(from).toStdString(), path(to).toStdString());
}

void PicturesWorld::remove(const QString& name) const { std::filesystem::remove_all(path(name).toStdString()); }

void PicturesWorld::replace(const QString& name, const QByteArray& bytes) const {
    put(QStringLiteral(".new"), bytes);
    rename(QStringLiteral(".new"), name);
}

QStringList PicturesWorld::names() {
    QStringList names;
    for (const PhotoAsset& asset : all())
        names.append(asset.resource->originalFilename);
    return names;
}

QString PicturesWorld::id(const QString& name) {
    for (const PhotoAsset& asset : all()) {
        if (asset.resource->originalFilename == name)
            return asset.localIdentifier;
    }
    return {};
}

bool PicturesWorld::has(QStringList expected) {
    expected.sort();
    QStringList last;
    for (int i = 0; i < 400; ++i) {
        last = names();
        last.sort();
        if (last == expected)
            return true;
        const qint64 until = QDateTime::currentMSecsSinceEpoch() + 50;
        waitUntil([&] { return QDateTime::currentMSecsSinceEpoch() >= until; });
    }
    ADD_FAILURE() << "the library has " << last.join(QStringLiteral(" | ")).toStdString();
    return false;
}

void PicturesWorld::travel(const QTimeZone& zone) {
    const std::lock_guard lock(zoneLock_);
    zone_ = zone;
}

void PicturesWorld::setNow(const QDateTime& now) {
    const std::lock_guard lock(zoneLock_);
    now_ = now;
}

} // namespace vennic::test
