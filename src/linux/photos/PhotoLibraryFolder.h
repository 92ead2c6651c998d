#pragma once
#include "linux/photos/PhotoConsent.h"
#include "linux/photos/PhotoKeeper.h"
#include "linux/photos/PhotoQueries.h"
#include "ports/PhotoLibrary.h"

#include <QCoreApplication>

#include <atomic>

namespace vennic {

/// How far the library is, for people.
struct PhotoLibraryStatus {
    QString folder; // of the photos; empty when the user has none or nothing is followed
    bool missing = false;
    qint64 photos = 0;
    qint64 waiting = 0; // files whose content hasn't been looked at yet
    bool ready = false;
    bool watchLimited = false;
    QString problem; // a French sentence, empty when all is well
    bool operator==(const PhotoLibraryStatus&) const = default;
};

/// The pictures folder as a photo library. Nothing of the folder is looked at before the user has agreed; when they
/// withdraw it everything but the photos' identifiers is erased.
class PhotoLibraryFolder final : public QObject, public PhotoLibrary {
    Q_OBJECT
public:
    /// The consent outlives what the main thread does with the library; the rest may be in use elsewhere a little
    /// longer.
    PhotoLibraryFolder(PhotoConsent& consent, photos::KeeperSettings settings,
                       std::shared_ptr<photos::PhotoFactsReader> reader, std::shared_ptr<const FileTypes> types);
    ~PhotoLibraryFolder() override;

    PhotoAuthorization authorizationStatus() const override { return consent_.status(); }
    Task<PhotoAuthorization> requestAuthorization() override { return consent_.request(); }

    std::vector<PhotoAsset> fetchImages(qint64 limit, std::optional<PhotoInterval> created) override;
    std::optional<PhotoAsset> asset(const QString& localIdentifier) override;
    std::optional<PhotoImage> imageData(const QString& localIdentifier) override;

    PhotoLibraryStatus status() const;
    /// Ends the following; whoever waits for the library gets what it has.
    void close() { keeper_.close(); }

private:
    void obeyConsent();
    std::optional<photos::KnownPhoto> known(const QString& localIdentifier) const;

    PhotoConsent& consent_;
    const std::shared_ptr<const FileTypes> types_;
    photos::PhotoKeeper keeper_;
};

} // namespace vennic
