#pragma once
#include "base/Task.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>
#include <vector>

namespace vennic {

/// What the user has said of access to their photos.
enum class PhotoAuthorization {
    notDetermined, // not asked yet
    restricted,    // the machine's rules forbid it
    denied,
    authorized,
    limited, // to photos that the user picked
};

/// Degrees (WGS 84): latitude -90 to 90, longitude -180 to 180.
struct PhotoPlace {
    double latitude = 0;
    double longitude = 0;
    bool operator==(const PhotoPlace&) const = default;
};

/// The file behind a photo.
struct PhotoResource {
    QString originalFilename;
    QString uniformTypeIdentifier; // by the file's content, see FileTypes
    bool operator==(const PhotoResource&) const = default;
};

/// One photo of the library. A missing value is one that the photo doesn't have.
struct PhotoAsset {
    QString localIdentifier; // stays the same for as long as the photo is in the library
    std::optional<QDateTime> creationDate;
    std::optional<PhotoPlace> location;
    std::optional<PhotoResource> resource;
    bool operator==(const PhotoAsset&) const = default;
};

/// Moments from `from` up to, and not including, `until`.
struct PhotoInterval {
    QDateTime from;
    QDateTime until;
    bool operator==(const PhotoInterval&) const = default;
};

/// The file's bytes as they stand.
struct PhotoImage {
    QByteArray data;
    QString uniformTypeIdentifier;
    bool operator==(const PhotoImage&) const = default;
};

/// The user's photos. Without authorization it is empty.
class PhotoLibrary {
public:
    virtual ~PhotoLibrary() = default;

    /// Main thread; quick.
    virtual PhotoAuthorization authorizationStatus() const = 0;
    /// Asks the user, if they haven't decided yet, and waits for the answer. Where nobody can be asked the status stays
    /// what it is. Main thread; cancellable.
    virtual Task<PhotoAuthorization> requestAuthorization() = 0;

    /// At most `limit` images, newest creation date first, then those without one; with an interval only those created
    /// in it. Any thread; may block while the library catches up with the disk.
    virtual std::vector<PhotoAsset> fetchImages(qint64 limit, std::optional<PhotoInterval> created) = 0;
    /// The photo of that identifier, none when the library doesn't have it. Any thread; may block.
    virtual std::optional<PhotoAsset> asset(const QString& localIdentifier) = 0;
    /// The present version of a photo in full quality. None when there is none to be had and nothing more is known;
    /// raises LocalizedError with the reason where there is one. Any thread; blocks.
    virtual std::optional<PhotoImage> imageData(const QString& localIdentifier) = 0;
};

} // namespace vennic
