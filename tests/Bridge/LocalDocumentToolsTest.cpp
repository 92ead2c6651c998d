#include "Bridge/LocalDocumentTools.h"

#include "Bridge/BookmarkError.h"
#include "Bridge/LocalToolText.h"
#include "Bridge/LocalToolWorld.h"

#include <QJsonArray>

namespace vennic::test {
namespace {

const QString notFound = QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche).");
const QString outside = QStringLiteral("Document hors des dossiers partagés.");
const QString nothing = QStringLiteral("No local documents matched.");

struct LocalDocumentToolsTest : testing::Test {
    LocalToolWorld world;

    static IndexItem item(const char16_t* path, const QDateTime& changed = {}, qint64 size = 2048) {
        IndexItem item;
        item.path = QStringView(path).toString();
        item.size = size;
        if (changed.isValid())
            item.changedAt = changed;
        return item;
    }
    void found(std::vector<IndexItem> items) {
        for (const IndexItem& each : items)
            world.files->addFile(each.path.value_or(QString()), 1);
        world.index.answers.push_back({.items = std::move(items)});
    }
    QString search(const QJsonObject& arguments) { return world.run("search_local_documents", arguments); }
    QString search(const char* query) { return search({{QStringLiteral("query"), QString::fromUtf8(query)}}); }
    QString read(const QString& id, const QJsonValue& maxChars = QJsonValue::Undefined) {
        QJsonObject arguments{{QStringLiteral("document_id"), id}};
        if (!maxChars.isUndefined())
            arguments.insert(QStringLiteral("max_chars"), maxChars);
        return world.run("read_local_document", arguments);
    }
    QString recognise(const QString& id) { return world.run("ocr_local_image", {{QStringLiteral("document_id"), id}}); }
    void document(const QString& path, const DocumentReaderScript::Document& content) {
        world.files->addFile(path, 1);
        world.reader->documents[path] = content;
        world.handOut(path);
    }
    QStringList scopes() { return world.index.questions.back().scopes; }
    qint64 askedLimit(const QJsonValue& limit) {
        search({{QStringLiteral("query"), QStringLiteral("edf")}, {QStringLiteral("limit"), limit}});
        return world.index.questions.back().limit;
    }
};

TEST_F(LocalDocumentToolsTest, aFolderThatIsNoLongerFoundWhenTheReadingBeginsIsToldInItsWords) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("Bonjour"));
    world.recognizer->addImage(QStringLiteral("/d/a.txt"), QStringLiteral("Bonjour"));
    const QString sentence =
        BookmarkError::resolutionFailed(QStringLiteral("Le dossier est introuvable.")).errorDescription();
    world.bookmarks->resolvable = 1;
    EXPECT_EQ(read(QStringLiteral("/d/a.txt")), QStringLiteral("Read failed: ") + sentence);
    world.bookmarks->resolvable = world.bookmarks->resolved + 1;
    EXPECT_EQ(recognise(QStringLiteral("/d/a.txt")), QStringLiteral("OCR failed: ") + sentence);
    EXPECT_EQ(world.bookmarks->started, 0) << "nothing was opened";
}

TEST_F(LocalDocumentToolsTest, withoutAFolderTheModelIsToldToHaveOneShared) {
    EXPECT_EQ(search("edf"), QStringLiteral("The Mac bridge has no folders granted yet. Ask the user to add one from "
                                            "the Mac app Settings → Bridge."));
}

