// The library in step with the disk.
#include "linux_photos/PicturesWorld.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>

#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

using namespace vennic;
using namespace vennic::test;

namespace {

QString s(const char* text) { return QString::fromUtf8(text); }

class PhotoFreshness : public ::testing::Test {
protected:
    void SetUp() override {
        world.photo(s("a.jpg"), "2024:01:01 10:00:00");
        world.photo(s("x/b.jpg"), "2024:02:02 10:00:00");
        world.allow();
        ASSERT_TRUE(world.has({s("a.jpg"), s("b.jpg")}));
    }
    /// Waits without asking the library for anything, as when nobody asks for weeks.
    bool settles(qint64 photos) {
        return waitUntil([&] {
            const PhotoLibraryStatus status = world.library().status();
            return status.ready && status.waiting == 0 && status.photos == photos;
        });
    }
    PicturesWorld world;
};

} // namespace

TEST_F(PhotoFreshness, whatHasJustHappenedIsInTheNextAnswer) {
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("c.jpg"), s("b.jpg"), s("a.jpg")}));
    world.remove(s("a.jpg"));
    EXPECT_EQ(world.names(), QStringList({s("c.jpg"), s("b.jpg")}));
    world.photo(s("c.jpg"), "2023:03:03 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("c.jpg")}));
    world.photo(s("y/z/d.jpg"), "2024:04:04 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("d.jpg"), s("b.jpg"), s("c.jpg")}));
    world.remove(s("y"));
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("c.jpg")}));
}

TEST_F(PhotoFreshness, changesAreFollowedWithoutAnybodyAsking) {
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_TRUE(settles(3));
    world.remove(s("x"));
    EXPECT_TRUE(settles(2));
}

TEST_F(PhotoFreshness, onlyWhatSomebodyWaitsForIsReadInHaste) {
    const int awaited = world.reader.awaited();
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_TRUE(settles(3));
    EXPECT_EQ(world.reader.awaited(), awaited);
    world.photo(s("d.jpg"), "2024:04:04 10:00:00");
    EXPECT_EQ(world.names().size(), 4);
    EXPECT_EQ(world.reader.awaited(), awaited + 1);
}

TEST_F(PhotoFreshness, theImageOfAPhotoThatStandsAsItIsKnownWaitsForNothingElse) {
    const QString a = world.id(s("a.jpg"));
    const int awaited = world.reader.awaited();
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_EQ(world.library().imageData(a)->data, jpegTaken("2024:01:01 10:00:00"));
    EXPECT_TRUE(settles(3));
    EXPECT_EQ(world.reader.awaited(), awaited);
    world.rename(s("a.jpg"), s("x/d.jpg"));
    EXPECT_EQ(world.library().imageData(a)->data, jpegTaken("2024:01:01 10:00:00"));
    world.photo(s("x/d.jpg"), "2024:05:05 10:00:00");
    EXPECT_EQ(world.library().imageData(a)->data, jpegTaken("2024:05:05 10:00:00"));
}

TEST_F(PhotoFreshness, aSettledLibraryReadsNothingAgain) {
    const int reads = world.reader.reads();
    world.reopen();
    EXPECT_EQ(world.names().size(), 2);
    world.put(s("notes.txt"), "bonjour");
    world.put(s("x/.b.jpg.part"), "bonjour");
    EXPECT_EQ(world.names().size(), 2);
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_EQ(world.names().size(), 3);
    EXPECT_EQ(world.reader.reads(), reads + 1);
}

TEST_F(PhotoFreshness, aFileThatIsStillBeingWrittenAppearsWhenItIsWhole) {
    const QByteArray whole = jpegTaken("2024:03:03 10:00:00");
    QFile file(world.path(s("c.jpg")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    file.write(whole.first(40));
    EXPECT_EQ(world.names().size(), 2);
    file.write(whole.mid(40));
    file.close();
    EXPECT_EQ(world.names(), QStringList({s("c.jpg"), s("b.jpg"), s("a.jpg")}));
}

TEST_F(PhotoFreshness, whatHappenedWhileItWasClosedIsFoundAtTheNextStart) {
    world.close();
    world.remove(s("a.jpg"));
    world.photo(s("x/c.jpg"), "2024:03:03 10:00:00");
    world.photo(s("x/b.jpg"), "2025:02:02 10:00:00");
    world.reopen();
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("c.jpg")}));
}

