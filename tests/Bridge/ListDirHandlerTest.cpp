#include "Bridge/ListDirHandler.h"

#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <QJsonArray>

#include <algorithm>
#include <gtest/gtest.h>
#include <semaphore>

using namespace vennic;
using namespace vennic::test;

namespace {

struct ListDirHandlerTest : ::testing::Test {
    BridgeWorld world;
    QString unsent;
    TaskAnswer answer{[this](const QString& reason) { unsent = reason; }};
    BridgeIDCache cache;
    int made = 0;
    ListDirHandler handler{
        BookmarkPersistence(world.store), world.bookmarks, world.files, world.types, cache, answer, [this] {
            return QStringLiteral("ID-%1").arg(++made);
        }};
    BookmarkEntry grant = world.share(QStringLiteral("/d"));

    Task<> task(const QString& folderId, std::optional<QString> subPath) {
        const ListDirArgs args{folderId, std::move(subPath)};
        return handler.handleListDir({QStringLiteral("t1"), BridgeTaskKind::listDir, args}, args, world.api());
    }
    QJsonObject handleFolder(const QString& folderId, std::optional<QString> subPath = {}) {
        await(task(folderId, std::move(subPath)));
        return world.backend.updates.empty() ? QJsonObject() : world.backend.updates.back().body;
    }
    QJsonObject handle(std::optional<QString> subPath = {}) {
        return handleFolder(uuidString(grant.id), std::move(subPath));
    }
    QJsonObject result(std::optional<QString> subPath = {}) {
        const QJsonObject body = handle(std::move(subPath));
        EXPECT_EQ(body[QLatin1String("status")].toString(), QStringLiteral("done"))
            << body[QLatin1String("error_message")].toString().toStdString();
        return body[QLatin1String("result")].toObject();
    }
    /// What `field` holds for each item.
    QStringList each(const char* field, std::optional<QString> subPath = {}) {
        QStringList values;
        for (const auto& item : result(std::move(subPath))[QLatin1String("items")].toArray())
            values << item.toObject()[QLatin1String(field)].toString();
        return values;
    }
    QString failure(const QJsonObject& body) const {
        EXPECT_EQ(body[QLatin1String("status")].toString(), QStringLiteral("error"));
        EXPECT_EQ(world.bookmarks->openNow(), 0);
        EXPECT_EQ(cache.size(), 0);
        return body[QLatin1String("error_message")].toString();
    }
    void folder(const char16_t* path) const { world.files->addFolder(QStringView(path).toString()); }
    void file(const char16_t* path, qint64 size = 0) const { world.files->addFile(QStringView(path).toString(), size); }
};

const QString malformed = QStringLiteral("folder_id mal formé.");
const QString notShared = QStringLiteral("Ce dossier n'est plus partagé sur le Mac.");
const QString lost = QStringLiteral("Impossible de résoudre le bookmark (dossier déplacé ?).");
const QString invalid = QStringLiteral("sub_path invalide.");
const QString escapes = QStringLiteral("sub_path échappe du dossier partagé.");

} // namespace

TEST_F(ListDirHandlerTest, aFolderIdThatIsNoUuidIsMalformed) {
    const QString id = uuidString(grant.id);
    for (const QString& text :
         {QString(), QStringLiteral("x"), QStringLiteral("{%1}").arg(id), id.chopped(1), id + u'0', id + u' ',
          u' ' + id, QString(id).remove(u'-'), QString(id).replace(3, 1, u'G'), QString(id).replace(8, 1, u'+'),
          id + QChar(u'\0'), QString(1'000'000, u'A')})
        EXPECT_EQ(failure(handleFolder(text)), malformed) << text.left(60).toStdString();
    EXPECT_EQ(world.bookmarks->resolved, 0);
}

TEST_F(ListDirHandlerTest, aFolderIdInSmallLettersIsTheSameAndIsGivenBackAsReceived) {
    const QString small = uuidString(grant.id).toLower();
    const QJsonObject body = handleFolder(small);
    EXPECT_EQ(body[QLatin1String("result")][QLatin1String("folder_id")].toString(), small);
}

TEST_F(ListDirHandlerTest, aGrantThatIsNotOrNoLongerThereIsNotShared) {
    EXPECT_EQ(failure(handleFolder(uuidString(QUuid::createUuid()))), notShared);
    EXPECT_EQ(failure(handleFolder(QStringLiteral("00000000-0000-0000-0000-000000000000"))), notShared);
    world.grants.remove(grant.id);
    EXPECT_EQ(failure(handle()), notShared);
    EXPECT_EQ(world.bookmarks->resolved, 0);
}

