#pragma once
#include "fakes/KeyValueStoreFake.h"
#include "fakes/ModalDialogsFake.h"
#include "linux/FileTypesShared.h"
#include "linux/photos/PhotoLibraryFolder.h"
#include "support/PictureMaker.h"

#include <QTemporaryDir>

#include <functional>
#include <map>
#include <mutex>

namespace vennic::test {

/// Reads facts in this very process, counts, and fails as told.
class FactsReaderScript final : public photos::PhotoFactsReader {
public:
    Result read(int file, Haste haste) override;
    void hurry() override {}

    int reads() const { return reads_; }
    /// Of these, how many somebody waited for.
    int awaited() const { return awaited_; }
    /// Asked before each reading, by the library's thread; a value is the answer.
    std::function<std::optional<Outcome>(const QByteArray& content)> instead;

private:
    std::atomic<int> reads_ = 0;
    std::atomic<int> awaited_ = 0;
};

/// A home with a pictures folder and the library over it. Nothing is allowed at first.
class PicturesWorld {
public:
    PicturesWorld();
    ~PicturesWorld();

    QString home() const { return base_.path() + QStringLiteral("/home"); }
    QString pictures() const { return home() + QStringLiteral("/Images"); }
    QString path(const QString& name) const { return pictures() + u'/' + name; }
    std::string catalogue() const { return settings.catalogue; }

    /// Below the pictures folder, whose folders are made.
    void put(const QString& name, const QByteArray& bytes) const;
    /// A JPEG taken at that moment.
    void photo(const QString& name, const char* taken) const { put(name, jpegTaken(taken)); }
    void rename(const QString& from, const QString& to) const;
    void remove(const QString& name) const;
    /// As editors save: another file takes the place at once.
    void replace(const QString& name, const QByteArray& bytes) const;

    void allow() { consent().decide(true); }
    void deny() { consent().decide(false); }
    PhotoConsent& consent() { return *consent_; }
    PhotoLibraryFolder& library() { return *library_; }
    /// Ends the library, and begins it again.
    void close();
    void reopen();

    std::vector<PhotoAsset> all() { return library().fetchImages(1000, std::nullopt); }
    /// The names, newest first.
    QStringList names();
    /// The identifier of the photo of that name; empty when there is none.
    QString id(const QString& name);
    /// Asks until the library has exactly these, in any order.
    bool has(QStringList names);

    KeyValueStoreFake store;
    ModalDialogsFake dialogs;
    std::shared_ptr<FactsReaderScript> script = std::make_shared<FactsReaderScript>();
    FactsReaderScript& reader = *script;
    std::shared_ptr<FileTypesShared> types = std::make_shared<FileTypesShared>();
    photos::KeeperSettings settings;
    std::atomic<bool> hasFolder = true; // else the user has no pictures folder

private:
    QTemporaryDir base_;
    std::unique_ptr<PhotoConsent> consent_;
    std::unique_ptr<PhotoLibraryFolder> library_;
    std::mutex zoneLock_;

public:
    /// The machine's zone and time, as the library sees them.
    void travel(const QTimeZone& zone);
    void setNow(const QDateTime& now);

private:
    QTimeZone zone_ = QTimeZone::utc();
    QDateTime now_ = QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33), Qt::UTC);
};

} // namespace vennic::test
