#include "Bridge/BookmarkStore.h"

#include "Bridge/BookmarkError.h"
#include "Bridge/BookmarkResolver.h"
#include "fakes/FileSystemFake.h"
#include "fakes/FolderBookmarksFake.h"
#include "fakes/KeyValueStoreFake.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

const QString key = QStringLiteral("bridgeAllowedBookmarks");

struct BookmarkStoreTest : ::testing::Test {
    KeyValueStoreFake values;
    FolderBookmarksFake bookmarks;
    FileSystemFake files;
    TestClock clock;
    BookmarkStore store{values, bookmarks, files, clock};

    BookmarkEntry add(const char16_t* path) {
        const QString text = QStringView(path).toString();
        files.addFolder(text);
        return store.add(FileURL{text});
    }
    std::vector<BookmarkEntry> stored() { return BookmarkPersistence(values).load(); }
    void storeBytes(const QByteArray& json) { values.values[key] = json; }
    QString refusal(const char16_t* path) {
        try {
            add(path);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return {};
    }
};

const QString sensitive = QStringLiteral("Dossier système refusé pour raisons de sécurité.");
const QByteArray sound =
    R"([{"id":"3F2504E0-4F89-41D3-9A0C-0305E82C3301","bookmarkData":"AQID","displayName":"D","addedAt":760000000.5}])";

} // namespace

TEST_F(BookmarkStoreTest, aFolderIsSharedUnderItsNameAndTheMoment) {
    int changes = 0;
    QObject::connect(&store, &BookmarkStore::entriesChanged, &store, [&] { ++changes; });
    const BookmarkEntry entry = add(u"/home/marie/Documents/");
    EXPECT_EQ(entry.displayName, QStringLiteral("Documents"));
    EXPECT_EQ(entry.addedAt, clock.now());
    EXPECT_FALSE(entry.id.isNull());
    EXPECT_EQ(store.entries(), std::vector{entry});
    EXPECT_EQ(stored(), std::vector{entry});
    EXPECT_EQ(changes, 1);
}

TEST_F(BookmarkStoreTest, grantsAreFoundAgainByTheNextStoreInTheirOrder) {
    add(u"/b");
    add(u"/a");
    const BookmarkStore next(values, bookmarks, files, clock);
    EXPECT_EQ(next.entries(), store.entries());
    ASSERT_EQ(next.entries().size(), 2U);
    EXPECT_EQ(next.entries()[0].displayName, QStringLiteral("b"));
}

TEST_F(BookmarkStoreTest, aPlainFileAndNothingAtAllAreRefused) {
    files.addFile(QStringLiteral("/home/marie/a.txt"));
    for (const char16_t* path : {u"/home/marie/a.txt", u"/nothing"}) {
        try {
            store.add(FileURL{QStringView(path).toString()});
            FAIL();
        } catch (const BookmarkError& error) {
            EXPECT_EQ(error.kind(), BookmarkError::Case::notADirectory);
            EXPECT_EQ(error.errorDescription(), QStringLiteral("Le chemin n'est pas un dossier."));
        }
    }
    EXPECT_TRUE(values.writes.empty());
}

TEST_F(BookmarkStoreTest, whatMustNeverBeSharedIsRefusedWithWhatLiesUnderIt) {
    for (const char16_t* path :
         {u"/home/marie/.ssh", u"/home/marie/.ssh/keys", u"/home/marie/.ssh/", u"/home/marie/Library/Keychains",
          u"/home/marie/.aws", u"/home/marie/.aws/sso/cache", u"/home/marie/.gnupg", u"/home/marie/.config/gcloud",
          u"/private/etc", u"/private/etc/ssl", u"/private/var/db", u"/home/marie/x/../.ssh", u"/home/marie/./.ssh",
          u"//home//marie/.ssh", u"/../home/marie/.ssh"})
        EXPECT_EQ(refusal(path), sensitive) << QStringView(path).toString().toStdString();
    EXPECT_TRUE(store.entries().empty());
    EXPECT_TRUE(values.writes.empty());
}

TEST_F(BookmarkStoreTest, neighboursAndFoldersAboveMayBeShared) {
    for (const char16_t* path : {u"/home/marie/.sshfoo", u"/home/marie", u"/", u"/home/marie/.config", u"/private",
                                 u"/private/var", u"/home/marie/.SSH", u"/home/paul/.ssh", u"/etc"})
        EXPECT_EQ(refusal(path), QString()) << QStringView(path).toString().toStdString();
}

TEST_F(BookmarkStoreTest, theSameFolderTwiceMakesTwoGrants) {
    const auto first = add(u"/a");
    const auto second = add(u"/a");
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(store.entries().size(), 2U);
    EXPECT_EQ(stored().size(), 2U);
}

