#include "linux/photos/PhotoLibraryFolder.h"

#include "base/LocalizedError.h"
#include "linux/index/DiskFolder.h"
#include "linux/photos/PictureType.h"
#include "linux/worker/OpenedDocument.h"

#include <QFile>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds patience = 10s; // with a library that is still being read
constexpr qint64 largestImage = qint64{512} << 20;

QString nameOf(const photos::KnownPhoto& photo) {
    return QFile::decodeName(QByteArray(photo.name.data(), static_cast<qsizetype>(photo.name.size())));
}

/// By content; raw files in a TIFF frame are told by their name alone.
QString typeOf(const photos::KnownPhoto& photo, const FileTypes& types) {
    const QString rawImage = QStringLiteral("public.camera-raw-image");
    if (photo.facts.format == PictureFormat::tiff) {
        const QString type = types.typeForFile(nameOf(photo), false);
        if (types.conforms(type, rawImage))
            return type;
    }
    return photos::typeIdentifier(photo.facts.format);
}

PhotoAsset assetOf(const photos::KnownPhoto& photo, const FileTypes& types) {
    PhotoAsset asset;
    asset.localIdentifier = QString::fromStdString(photo.identifier);
    if (photo.taken != photos::undated)
        asset.creationDate = QDateTime::fromMSecsSinceEpoch(photo.taken, Qt::UTC);
    if (photo.facts.placed != 0)
        asset.location = PhotoPlace{photo.facts.latitude, photo.facts.longitude};
    asset.resource = PhotoResource{nameOf(photo), typeOf(photo, types)};
    return asset;
}

bool standsAsKnown(const photos::KnownPhoto& photo) {
    const FileDescriptor folder = index::openFolder(photo.folder);
    return folder.isOpen() && photos::fileAt(folder.number(), photo.name, photos::volumeIdentifier(folder.number())) ==
                                  std::optional(photo.disk);
}

/// All bytes of an open file. Raises LocalizedError.
QByteArray contentOf(int file, const QString& name) {
    struct stat status{};
    if (fstat(file, &status) != 0)
        throw LocalizedError(unreadableSentence(name, errno));
    if (status.st_size > largestImage)
        throw LocalizedError(tooLargeSentence(name));
    QByteArray data(status.st_size, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < data.size()) {
        const ssize_t got = pread(file, data.data() + filled, static_cast<std::size_t>(data.size() - filled), filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw LocalizedError(unreadableSentence(name, errno));
        if (got == 0)
            break; // it has become shorter
        filled += got;
    }
    data.truncate(filled);
    return data;
}

QString problemOf(const photos::KeeperStatus& status) {
    if (!status.fault.empty())
        return QStringLiteral("La photothèque ne peut pas être tenue à jour (%1).")
            .arg(QString::fromStdString(status.fault));
    if (status.readerFails)
        return QStringLiteral("Le lecteur de photos ne répond pas : les nouvelles photos n'y figurent pas encore.");
    if (!status.setAside.empty())
        return QStringLiteral("La photothèque était abîmée : elle a été mise de côté sous le nom %1 et refaite.")
            .arg(QString::fromStdString(status.setAside));
    if (status.watchLimited)
        return QStringLiteral("Le système ne permet pas de surveiller tous les dossiers : ils sont relus à chaque "
                              "demande.");
    return {};
}

} // namespace

PhotoLibraryFolder::PhotoLibraryFolder(PhotoConsent& consent, photos::KeeperSettings settings,
                                       std::shared_ptr<photos::PhotoFactsReader> reader,
                                       std::shared_ptr<const FileTypes> types)
    : consent_(consent), types_(types), keeper_(std::move(settings), std::move(reader), std::move(types)) {
    connect(&consent_, &PhotoConsent::statusChanged, this, &PhotoLibraryFolder::obeyConsent);
    obeyConsent();
}

PhotoLibraryFolder::~PhotoLibraryFolder() = default;

void PhotoLibraryFolder::obeyConsent() {
    const PhotoAuthorization status = consent_.status();
    if (status == PhotoAuthorization::authorized)
        keeper_.follow();
    else if (status == PhotoAuthorization::denied)
        keeper_.forget();
}

std::vector<PhotoAsset> PhotoLibraryFolder::fetchImages(qint64 limit, std::optional<PhotoInterval> created) {
    if (!keeper_.catchUp(patience))
        return {};
    std::optional<std::pair<std::int64_t, std::int64_t>> taken;
    if (created)
        taken = {created->from.toMSecsSinceEpoch(), created->until.toMSecsSinceEpoch()};
    std::vector<PhotoAsset> assets;
    try {
        for (const photos::KnownPhoto& photo :
             photos::newestPhotos(keeper_.catalogue(), std::max<qint64>(limit, 0), taken))
            assets.push_back(assetOf(photo, *types_));
    } catch (const index::DatabaseError&) { // NOLINT(bugprone-empty-catch): the status tells; the library is empty
    }
    return assets;
}

std::optional<photos::KnownPhoto> PhotoLibraryFolder::known(const QString& localIdentifier) const {
    try {
        return photos::photoOf(keeper_.catalogue(), localIdentifier.toStdString());
    } catch (const index::DatabaseError&) { // the status tells; the library is empty
        return std::nullopt;
    }
}

std::optional<PhotoAsset> PhotoLibraryFolder::asset(const QString& localIdentifier) {
    if (!keeper_.catchUp(patience))
        return std::nullopt;
    const auto photo = known(localIdentifier);
    return photo ? std::optional(assetOf(*photo, *types_)) : std::nullopt;
}

std::optional<PhotoImage> PhotoLibraryFolder::imageData(const QString& localIdentifier) {
    // Who asks has just waited for the photo itself. Where it stands as it is known, nothing else has to be waited for.
    auto photo = keeper_.isFollowing() ? known(localIdentifier) : std::nullopt;
    if (!photo || !standsAsKnown(*photo)) {
        if (!keeper_.catchUp(patience))
            return std::nullopt;
        photo = known(localIdentifier);
    }
    if (!photo)
        return std::nullopt;
    const QString name = nameOf(*photo);
    const FileDescriptor folder = index::openFolder(photo->folder);
    const FileDescriptor file = folder.isOpen() ? index::openFileAt(folder.number(), photo->name) : FileDescriptor();
    if (!file.isOpen())
        throw LocalizedError(unreadableSentence(name, errno));
    return PhotoImage{contentOf(file.number(), name), typeOf(*photo, *types_)};
}

PhotoLibraryStatus PhotoLibraryFolder::status() const {
    const photos::KeeperStatus now = keeper_.status();
    PhotoLibraryStatus status;
    status.folder = QFile::decodeName(QByteArray::fromStdString(now.folder));
    status.missing = now.missing;
    status.photos = now.photos;
    status.waiting = now.waiting;
    status.ready = now.settled;
    status.watchLimited = now.watchLimited;
    status.problem = problemOf(now);
    return status;
}

} // namespace vennic