TEST_F(ListDirHandlerTest, aGrantThatCannotBeResolvedSaysSo) {
    world.bookmarks->lost.insert(QStringLiteral("/d"));
    EXPECT_EQ(failure(handle()), lost);
    EXPECT_EQ(world.bookmarks->started, 0);
}

TEST_F(ListDirHandlerTest, theChecksComeInTheirOrder) {
    const auto bad = QStringLiteral("../x");
    EXPECT_EQ(failure(handleFolder(QStringLiteral("x"), bad)), malformed);
    EXPECT_EQ(failure(handleFolder(uuidString(QUuid::createUuid()), bad)), notShared);
    world.bookmarks->lost.insert(QStringLiteral("/d"));
    EXPECT_EQ(failure(handle(bad)), lost);
    world.bookmarks->lost.clear();
    EXPECT_EQ(failure(handle(bad)), invalid);
    EXPECT_EQ(world.bookmarks->started, 0);
}

TEST_F(ListDirHandlerTest, subPathsThatClimbOrBeginWithASlashAreInvalid) {
    folder(u"/d/a");
    for (const char16_t* text :
         {u"/", u"//", u"/a", u"..", u"a/..", u"a/../b", u"a/../a", u"b/../a", u"./..", u"../d", u"a//../.", u"/d/a"})
        EXPECT_EQ(failure(handle(QStringView(text).toString())), invalid) << QStringView(text).toLatin1().toStdString();
    EXPECT_EQ(world.bookmarks->started, 0);
}

// A grant on "/" is the one whose folders don't begin with its path and a slash.
TEST_F(ListDirHandlerTest, aTargetOutsideTheRootOnceStandardisedEscapes) {
    folder(u"/etc");
    const auto everything = world.share(QStringLiteral("/"));
    EXPECT_EQ(failure(handleFolder(uuidString(everything.id), QStringLiteral("etc"))), escapes);
    EXPECT_EQ(world.bookmarks->started, 1);
    EXPECT_EQ(world.bookmarks->stopped, 1);
}

TEST_F(ListDirHandlerTest, anAbsentAndAnEmptySubPathListTheRoot) {
    file(u"/d/a.txt");
    for (const auto& subPath : {std::optional<QString>(), std::optional(QString())}) {
        const QJsonObject listed = result(subPath);
        EXPECT_EQ(listed[QLatin1String("sub_path")], QJsonValue(QString()));
        EXPECT_EQ(listed[QLatin1String("folder_id")].toString(), uuidString(grant.id));
        EXPECT_EQ(listed[QLatin1String("items")].toArray().size(), 1);
    }
}

TEST_F(ListDirHandlerTest, aSubPathIsListedAndGivenBackNormalised) {
    folder(u"/d/a");
    folder(u"/d/a/b");
    file(u"/d/a/b/c.txt");
    file(u"/d/a/near.txt");
    const QJsonObject listed = result(QStringLiteral("a//b/"));
    EXPECT_EQ(listed[QLatin1String("sub_path")].toString(), QStringLiteral("a/b"));
    EXPECT_EQ(each("name", QStringLiteral("a//b/")), QStringList{QStringLiteral("c.txt")});
    EXPECT_EQ(each("sub_path", QStringLiteral("a//b/")), QStringList{QStringLiteral("a/b/c.txt")});
    EXPECT_EQ(each("sub_path"), QStringList{QStringLiteral("a")});
}

TEST_F(ListDirHandlerTest, aDotIsKeptInTheSubPathAndLeadsNowhereElse) {
    folder(u"/d/a/b");
    file(u"/d/a/b/c.txt");
    file(u"/d/near.txt");
    EXPECT_EQ(each("name", QStringLiteral("a/./b")), QStringList{QStringLiteral("c.txt")});
    EXPECT_EQ(result(QStringLiteral("a/.//b/"))[QLatin1String("sub_path")].toString(), QStringLiteral("a/./b"));
    EXPECT_EQ(each("sub_path", QStringLiteral("a/./b")), QStringList{QStringLiteral("a/./b/c.txt")});
    EXPECT_EQ(each("name", QStringLiteral(".")), QStringList{QStringLiteral("near.txt")});
    EXPECT_EQ(result(QStringLiteral("."))[QLatin1String("sub_path")].toString(), QStringLiteral("."));
}

