// What goes wrong: the user's no, damaged files of ours, a reader that dies.
#include "linux/index/Database.h"
#include "linux_photos/PicturesWorld.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace vennic;
using namespace vennic::test;

namespace {

QString s(const char* text) { return QString::fromUtf8(text); }
using Outcome = photos::PhotoFactsReader::Outcome;

class PhotoTrouble : public ::testing::Test {
protected:
    PicturesWorld world;

    QString dataFolder() const { return QFileInfo(QString::fromStdString(world.catalogue())).path(); }
    QByteArray everythingKept() const {
        QByteArray kept;
        for (const QFileInfo& file : QDir(dataFolder()).entryInfoList(QDir::Files)) {
            QFile each(file.filePath());
            EXPECT_TRUE(each.open(QIODevice::ReadOnly));
            kept += each.readAll();
        }
        return kept;
    }
    void overwriteCatalogue(const QByteArray& bytes) const {
        std::filesystem::remove(world.catalogue() + "-wal");
        QFile file(QString::fromStdString(world.catalogue()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
};

} // namespace

TEST_F(PhotoTrouble, nothingIsLookedAtBeforeTheUserAgrees) {
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    bool askedForFolder = false;
    world.settings.folder = [&] {
        askedForFolder = true;
        return std::string();
    };
    world.reopen();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_FALSE(world.library().asset(s("x")));
    EXPECT_FALSE(world.library().imageData(s("x")));
    world.deny();
    EXPECT_EQ(world.all().size(), 0U);
    world.reopen();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_FALSE(askedForFolder);
    EXPECT_EQ(world.reader.reads(), 0);
    EXPECT_FALSE(QFileInfo::exists(dataFolder()));
}

TEST_F(PhotoTrouble, refusingErasesWhatWasKnown) {
    world.put(s("rendez-vous-secret.jpg"), jpegWith(ExifMaker().takenAt("2024:01:01 10:00:00").at(48, 2).block()));
    world.photo(s("dossier-intime/x.jpg"), "2024:01:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.all().size(), 2U);
    ASSERT_TRUE(waitUntil([&] { return everythingKept().contains("rendez-vous-secret"); }));
    world.deny();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_TRUE(waitUntil([&] {
        const QByteArray kept = everythingKept();
        return !kept.contains("rendez-vous-secret") && !kept.contains("dossier-intime") && !kept.contains("Images");
    }));
    world.photo(s("apres.jpg"), "2024:01:01 10:00:00");
    world.reopen();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_FALSE(everythingKept().contains("apres"));
}

TEST_F(PhotoTrouble, refusingWhileTheLibraryIsClosedIsObeyedAtTheNextStart) {
    world.photo(s("rendez-vous-secret.jpg"), "2024:01:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.all().size(), 1U);
    world.close();
    world.store.set(s("photoLibraryAccess"), false);
    world.reopen();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_TRUE(waitUntil([&] { return !everythingKept().contains("rendez-vous-secret"); }));
}

TEST_F(PhotoTrouble, theCatalogueIsForItsOwnerAlone) {
    world.allow();
    world.all();
    struct stat status{};
    ASSERT_EQ(stat(world.catalogue().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat(dataFolder().toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(PhotoTrouble, aDamagedCatalogueIsSetAsideAndMadeAnew) {
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    world.allow();
    world.all();
    world.close();
    QFile file(QString::fromStdString(world.catalogue()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray sound = file.readAll();
    file.close();
    for (const QByteArray& bytes : {QByteArray("not a database at all, and long enough to be looked at"),
                                    sound.left(sound.size() / 2), sound.left(100)}) {
        overwriteCatalogue(bytes);
        world.reopen();
        EXPECT_EQ(world.names(), QStringList{s("a.jpg")});
        EXPECT_TRUE(world.library().status().problem.contains(s("mise de côté")));
        world.close();
    }
    EXPECT_EQ(QDir(dataFolder()).entryList({s("photos.sqlite.corrupt-*")}).size(), 3);
}

TEST_F(PhotoTrouble, aCatalogueOfAnotherVersionIsSetAside) {
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    world.allow();
    world.all();
    world.close();
    {
        index::Database(world.catalogue(), index::Database::Mode::write).execute("PRAGMA user_version = 99");
    }
    world.reopen();
    EXPECT_EQ(world.names(), QStringList{s("a.jpg")});
    EXPECT_FALSE(world.library().status().problem.isEmpty());
}

TEST_F(PhotoTrouble, aCatalogueThatCannotBeWrittenIsTriedAgainWhenSomebodyAsks) {
    const QString folder = dataFolder();
    QFile block(folder);
    ASSERT_TRUE(block.open(QIODevice::WriteOnly)); // a file where the folder should be
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.all().size(), 0U);
    EXPECT_FALSE(world.library().status().problem.isEmpty());
    ASSERT_TRUE(block.remove());
    EXPECT_TRUE(world.has({s("a.jpg")}));
    EXPECT_TRUE(world.library().status().problem.isEmpty());
}

TEST_F(PhotoTrouble, aFileThatKillsTheReaderTwiceIsAbsentAndTheOthersAreThere) {
    world.reader.instead = [](const QByteArray& bytes) {
        return bytes.contains("poison") ? std::optional(Outcome::failed) : std::nullopt;
    };
    world.photo(s("avant.jpg"), "2024:01:01 10:00:00");
    world.put(s("poison.jpg"), jpegWith() + "poison");
    world.photo(s("apres.jpg"), "2024:02:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.names(), QStringList({s("apres.jpg"), s("avant.jpg")}));
    EXPECT_EQ(world.reader.reads(), 4);
    world.reopen();
    EXPECT_EQ(world.names().size(), 2);
    EXPECT_EQ(world.reader.reads(), 4);
}

TEST_F(PhotoTrouble, aReaderThatFailsOnceIsForgiven) {
    bool failed = false;
    world.reader.instead = [&](const QByteArray&) {
        return std::exchange(failed, true) ? std::nullopt : std::optional(Outcome::failed);
    };
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.names(), QStringList{s("a.jpg")});
}

TEST_F(PhotoTrouble, aReaderThatFailsOnEverythingIsTheOneToBlame) {
    std::atomic<bool> broken = true;
    world.reader.instead = [&](const QByteArray&) { return broken ? std::optional(Outcome::failed) : std::nullopt; };
    QStringList names;
    for (int i = 0; i < 12; ++i) {
        names.append(s("%1.jpg").arg(i));
        world.photo(names.last(), "2024:01:01 10:00:00");
    }
    world.allow();
    EXPECT_EQ(world.names(), QStringList());
    EXPECT_EQ(world.library().status().waiting, 12);
    EXPECT_TRUE(world.library().status().problem.contains(s("ne répond pas")));
    const int reads = world.reader.reads();
    EXPECT_EQ(reads, 16); // eight files, twice each
    broken = false;
    EXPECT_TRUE(world.has(names));
    EXPECT_TRUE(world.library().status().problem.isEmpty());
}

TEST_F(PhotoTrouble, aReaderThatEndsWithTheProgramLeavesTheFileWaiting) {
    world.reader.instead = [](const QByteArray&) { return std::optional(Outcome::ended); };
    world.photo(s("a.jpg"), "2024:01:01 10:00:00");
    world.allow();
    EXPECT_EQ(world.names(), QStringList());
    world.reader.instead = {};
    world.reopen();
    EXPECT_EQ(world.names(), QStringList{s("a.jpg")});
}
