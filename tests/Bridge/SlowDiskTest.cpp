// What waits for a disk takes no place from other work on the pool: a folder on a server that has gone away may take
// hours, and the bridge goes on polling meanwhile.
#include "Bridge/ListDirHandler.h"
#include "Bridge/ListFoldersHandler.h"
#include "Bridge/LocalToolWorld.h"
#include "base/Pool.h"
#include "support/HungDisk.h"
#include "support/OneThread.h"

namespace vennic::test {
namespace {

struct SlowDiskTest : testing::Test {
    LocalToolWorld world;
    TaskAnswer answer{[](const QString&) {}};
    BridgeIDCache cache;
    BookmarkEntry grant = world.share(QStringLiteral("/d"));
    const QString id = uuidString(grant.id);
    const OneThread small;
    HungDisk disk;

    void hangWhereFoldersAreLookedFor() {
        world.bookmarks->beforeResolve = [this] { disk.read(); };
    }
    void hangWhereFilesAreLookedAt() {
        world.files->beforeValues = [this] { disk.read(); };
    }
    void expectThatOtherWorkGoesOnDuring(Task<> act) {
        Scope jobs;
        jobs.start(std::move(act));
        ASSERT_TRUE(waitUntil([this] { return disk.asked() > 0; }));
        EXPECT_EQ(await(onPool([] { return 1; })), 1);
        disk.answer();
        EXPECT_TRUE(waitUntil([&] { return jobs.size() == 0; }));
    }
    Task<> tool(const char* name, const QJsonObject& arguments) {
        return run(&world.tools, QString::fromUtf8(name),
                   QString::fromUtf8(QJsonDocument(arguments).toJson(QJsonDocument::Compact)));
    }
    static Task<> run(LocalToolRegistry* tools, QString name, QString arguments) {
        co_await tools->dispatch(name, arguments);
    }
};

TEST_F(SlowDiskTest, listingTheSharedFoldersLeavesThePool) {
    ListFoldersHandler handler{BookmarkPersistence(world.store), world.bookmarks, world.files, answer};
    hangWhereFoldersAreLookedFor();
    expectThatOtherWorkGoesOnDuring(
        handler.handleListFolders({QStringLiteral("t"), BridgeTaskKind::listFolders, ListFoldersArgs{}}, world.api()));
}

TEST_F(SlowDiskTest, listingAFolderLeavesThePool) {
    ListDirHandler handler{BookmarkPersistence(world.store), world.bookmarks, world.files, world.types, cache, answer};
    const ListDirArgs args{.folderId = id, .subPath = {}};
    hangWhereFoldersAreLookedFor();
    expectThatOtherWorkGoesOnDuring(
        handler.handleListDir({QStringLiteral("t"), BridgeTaskKind::listDir, args}, args, world.api()));
}

TEST_F(SlowDiskTest, theToolThatListsTheSharedFoldersLeavesThePool) {
    hangWhereFoldersAreLookedFor();
    expectThatOtherWorkGoesOnDuring(tool("list_local_folders", {}));
}

TEST_F(SlowDiskTest, theToolThatListsAFolderLeavesThePool) {
    hangWhereFoldersAreLookedFor();
    expectThatOtherWorkGoesOnDuring(tool("browse_local_folder", {{QStringLiteral("folder_id"), id}}));
}

TEST_F(SlowDiskTest, aSearchLeavesThePoolWhileFoldersAreLookedFor) {
    hangWhereFoldersAreLookedFor();
    expectThatOtherWorkGoesOnDuring(tool("search_local_documents", {{QStringLiteral("query"), QStringLiteral("edf")}}));
}

TEST_F(SlowDiskTest, aSearchLeavesThePoolWhileTheVolumesOfItsHitsAreAsked) {
    world.files->addFile(QStringLiteral("/d/edf.txt"));
    IndexItem item;
    item.path = QStringLiteral("/d/edf.txt");
    world.index.answers.push_back({.items = {item}});
    hangWhereFilesAreLookedAt();
    expectThatOtherWorkGoesOnDuring(tool("search_local_documents", {{QStringLiteral("query"), QStringLiteral("edf")}}));
}

TEST_F(SlowDiskTest, aSearchLeavesThePoolWhileItWalks) {
    world.files->addFile(QStringLiteral("/d/facture edf.txt"));
    hangWhereFilesAreLookedAt();
    expectThatOtherWorkGoesOnDuring(
        tool("search_local_documents", {{QStringLiteral("query"), QStringLiteral("edf facture")}}));
}

} // namespace
} // namespace vennic::test