TEST_F(ListDirHandlerTest, anEmptyFolderHasNoItems) {
    EXPECT_EQ(QJsonDocument(handle()).toJson(QJsonDocument::Compact),
              R"({"result":{"folder_id":")" + uuidString(grant.id).toLatin1() +
                  R"(","items":[],"sub_path":""},"status":"done"})");
}

TEST_F(ListDirHandlerTest, everyFieldOfAnItemIsFilled) {
    folder(u"/d/r");
    world.files->addFile(QStringLiteral("/d/r/a.PDF"), 5, QDateTime(QDate(2025, 3, 1), QTime(9, 12, 33, 999), Qt::UTC));
    world.files->addFile(QStringLiteral("/d/r/b"), std::nullopt);
    world.files->addFolder(QStringLiteral("/d/r/c.txt"));
    world.files->entries[QStringLiteral("/d/r/c.txt")].changedAt = QDateTime(QDate(2024, 2, 29), QTime(), Qt::UTC);
    const QJsonArray items = result(QStringLiteral("r"))[QLatin1String("items")].toArray();
    ASSERT_EQ(items.size(), 3);
    const auto json = [&](int position) {
        return QJsonDocument(items[position].toObject()).toJson(QJsonDocument::Compact);
    };
    EXPECT_EQ(json(0), R"({"id":"ID-1","mime":"application/pdf","modified_at":"2025-03-01T09:12:33Z","name":"a.PDF",)"
                       R"("size":5,"sub_path":"r/a.PDF","type":"file"})");
    EXPECT_EQ(json(1), R"({"id":"ID-2","mime":"application/octet-stream","name":"b","size":0,"sub_path":"r/b",)"
                       R"("type":"file"})");
    EXPECT_EQ(json(2), R"({"id":"ID-3","mime":"inode/directory","modified_at":"2024-02-29T00:00:00Z","name":"c.txt",)"
                       R"("size":0,"sub_path":"r/c.txt","type":"folder"})");
}

TEST_F(ListDirHandlerTest, anEntryWhoseValuesCannotBeReadIsAFileWithoutSizeAndDate) {
    world.files->addFolder(QStringLiteral("/d/x.md"));
    world.files->unreadable.insert(QStringLiteral("/d/x.md"));
    const QJsonObject item = result()[QLatin1String("items")][0].toObject();
    EXPECT_EQ(QJsonDocument(item).toJson(QJsonDocument::Compact),
              R"({"id":"ID-1","mime":"text/markdown","name":"x.md","size":0,"sub_path":"x.md","type":"file"})");
}

TEST_F(ListDirHandlerTest, theMimeTypeIsThatOfTheLastExtensionInAnyCase) {
    for (const char16_t* name : {u"/d/1.txt.PdF", u"/d/2.TXT", u"/d/3.xyzzy", u"/d/4.", u"/d/5", u"/d/6.pdf "})
        file(name);
    EXPECT_EQ(each("mime"),
              (QStringList{QStringLiteral("application/pdf"), QStringLiteral("text/plain"),
                           QStringLiteral("application/octet-stream"), QStringLiteral("application/octet-stream"),
                           QStringLiteral("application/octet-stream"), QStringLiteral("application/octet-stream")}));
}

TEST_F(ListDirHandlerTest, hiddenEntriesNeverAppearAndAPackageIsOneEntry) {
    folder(u"/d/.git");
    file(u"/d/.git/config");
    file(u"/d/.profile");
    folder(u"/d/Éditeur.app");
    folder(u"/d/Éditeur.app/Contents");
    EXPECT_EQ(each("name"), QStringList{QStringLiteral("Éditeur.app")});
    EXPECT_EQ(each("type"), QStringList{QStringLiteral("folder")});
}

TEST_F(ListDirHandlerTest, namesAreInTheOrderOfAFrenchReaderFoldersAmongFiles) {
    for (const char16_t* name : {u"/d/Zoé", u"/d/cote", u"/d/côte", u"/d/coté", u"/d/Écart", u"/d/edf", u"/d/b",
                                 u"/d/A", u"/d/œuf", u"/d/oeil", u"/d/10", u"/d/9"})
        file(name);
    folder(u"/d/dossier");
    EXPECT_EQ(each("name"),
              (QStringList{QStringLiteral("10"), QStringLiteral("9"), QStringLiteral("A"), QStringLiteral("b"),
                           QStringLiteral("cote"), QStringLiteral("coté"), QStringLiteral("côte"),
                           QStringLiteral("dossier"), QStringLiteral("Écart"), QStringLiteral("edf"),
                           QStringLiteral("oeil"), QStringLiteral("œuf"), QStringLiteral("Zoé")}));
}