TEST_F(LocalDocumentToolsTest, eachHitIsALineThatHoldsItsHandleInALinkOnly) {
    world.share(QStringLiteral("/home/marie/Documents"));
    world.share(QStringLiteral("/mnt/nas"));
    found({item(u"/home/marie/Documents/edf/Facture EDF.pdf", QDateTime({2025, 3, 1}, {9, 12, 33}, Qt::UTC), 12'595),
           item(u"/mnt/nas/b.txt", {}, 4096)});
    world.files->entries[QStringLiteral("/mnt/nas/b.txt")].volumeIsLocal = false;
    const QString text = search("edf");
    EXPECT_EQ(LocalToolWorld::withoutHandles(text),
              QStringLiteral("1. Facture EDF.pdf — ~/Documents/edf, 12.3 KB, modified 2025-03-01T09:12:33Z "
                             "(open: vennic://local_file/open/ID)\n"
                             "2. b.txt — /mnt/nas (iCloud), 4.0 KB, modified unknown "
                             "(open: vennic://local_file/open/ID)"));
    EXPECT_EQ(world.pathsIn(text), (QStringList{QStringLiteral("/home/marie/Documents/edf/Facture EDF.pdf"),
                                                QStringLiteral("/mnt/nas/b.txt")}));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
    EXPECT_EQ(world.bookmarks->started, 2);
}

TEST_F(LocalDocumentToolsTest, sizesAreRoundedToATenthAndKeepTheirDecimal) {
    EXPECT_EQ(kilobytes(0), QStringLiteral("0.0"));
    EXPECT_EQ(kilobytes(1), QStringLiteral("0.0"));
    EXPECT_EQ(kilobytes(52), QStringLiteral("0.1"));
    EXPECT_EQ(kilobytes(1024), QStringLiteral("1.0"));
    EXPECT_EQ(kilobytes(12'595), QStringLiteral("12.3"));
    EXPECT_EQ(kilobytes(10'737'418'240), QStringLiteral("10485760.0"));
    EXPECT_EQ(kilobytes(std::numeric_limits<qint64>::max()), QStringLiteral("9007199254740992.0"));
}

TEST_F(LocalDocumentToolsTest, withoutAHitTheModelIsToldSo) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(search("edf"), nothing);
    world.bookmarks->lost.insert(QStringLiteral("/d"));
    EXPECT_EQ(search("edf"), nothing);
}

TEST_F(LocalDocumentToolsTest, withoutAQueryNothingIsAskedAndNothingFound) {
    world.share(QStringLiteral("/d"));
    for (const char* arguments : {"", "{}", "[]", "null", "pas du JSON", R"({"query":5})", R"({"query":null})",
                                  R"({"query":"  "})", R"({"query":["edf"]})", R"({"query":"edf")"})
        EXPECT_EQ(world.runRaw("search_local_documents", QString::fromUtf8(arguments)), nothing) << arguments;
    EXPECT_TRUE(world.index.questions.empty());
}

TEST_F(LocalDocumentToolsTest, theLimitLiesBetweenOneAndFiftyAndIsTenByDefault) {
    world.share(QStringLiteral("/d"));
    search("edf");
    EXPECT_EQ(world.index.questions.back().limit, 10);
    EXPECT_EQ(askedLimit(0), 1);
    EXPECT_EQ(askedLimit(-7), 1);
    EXPECT_EQ(askedLimit(1), 1);
    EXPECT_EQ(askedLimit(50), 50);
    EXPECT_EQ(askedLimit(500), 50);
    EXPECT_EQ(askedLimit(1e15), 50);
    for (const QJsonValue& wrong : {QJsonValue(2.5), QJsonValue(QStringLiteral("3")), QJsonValue(true),
                                    QJsonValue(QJsonValue::Null), QJsonValue(1e300)})
        EXPECT_EQ(askedLimit(wrong), 10);
}

TEST_F(LocalDocumentToolsTest, aLimitOfZeroGivesOneResultAtMost) {
    world.share(QStringLiteral("/d"));
    found({item(u"/d/a"), item(u"/d/b")});
    const QString text = search({{QStringLiteral("query"), QStringLiteral("x")}, {QStringLiteral("limit"), 0}});
    EXPECT_EQ(world.pathsIn(text), QStringList{QStringLiteral("/d/a")});
}

TEST_F(LocalDocumentToolsTest, theIndexHasFiveSeconds) {
    world.share(QStringLiteral("/d"));
    search("edf");
    EXPECT_EQ(world.clock.asked, std::vector<std::chrono::nanoseconds>{std::chrono::seconds{5}});
}

TEST_F(LocalDocumentToolsTest, hintsNarrowTheFoldersAndNeverEmptyThem) {
    const QStringList both{QStringLiteral("/home/marie/Documents"), QStringLiteral("/home/marie/Photos")};
    for (const QString& folder : both)
        world.share(folder);
    const auto withHints = [&](const QJsonValue& hints) {
        search({{QStringLiteral("query"), QStringLiteral("edf")}, {QStringLiteral("folder_hints"), hints}});
        return scopes();
    };
    EXPECT_EQ(withHints(QJsonArray{QStringLiteral("DOCument")}), QStringList{both[0]});
    EXPECT_EQ(withHints(QJsonArray{QStringLiteral("Musique")}), both);
    EXPECT_EQ(withHints(QJsonArray{}), both);
    EXPECT_EQ(withHints(QStringLiteral("Documents")), both) << "no list counts as missing";
    EXPECT_EQ(withHints(QJsonArray{QStringLiteral("Documents"), 5}), both) << "and so does one of other things";
}

TEST_F(LocalDocumentToolsTest, aDocumentThatWasFoundIsRead) {
    world.share(QStringLiteral("/d"));
    found({item(u"/d/a.txt")});
    world.reader->documents[QStringLiteral("/d/a.txt")] = QStringLiteral("Bonjour");
    const QString text = search("a");
    const QString id = text.section(QStringLiteral("open/"), 1).chopped(1);
    EXPECT_EQ(read(id), QStringLiteral("Bonjour"));
    EXPECT_EQ(world.reader->calls(), QStringList{QStringLiteral("text /d/a.txt 8000")});
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(LocalDocumentToolsTest, theLengthLiesBetweenFiveHundredAndTenThousand) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QString(20'000, u'x'));
    const QString more = QStringLiteral("\n\n[Document truncated — ask for a specific section.]");
    EXPECT_EQ(read(QStringLiteral("/d/a.txt"), 1), QString(500, u'x') + more);
    EXPECT_EQ(read(QStringLiteral("/d/a.txt"), -1), QString(500, u'x') + more);
    EXPECT_EQ(read(QStringLiteral("/d/a.txt"), 700), QString(700, u'x') + more);
    EXPECT_EQ(read(QStringLiteral("/d/a.txt"), 99'999), QString(10'000, u'x') + more);
    EXPECT_EQ(read(QStringLiteral("/d/a.txt"), QStringLiteral("9")), QString(8000, u'x') + more);
}

TEST_F(LocalDocumentToolsTest, aHandleThatNobodyKnowsIsTold) {
    world.share(QStringLiteral("/d"));
    EXPECT_EQ(world.runRaw("read_local_document", {}), notFound);
    EXPECT_EQ(read(QStringLiteral("x")), notFound);
    EXPECT_EQ(world.run("read_local_document", {{QStringLiteral("document_id"), 5}}), notFound);
    EXPECT_EQ(world.runRaw("ocr_local_image", {}), notFound);
    EXPECT_EQ(recognise(QStringLiteral("x")), notFound);
}

TEST_F(LocalDocumentToolsTest, aDocumentWhoseFolderWasWithdrawnIsRefused) {
    const auto grant = world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.txt"), QStringLiteral("x"));
    document(QStringLiteral("/dd/a.txt"), QStringLiteral("beside"));
    EXPECT_EQ(read(QStringLiteral("/d/a.txt")), QStringLiteral("x"));
    EXPECT_EQ(read(QStringLiteral("/dd/a.txt")), outside);
    EXPECT_EQ(recognise(QStringLiteral("/dd/a.txt")), outside);
    world.grants.remove(grant.id);
    EXPECT_EQ(read(QStringLiteral("/d/a.txt")), outside);
    EXPECT_EQ(recognise(QStringLiteral("/d/a.txt")), outside);
}

TEST_F(LocalDocumentToolsTest, aDocumentThatCannotBeReadIsToldInItsWords) {
    world.share(QStringLiteral("/d"));
    document(QStringLiteral("/d/a.zip"), QStringLiteral("x"));
    document(QStringLiteral("/d/c.pdf"), DocumentReaderScript::Failure{DocumentFault::unparsable, {}});
    world.handOut(QStringLiteral("/d/gone.txt"));
    EXPECT_EQ(read(QStringLiteral("/d/a.zip")),
              QStringLiteral("Read failed: Format non supporté (public.zip-archive)"));
    EXPECT_EQ(read(QStringLiteral("/d/c.pdf")), QStringLiteral("Read failed: Lecture: PDFDocument init failed"));
    EXPECT_EQ(read(QStringLiteral("/d/gone.txt")), QStringLiteral("Read failed: Lecture: Le fichier n'existe pas."));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

TEST_F(LocalDocumentToolsTest, textIsRecognisedWithoutALimitOfLength) {
    world.share(QStringLiteral("/d"));
    world.files->addFile(QStringLiteral("/d/a.png"), 1);
    world.recognizer->addImage(QStringLiteral("/d/a.png"), QString(50'000, u'x'));
    world.recognizer->addImage(QStringLiteral("/d/blank.png"), QString());
    world.recognizer->addImage(QStringLiteral("/d/bad.png"), {DocumentFault::unparsable, {}});
    for (const char16_t* path : {u"/d/a.png", u"/d/blank.png", u"/d/bad.png", u"/d/a.txt"})
        world.handOut(QStringView(path).toString());
    EXPECT_EQ(recognise(QStringLiteral("/d/a.png")), QString(50'000, u'x'));
    EXPECT_EQ(recognise(QStringLiteral("/d/blank.png")), QStringLiteral("No text recognised in this document."));
    EXPECT_EQ(recognise(QStringLiteral("/d/bad.png")),
              QStringLiteral("OCR failed: VisionKit a échoué: impossible de charger l'image"));
    EXPECT_EQ(recognise(QStringLiteral("/d/a.txt")), QStringLiteral("OCR failed: Format non supporté: txt"));
    EXPECT_EQ(world.bookmarks->openNow(), 0);
}

} // namespace
} // namespace vennic::test