TEST_F(PhotoFreshness, pastTheWatchLimitFoldersAreReadAgainAtEachRequest) {
    world.settings.watchBudget = 1;
    world.reopen();
    EXPECT_EQ(world.names().size(), 2);
    EXPECT_TRUE(world.library().status().watchLimited);
    EXPECT_FALSE(world.library().status().problem.isEmpty());
    world.photo(s("x/c.jpg"), "2024:03:03 10:00:00");
    world.photo(s("x/y/d.jpg"), "2024:04:04 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("d.jpg"), s("c.jpg"), s("b.jpg"), s("a.jpg")}));
    world.photo(s("x/b.jpg"), "2025:02:02 10:00:00"); // changed in place: its folder doesn't show it
    world.photo(s("x/y/d.jpg"), "2025:01:01 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("d.jpg"), s("c.jpg"), s("a.jpg")}));
    world.remove(s("x"));
    EXPECT_EQ(world.names(), QStringList({s("a.jpg")}));
}

TEST_F(PhotoFreshness, aPicturesFolderThatComesLaterIsFound) {
    world.close();
    std::filesystem::remove_all(world.pictures().toStdString());
    std::filesystem::remove(world.catalogue());
    world.reopen();
    EXPECT_EQ(world.names(), QStringList());
    EXPECT_TRUE(world.library().status().missing);
    EXPECT_TRUE(world.library().status().ready);
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    EXPECT_EQ(world.names(), QStringList({s("c.jpg")}));
    EXPECT_FALSE(world.library().status().missing);
}

TEST_F(PhotoFreshness, aPicturesFolderThatGoesKeepsItsPhotosUntilItIsBack) {
    const QString id = world.id(s("b.jpg"));
    const int reads = world.reader.reads();
    const std::string away = world.home().toStdString() + "/ailleurs";
    std::filesystem::rename(world.pictures().toStdString(), away);
    EXPECT_EQ(world.names(), QStringList());
    EXPECT_TRUE(world.library().status().missing);
    EXPECT_FALSE(world.library().asset(id));
    std::filesystem::rename(away, world.pictures().toStdString());
    EXPECT_EQ(world.id(s("b.jpg")), id);
    EXPECT_EQ(world.reader.reads(), reads);
    world.photo(s("x/c.jpg"), "2024:03:03 10:00:00"); // it is followed again
    EXPECT_TRUE(settles(3));
}

TEST_F(PhotoFreshness, aPicturesFolderThatIsALinkIsFollowedToItsPlace) {
    const std::string place = world.home().toStdString() + "/disque";
    std::filesystem::rename(world.pictures().toStdString(), place);
    std::filesystem::create_directory_symlink(place, world.pictures().toStdString());
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("a.jpg")}));
}

TEST_F(PhotoFreshness, withoutAPicturesFolderTheLibraryIsEmpty) {
    world.hasFolder = false;
    EXPECT_EQ(world.names(), QStringList());
    EXPECT_EQ(world.library().status().folder, QString());
    world.hasFolder = true;
    EXPECT_EQ(world.names().size(), 2);
}

TEST_F(PhotoFreshness, aBurstOfFilesIsFoundWhole) {
    for (int i = 0; i < 500; ++i)
        world.photo(s("rafale/%1.jpg").arg(i), "2024:03:03 10:00:00");
    EXPECT_EQ(world.all().size(), 502U);
}

TEST_F(PhotoFreshness, severalMayAskWhileFilesComeAndGo) {
    std::atomic<bool> ending = false;
    std::thread writer([&] {
        for (int i = 0; !ending; ++i) {
            world.photo(s("va/%1.jpg").arg(i % 20), "2024:03:03 10:00:00");
            if (i % 3 == 0)
                world.remove(s("va/%1.jpg").arg((i * 7) % 20));
        }
    });
    const auto ask = [&] {
        for (int i = 0; i < 20; ++i) {
            const auto photos = world.all();
            EXPECT_GE(photos.size(), 2U);
            EXPECT_LE(photos.size(), 22U);
        }
    };
    std::thread first(ask);
    std::thread second(ask);
    first.join();
    second.join();
    ending = true;
    writer.join();
    world.remove(s("va"));
    EXPECT_EQ(world.names(), QStringList({s("b.jpg"), s("a.jpg")}));
}

TEST_F(PhotoFreshness, whoWaitsWhenTheProgramEndsGoesOn) {
    std::atomic<bool> reading = false;
    std::atomic<bool> released = false;
    world.reader.instead = [&](const QByteArray&) -> std::optional<photos::PhotoFactsReader::Outcome> {
        reading = true;
        while (!released)
            std::this_thread::yield();
        return photos::PhotoFactsReader::Outcome::ended;
    };
    world.photo(s("c.jpg"), "2024:03:03 10:00:00");
    std::thread waiting([&] { world.all(); });
    ASSERT_TRUE(waitUntil([&] { return reading.load(); }));
    std::thread closing([&] { world.library().close(); });
    released = true;
    closing.join();
    waiting.join();
    EXPECT_EQ(world.all().size(), 0U); // and whoever asks later gets nothing
}