TEST_F(ListDirHandlerTest, namesThatDifferInCaseAloneStandTogetherInTheFileSystemsOrder) {
    for (const char16_t* name : {u"/d/note.txt", u"/d/NOTE.txt", u"/d/Note.txt", u"/d/nota", u"/d/notf"})
        file(name);
    EXPECT_EQ(each("name"), (QStringList{QStringLiteral("nota"), QStringLiteral("NOTE.txt"), QStringLiteral("Note.txt"),
                                         QStringLiteral("note.txt"), QStringLiteral("notf")}));
}

TEST_F(ListDirHandlerTest, manyNamesThatDifferInCaseAloneKeepTheFileSystemsOrderWhateverItIs) {
    QStringList names;
    for (int capitals = 0; capitals < 64; ++capitals) {
        QString name = QStringLiteral("abcdef");
        for (int letter = 0; letter < 6; ++letter)
            if ((capitals >> letter & 1) != 0)
                name[letter] = name[letter].toUpper();
        world.files->addFile(QStringLiteral("/d/") + name);
        names.append(name);
    }
    names.sort(); // by code points, as the file system has them
    EXPECT_EQ(each("name"), names);
    world.files->listsBackwards = true;
    std::ranges::reverse(names);
    EXPECT_EQ(each("name"), names);
}

TEST_F(ListDirHandlerTest, everyItemHasANewHandleAlsoTheFolders) {
    folder(u"/d/a");
    file(u"/d/a/f.txt");
    file(u"/d/b.txt");
    EXPECT_EQ(each("id"), (QStringList{QStringLiteral("ID-1"), QStringLiteral("ID-2")}));
    EXPECT_EQ(each("id"), (QStringList{QStringLiteral("ID-3"), QStringLiteral("ID-4")}));
    EXPECT_EQ(each("id", QStringLiteral("a")), QStringList{QStringLiteral("ID-5")});
    EXPECT_EQ(cache.get(QStringLiteral("ID-1")), FileURL{QStringLiteral("/d/a")});
    EXPECT_EQ(cache.get(QStringLiteral("ID-2")), cache.get(QStringLiteral("ID-4")));
    EXPECT_EQ(cache.get(QStringLiteral("ID-5")), FileURL{QStringLiteral("/d/a/f.txt")});
}

TEST_F(ListDirHandlerTest, handlesAreRandomUpperCaseUuids) {
    file(u"/d/a");
    ListDirHandler real(BookmarkPersistence(world.store), world.bookmarks, world.files, world.types, cache, answer);
    await(real.handleListDir({}, {uuidString(grant.id), {}}, world.api()));
    const QString id = world.backend.updates[0]
                           .body[QLatin1String("result")][QLatin1String("items")][0][QLatin1String("id")]
                           .toString();
    EXPECT_EQ(uuidString(QUuid::fromString(id)), id);
    EXPECT_EQ(cache.get(id), FileURL{QStringLiteral("/d/a")});
}

TEST_F(ListDirHandlerTest, moreEntriesThanTheCacheHoldsLeaveTheHandlesOfTheLastOnes) {
    cache.put(QStringLiteral("older"), FileURL{QStringLiteral("/x")});
    for (int number = 0; number < 1003; ++number)
        world.files->addFile(QStringLiteral("/d/%1").arg(number, 4, 10, QLatin1Char('0')));
    EXPECT_EQ(each("id").size(), 1003);
    EXPECT_EQ(cache.size(), 1000);
    EXPECT_EQ(cache.get(QStringLiteral("older")), std::nullopt);
    EXPECT_EQ(cache.get(QStringLiteral("ID-3")), std::nullopt);
    EXPECT_EQ(cache.get(QStringLiteral("ID-4")), FileURL{QStringLiteral("/d/0003")});
    EXPECT_EQ(cache.get(QStringLiteral("ID-1003")), FileURL{QStringLiteral("/d/1002")});
}

