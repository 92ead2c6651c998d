// list_dir on a real disk, against every sub-path that might lead out of the shared folder.
#include "Bridge/EscapeWorld.h"

#include <QDir>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct Row {
    QString subPath;
    /// What is answered: the name of one entry that is listed, or the error message.
    QString answer;
};

const QString invalid = QStringLiteral("sub_path invalide.");

QString unreadable(const char* reason) {
    return QStringLiteral("Lecture du dossier impossible: ") + QString::fromUtf8(reason);
}
const QString missing = unreadable("Ce dossier n'existe pas.");
const QString noFolder = unreadable("Ce n'est pas un dossier.");
const QString nowhere = unreadable("Ses liens symboliques ne mènent nulle part.");
const QString tooLong = unreadable("Son chemin est trop long.");
const QString impossible = unreadable("Son chemin n'est pas valable.");

Row row(const char* subPath, const char* entry) { return {QString::fromUtf8(subPath), QString::fromUtf8(entry)}; }
Row row(const char* subPath, const QString& answer) { return {QString::fromUtf8(subPath), answer}; }

/// Sub-paths that are refused by their text, and others that only look as if they should be.
std::vector<Row> textRows() {
    std::vector<Row> rows;
    for (const char* text : {"/",
                             "//",
                             "/inner",
                             "//inner",
                             "/etc",
                             "/.",
                             "/..",
                             "..",
                             "../",
                             "..//",
                             "../grant",
                             "../outside",
                             "./..",
                             "././../",
                             "inner/..",
                             "inner/../",
                             "inner//..",
                             "inner/./..",
                             "inner/../inner",
                             "inner/../../outside",
                             "inner/..//..",
                             "../../../../../../etc",
                             "dir/..",
                             "up/..",
                             "missing/..",
                             "self/../..",
                             "a/b/c/../../../../outside",
                             ".hidden/.."})
        rows.push_back(row(text, invalid));
    for (const char* text : {".. ",
                             " ..",
                             "..\t",
                             "..;/x",
                             "..%00",
                             "%2e%2e",
                             "%2e%2e%2foutside",
                             "..%2foutside",
                             "inner%2f..",
                             "%252e%252e",
                             "..\\outside",
                             "inner\\..\\..",
                             "․․",
                             "．．/outside",
                             "。。",
                             "..\u200b",
                             "\u202e..",
                             "..\u0301",
                             "．",
                             "..⁄outside",
                             "..／outside",
                             "....",
                             "~",
                             "~root",
                             "$HOME",
                             "*",
                             "inne?",
                             "file:///etc",
                             "C:/",
                             "http://x/inner",
                             " inner",
                             "inner ",
                             "INNER",
                             "Inner",
                             "grant",
                             "inner/inner",
                             "\uFFFD"})
        rows.push_back(row(text, missing));
    rows.push_back({QChar(QChar::ByteOrderMark) + QStringLiteral(".."), invalid}); // the JSON reader drops the mark
    rows.push_back({QStringLiteral("..") + QChar(QChar::ByteOrderMark), missing});
    rows.push_back({QStringLiteral("inner") + QChar::Null, impossible});
    rows.push_back({QStringLiteral("..") + QChar::Null, impossible});
    rows.push_back({QChar::Null + QStringLiteral("/inner"), impossible});
    rows.push_back({QStringLiteral("inner") + QChar::Null + QStringLiteral("/../../outside"), invalid});
    rows.push_back({QString(QChar(0xd800)), impossible});
    rows.push_back({QStringLiteral("inner/") + QChar(0xdc00), impossible});
    rows.push_back({QChar(0xd800) + QStringLiteral("/.."), invalid});
    return rows;
}

