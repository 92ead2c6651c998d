#include "linux_photos/PhotoLibraryContract.h"

#include "fakes/PhotoLibraryFake.h"
#include "linux_photos/PicturesWorld.h"

#include <QFile>

using namespace vennic;
using namespace vennic::test;

namespace {

class FakeWorld final : public PhotoLibraryWorld {
public:
    FakeWorld() { library_.status = PhotoAuthorization::notDetermined; }
    PhotoLibrary& library() override { return library_; }
    void add(const QString& name, const QByteArray& taken, bool hasPlace) override {
        PhotoAsset asset;
        asset.localIdentifier = QStringLiteral("id-%1").arg(library_.photos.size());
        if (!taken.isEmpty()) {
            QDateTime date = QDateTime::fromString(QString::fromLatin1(taken), QStringLiteral("yyyy:MM:dd HH:mm:ss"));
            date.setTimeSpec(Qt::UTC);
            asset.creationDate = date;
        }
        if (hasPlace)
            asset.location = PhotoPlace{48, 2};
        asset.resource = PhotoResource{name, QStringLiteral("public.jpeg")};
        library_.images[asset.localIdentifier] = {bytes(name), QStringLiteral("public.jpeg")};
        library_.photos.push_back(asset);
    }
    QByteArray bytes(const QString& name) override { return "image of " + name.toUtf8(); }
    void userWillSay(bool yes) override {
        library_.userSays = yes ? PhotoAuthorization::authorized : PhotoAuthorization::denied;
    }
    void nobodyCanBeAsked() override { library_.userSays = PhotoAuthorization::notDetermined; }

private:
    PhotoLibraryFake library_;
};

class FolderWorld final : public PhotoLibraryWorld {
public:
    PhotoLibrary& library() override { return world_.library(); }
    void add(const QString& name, const QByteArray& taken, bool hasPlace) override {
        ExifMaker exif;
        if (!taken.isEmpty())
            exif.takenAt(taken);
        if (hasPlace)
            exif.at(48, 2);
        world_.put(name, jpegWith(exif.block()));
    }
    QByteArray bytes(const QString& name) override {
        QFile file(world_.path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    void userWillSay(bool yes) override {
        world_.dialogs.answer = yes ? DialogAnswer::accepted : DialogAnswer::refused;
    }
    void nobodyCanBeAsked() override { world_.dialogs.screen = false; }

private:
    PicturesWorld world_;
};

using Worlds = ::testing::Types<FakeWorld, FolderWorld>;

} // namespace

namespace vennic::test {
INSTANTIATE_TYPED_TEST_SUITE_P(FakeAndFolder, PhotoLibraryContract, Worlds);
}