TEST_F(BookmarkStoreTest, aFolderThatCannotBeBookmarkedIsRefusedInThePlatformsWords) {
    bookmarks.lost.insert(QStringLiteral("/a"));
    EXPECT_EQ(refusal(u"/a"), QStringLiteral("Le dossier n'a pas pu être retenu."));
    EXPECT_TRUE(store.entries().empty());
}

TEST_F(BookmarkStoreTest, removingTakesOutThatGrantAndSaves) {
    const auto first = add(u"/a");
    const auto second = add(u"/b");
    store.remove(first.id);
    EXPECT_EQ(store.entries(), std::vector{second});
    EXPECT_EQ(stored(), std::vector{second});
}

TEST_F(BookmarkStoreTest, removingAnUnknownGrantChangesNothingAndSavesAllTheSame) {
    add(u"/a");
    const auto before = store.entries();
    values.writes.clear();
    store.remove(QUuid::createUuid());
    EXPECT_EQ(store.entries(), before);
    EXPECT_EQ(values.writesOf(key), 1);
}

TEST_F(BookmarkStoreTest, theStoredFormIsTheAgreedJson) {
    storeBytes(sound);
    const auto entries = stored();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].bookmarkData, QByteArray("\x01\x02\x03"));
    EXPECT_EQ(entries[0].addedAt.toUTC().toString(Qt::ISODateWithMs), QStringLiteral("2025-01-31T07:06:40.500Z"));
    BookmarkPersistence(values).save(entries);
    const QByteArray saved = std::get<QByteArray>(values.values[key]);
    EXPECT_EQ(
        saved,
        R"([{"addedAt":760000000.5,"bookmarkData":"AQID","displayName":"D","id":"3F2504E0-4F89-41D3-9A0C-0305E82C3301"}])");
}

TEST_F(BookmarkStoreTest, damagedBytesReadAsNoGrantsAndTheNextAddOverwritesThem) {
    const std::vector<QByteArray> damaged{
        "",
        "x",
        "{}",
        "[7]",
        "[{}]",
        sound.left(sound.size() - 2),
        QByteArray(sound).replace("AQID", "A*ID"),
        QByteArray(sound).replace("AQID", "AQI"),
        QByteArray(sound).replace("3F2504E0", "3F2504"),
        QByteArray(sound).replace("3F2504E0-4F89-41D3-9A0C-0305E82C3301", "{3F2504E0-4F89-41D3-9A0C-0305E82C3301}"),
        QByteArray(sound).replace("760000000.5", "\"2025\""),
        QByteArray(sound).replace("}]", "},{\"id\":\"x\"}]"),
    };
    for (const QByteArray& bytes : damaged) {
        storeBytes(bytes);
        EXPECT_TRUE(stored().empty()) << bytes.constData();
    }
    BookmarkStore fresh(values, bookmarks, files, clock);
    EXPECT_TRUE(fresh.entries().empty());
    files.addFolder(QStringLiteral("/a"));
    fresh.add(FileURL{QStringLiteral("/a")});
    EXPECT_EQ(stored().size(), 1U);
}

TEST_F(BookmarkStoreTest, aValueOfAnotherTypeReadsAsNoGrants) {
    values.values[key] = QString::fromUtf8(sound);
    EXPECT_TRUE(stored().empty());
    values.remove(key);
    EXPECT_TRUE(stored().empty());
}

TEST_F(BookmarkStoreTest, aStoredListCutAtAnyByteReadsAsNoGrants) {
    for (qsizetype size = 0; size < sound.size(); ++size) {
        storeBytes(sound.first(size));
        EXPECT_TRUE(stored().empty()) << size;
    }
}

TEST_F(BookmarkStoreTest, aMovedFolderIsFoundStaleAndNothingIsRewritten) {
    const auto entry = add(u"/a");
    bookmarks.moved[QStringLiteral("/a")] = QStringLiteral("/b");
    values.writes.clear();
    const auto resolved = BookmarkResolver(bookmarks).resolve(entry);
    EXPECT_EQ(resolved, (BookmarkResolver::Resolved{FileURL{QStringLiteral("/b")}, true}));
    EXPECT_TRUE(values.writes.empty());
    EXPECT_EQ(stored(), std::vector{entry});
}

TEST_F(BookmarkStoreTest, aLostFolderSaysWhyAndCountsAsAbsentInAScan) {
    const auto entry = add(u"/a");
    bookmarks.lost.insert(QStringLiteral("/a"));
    const BookmarkResolver resolver(bookmarks);
    EXPECT_EQ(resolver.resolveIfPossible(entry), std::nullopt);
    try {
        resolver.resolve(entry);
        FAIL();
    } catch (const BookmarkError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Bookmark: Le dossier est introuvable."));
    }
}