TEST_F(ListDirHandlerTest, aFolderThatCannotBeReadGivesTheReason) {
    file(u"/d/file");
    folder(u"/d/broken");
    world.files->unreadable.insert(QStringLiteral("/d/broken"));
    const QString begin = QStringLiteral("Lecture du dossier impossible: ");
    EXPECT_EQ(failure(handle(QStringLiteral("missing"))), begin + QStringLiteral("Ce dossier n'existe pas."));
    EXPECT_EQ(failure(handle(QStringLiteral("file"))), begin + QStringLiteral("Ce dossier n'existe pas."));
    EXPECT_EQ(failure(handle(QStringLiteral("broken"))), begin + QStringLiteral("Le disque a signalé une erreur."));
    EXPECT_EQ(world.bookmarks->started, 3);
    EXPECT_EQ(world.bookmarks->stopped, 3);
}

TEST_F(ListDirHandlerTest, aFolderThatBreaksHalfwayGivesTheReasonAndNoHandles) {
    file(u"/d/a");
    file(u"/d/b");
    world.files->beforeNext = [count = 0]() mutable {
        if (++count == 2)
            throw LocalizedError(QStringLiteral("Le disque a signalé une erreur."));
    };
    EXPECT_EQ(failure(handle()), QStringLiteral("Lecture du dossier impossible: Le disque a signalé une erreur."));
}

TEST_F(ListDirHandlerTest, aMovedFolderIsListedWhereItIs) {
    folder(u"/new");
    file(u"/new/a");
    world.bookmarks->moved[QStringLiteral("/d")] = QStringLiteral("/new");
    EXPECT_EQ(each("name"), QStringList{QStringLiteral("a")});
    EXPECT_EQ(cache.get(QStringLiteral("ID-1")), FileURL{QStringLiteral("/new/a")});
}

TEST_F(ListDirHandlerTest, accessThatDidNotOpenIsNoFailureAndIsNotClosed) {
    file(u"/d/a");
    world.bookmarks->refused.insert(QStringLiteral("/d"));
    EXPECT_EQ(each("name"), QStringList{QStringLiteral("a")});
    EXPECT_EQ(world.bookmarks->started, 1);
    EXPECT_EQ(world.bookmarks->stopped, 0);
}

TEST_F(ListDirHandlerTest, accessStaysOpenUntilTheAnswerWasSentAlsoThatOfAFailure) {
    for (const QString& subPath : {QString(), QStringLiteral("missing")}) {
        world.backend.holdUpdates = true;
        Scope scope;
        scope.start(task(uuidString(grant.id), subPath));
        ASSERT_TRUE(waitUntil([&] { return world.backend.openUpdates() == 1; }));
        EXPECT_EQ(world.bookmarks->openNow(), 1);
        world.backend.answerUpdate(HttpResponse{.status = 200, .headers = {}, .body = {}});
        ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
        EXPECT_EQ(world.bookmarks->openNow(), 0);
    }
    EXPECT_EQ(world.bookmarks->stopped, 2);
}

TEST_F(ListDirHandlerTest, anAnswerThatCannotBeSentIsToldIfItIsASuccess) {
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    handle();
    EXPECT_EQ(unsent, QStringLiteral("La connexion au serveur a été coupée."));
    unsent.clear();
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    handle(QStringLiteral(".."));
    EXPECT_TRUE(unsent.isEmpty());
    EXPECT_EQ(world.backend.updates.size(), 2U);
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(ListDirHandlerTest, aCancelledListingIsNotWaitedForAndEndsSoon) {
    for (int number = 0; number < 100; ++number)
        world.files->addFile(QStringLiteral("/d/%1").arg(number));
    std::counting_semaphore<1000> reached(0);
    std::counting_semaphore<1000> goOn(0);
    std::atomic<int> asked = 0;
    world.files->beforeNext = [&] {
        if (++asked == 10) {
            reached.release();
            goOn.acquire();
        }
    };
    Scope scope;
    Job job = scope.start(task(uuidString(grant.id), {}));
    ASSERT_TRUE(waitUntil([&] { return reached.try_acquire(); }));
    EXPECT_EQ(world.bookmarks->openNow(), 1);
    job.cancel();
    ASSERT_TRUE(waitUntil([&] { return scope.size() == 0; }));
    goOn.release();
    ASSERT_TRUE(waitUntil([&] { return world.bookmarks->openNow() == 0; }));
    EXPECT_EQ(asked, 10);
    EXPECT_EQ(made, 0);
    EXPECT_EQ(cache.size(), 0);
    EXPECT_TRUE(world.backend.updates.empty());
}
