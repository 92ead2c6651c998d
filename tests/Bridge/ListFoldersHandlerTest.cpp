#include "Bridge/ListFoldersHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct ListFoldersHandlerTest : ::testing::Test {
    BridgeWorld world;
    QString unsent;
    TaskAnswer answer{[this](const QString& reason) { unsent = reason; }};
    ListFoldersHandler handler{BookmarkPersistence(world.store), world.bookmarks, world.files, answer};

    QByteArray handle() {
        await(handler.handleListFolders({QStringLiteral("t1"), BridgeTaskKind::listFolders, ListFoldersArgs{}},
                                        world.api()));
        return world.backend.updates.empty()
                   ? QByteArray()
                   : QJsonDocument(world.backend.updates.back().body).toJson(QJsonDocument::Compact);
    }
    static QByteArray done(const QByteArray& folders) {
        return R"({"result":{"folders":[)" + folders + R"(]},"status":"done"})";
    }
    static QByteArray folder(const BookmarkEntry& grant, const QByteArray& path, const char* isRemote = "false") {
        return R"({"id":")" + uuidString(grant.id).toLatin1() + R"(","is_remote":)" + isRemote + R"(,"name":")" +
               grant.displayName.toUtf8() + R"(","path_display":")" + path + "\"}";
    }
};

} // namespace

TEST_F(ListFoldersHandlerTest, withoutGrantsTheListIsEmptyAndNoError) { EXPECT_EQ(handle(), done("")); }

TEST_F(ListFoldersHandlerTest, everyGrantIsListedInStoredOrderUnderItsIdAndName) {
    const auto second = world.share(QStringLiteral("/srv/z"));
    const auto first = world.share(QStringLiteral("/home/marie/Reçus"));
    EXPECT_EQ(handle(), done(folder(second, "/srv/z") + "," + folder(first, "~/Reçus")));
    EXPECT_EQ(second.displayName, QStringLiteral("z"));
    EXPECT_EQ(uuidString(first.id), uuidString(first.id).toUpper());
}

TEST_F(ListFoldersHandlerTest, aFolderSharedTwiceIsListedTwice) {
    const auto one = world.share(QStringLiteral("/d"));
    const auto other = world.share(QStringLiteral("/d"));
    EXPECT_NE(one.id, other.id);
    EXPECT_EQ(handle(), done(folder(one, "/d") + "," + folder(other, "/d")));
}

TEST_F(ListFoldersHandlerTest, everyOccurrenceOfTheHomeDirectoryIsATilde) {
    const auto grant = world.share(QStringLiteral("/mnt/home/marie/home/marie/x"));
    EXPECT_EQ(handle(), done(folder(grant, "/mnt~~/x")));
}

TEST_F(ListFoldersHandlerTest, aLostGrantIsLeftOutWithoutAWord) {
    const auto lost = world.share(QStringLiteral("/a"));
    const auto kept = world.share(QStringLiteral("/b"));
    world.bookmarks->lost.insert(QStringLiteral("/a"));
    EXPECT_EQ(handle(), done(folder(kept, "/b")));
    EXPECT_EQ(world.bookmarks->started, 1);
}

TEST_F(ListFoldersHandlerTest, aMovedFolderIsShownWhereItIsUnderTheNameThatItHad) {
    const auto grant = world.share(QStringLiteral("/old"));
    world.files->addFolder(QStringLiteral("/new"));
    world.bookmarks->moved[QStringLiteral("/old")] = QStringLiteral("/new");
    EXPECT_EQ(handle(), done(folder(grant, "/new")));
    EXPECT_EQ(grant.displayName, QStringLiteral("old"));
}

TEST_F(ListFoldersHandlerTest, onlyAVolumeKnownNotToBeLocalIsRemote) {
    const auto network = world.share(QStringLiteral("/net"));
    const auto unknown = world.share(QStringLiteral("/unknown"));
    const auto unreadable = world.share(QStringLiteral("/unreadable"));
    world.files->entries[QStringLiteral("/net")].volumeIsLocal = false;
    world.files->entries[QStringLiteral("/unknown")].volumeIsLocal.reset();
    world.files->unreadable.insert(QStringLiteral("/unreadable"));
    EXPECT_EQ(handle(), done(folder(network, "/net", "true") + "," + folder(unknown, "/unknown") + "," +
                             folder(unreadable, "/unreadable")));
}

TEST_F(ListFoldersHandlerTest, accessIsClosedOnceAndOnlyWhereItOpened) {
    world.share(QStringLiteral("/a"));
    world.share(QStringLiteral("/b"));
    world.bookmarks->refused.insert(QStringLiteral("/a"));
    EXPECT_TRUE(handle().contains(R"("path_display":"/a")"));
    EXPECT_EQ(world.bookmarks->started, 2);
    EXPECT_EQ(world.bookmarks->stopped, 1);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(ListFoldersHandlerTest, aSuccessThatCannotBeSentIsTold) {
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    handle();
    EXPECT_EQ(unsent, QStringLiteral("La connexion au serveur a été coupée."));
    EXPECT_EQ(world.backend.updates.size(), 1U);
}