std::vector<Row> folderRows() {
    return {
        row("", "plain.pdf"),
        row(".", "plain.pdf"),
        row("./", "plain.pdf"),
        row("././.", "plain.pdf"),
        row("inner", "deep.pdf"),
        row("inner/", "deep.pdf"),
        row("inner///", "deep.pdf"),
        row("./inner", "deep.pdf"),
        row("inner/.", "deep.pdf"),
        row("Reçus", "edf.pdf"),
        row("Rec\u0327us", missing), // the name is composed on the disk
        row("..x", "x.pdf"),
        row(".hidden", "x.pdf"), // never shown, but there
        row("...", ""),
        row("-rf", ""),
        row("a\nb", ""),
        row("folder.pdf", ""),
        {QString(255, u'd'), QString()},
        {QString(256, u'd'), tooLong},
        {QStringLiteral("inner/").repeated(1000), tooLong},
        {QStringLiteral("./").repeated(500'000), tooLong},
        {QStringLiteral("inner") + QString(500'000, u'/'), QStringLiteral("deep.pdf")},
        {QString(1'000'000, u'a'), tooLong},
        {QStringLiteral("a/").repeated(500), missing},
    };
}

/// Links are not followed by the checks, and are by the listing; what is no folder ends at once.
std::vector<Row> linkRows() {
    return {
        row("dir", "secret.pdf"),
        row("dir/back", "plain.pdf"),
        row("up", "grantor"),
        row("up/outside", "secret.pdf"),
        row("up/grant/inner", "deep.pdf"),
        row("self/self/self/inner", "deep.pdf"),
        row("hop0", "deep.pdf"),
        row("hop39", "deep.pdf"),
        row("hop40", nowhere),
        row("hop49", nowhere),
        row("loop.pdf", nowhere),
        row("loop.pdf/x", nowhere),
        row("dangling.pdf", missing),
        row("magic", nowhere),
        row("magic/etc", nowhere),
        row("cwd", nowhere),
        row("descriptor.pdf", nowhere),
        row("program.pdf", nowhere),
        row("plain.pdf", noFolder),
        row("plain.pdf/", noFolder),
        row("plain.pdf/inner", noFolder),
        row("inner/deep.pdf", noFolder),
        row("link.pdf", noFolder),
        row("pipe.pdf", noFolder),
        row("socket.pdf", noFolder),
        row("zero.pdf", noFolder),
        row("null.pdf", noFolder),
        row("tty.pdf", noFolder),
        row("%2f.pdf", noFolder),
    };
}

struct SubPathEscapeTest : ::testing::Test {
    EscapeWorld world;

    QJsonObject list(const QString& subPath) {
        return world.answer("list_dir", {{QStringLiteral("folder_id"), uuidString(world.grant.id)},
                                         {QStringLiteral("sub_path"), subPath}});
    }
    void check(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(shownPath(row.subPath));
            const QJsonObject got = list(row.subPath);
            if (got[QLatin1String("status")].toString() == QLatin1String("done"))
                expectListed(row, got[QLatin1String("result")].toObject());
            else
                EXPECT_EQ(got[QLatin1String("error_message")].toString().toStdString(), row.answer.toStdString());
        }
    }

private:
    /// The entry is there, and every handle spells a place under the shared folder.
    void expectListed(const Row& row, const QJsonObject& result) {
        QStringList names;
        for (const auto& item : result[QLatin1String("items")].toArray()) {
            names << item[QLatin1String("name")].toString();
            const auto url = world.service->idCache().get(item[QLatin1String("id")].toString());
            ASSERT_TRUE(url);
            EXPECT_TRUE(url->isOrLiesUnder(FileURL{world.at("grant")})) << shownPath(url->path);
            EXPECT_FALSE(url->path.split(u'/').contains(QLatin1String(".."))) << shownPath(url->path);
            EXPECT_EQ(url->lastPathComponent(), names.back());
        }
        if (row.answer.isEmpty())
            EXPECT_EQ(names, QStringList());
        else
            EXPECT_TRUE(names.contains(row.answer)) << names.join(u' ').toStdString();
    }
};

} // namespace

TEST_F(SubPathEscapeTest, whatClimbsOrBeginsAtTheTopIsInvalidAndWhatOnlyLooksLikeItIsAName) { check(textRows()); }

TEST_F(SubPathEscapeTest, foldersAreListedHoweverTheyAreSpelled) { check(folderRows()); }

TEST_F(SubPathEscapeTest, linksAreFollowedByTheListingAloneAndWhatIsNoFolderEndsAtOnce) { check(linkRows()); }

TEST_F(SubPathEscapeTest, theRootHidesWhatIsHiddenAndListsEveryLinkAsOneEntry) {
    const QJsonObject got = list(QString());
    QStringList names;
    for (const auto& item : got[QLatin1String("result")][QLatin1String("items")].toArray()) {
        const QString name = item[QLatin1String("name")].toString();
        names << name;
        EXPECT_FALSE(name.startsWith(u'.')) << name.toStdString();
        if (name == QLatin1String("dir") || name == QLatin1String("up"))
            EXPECT_EQ(item[QLatin1String("type")].toString(), QStringLiteral("folder"));
        if (name == QLatin1String("dangling.pdf") || name == QLatin1String("pipe.pdf"))
            EXPECT_EQ(item[QLatin1String("size")].toInteger(-1), 0);
    }
    for (const char* name :
         {"dir", "up", "self", "loop.pdf", "dangling.pdf", "pipe.pdf", "socket.pdf", "magic", "hard.pdf"})
        EXPECT_TRUE(names.contains(QString::fromUtf8(name))) << name;
}

TEST_F(SubPathEscapeTest, whatWasListedOutsideThroughALinkIsReadUnderItsNameInside) {
    const QJsonObject got = list(QStringLiteral("dir"));
    for (const auto& item : got[QLatin1String("result")][QLatin1String("items")].toArray()) {
        if (item[QLatin1String("name")].toString() != QLatin1String("secret.pdf"))
            continue;
        EXPECT_EQ(item[QLatin1String("sub_path")].toString(), QStringLiteral("dir/secret.pdf"));
        const QJsonObject read = world.answer("read", {{QStringLiteral("document_id"), item[QLatin1String("id")]}});
        EXPECT_EQ(read[QLatin1String("result")][QLatin1String("content")].toString(), QStringLiteral("secret"));
        return;
    }
    FAIL() << "secret.pdf isn't listed";
}

TEST_F(SubPathEscapeTest, aFolderThatTookTheNameOfAGrantIsNotTheGrant) {
    QDir disk(world.root());
    ASSERT_TRUE(disk.rename(QStringLiteral("grant"), QStringLiteral("moved")));
    ASSERT_TRUE(disk.rename(QStringLiteral("outside"), QStringLiteral("grant")));
    world.movedTo = world.at("moved");
    QStringList names;
    const QJsonObject got = list(QStringLiteral("inner"));
    for (const auto& item : got[QLatin1String("result")][QLatin1String("items")].toArray())
        names << item[QLatin1String("name")].toString();
    EXPECT_EQ(names, QStringList{QStringLiteral("deep.pdf")});
}
