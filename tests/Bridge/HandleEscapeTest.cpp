// Every kind that takes a document's handle, against every place that a handle might lead to.
#include "Bridge/EscapeWorld.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

/// What lies at the end of a path.
enum class Lies { shared, secret, folder, nothing, noFile };

struct Row {
    QString path;
    bool strict; // it is the shared folder's path or begins with it and a slash
    bool loose;  // it begins with the shared folder's path
    Lies lies;
};

/// A kind that redeems handles.
struct Kind {
    const char* name;
    bool isLoose; // which of the two tests it makes
    QString unknown;
    QString outside;
    /// Checks what it did and answered for a row that passes its test.
    void (*inside)(const EscapeWorld& world, const Row& row, const QJsonObject& answer);
};

QString message(const QJsonObject& answer) { return answer[QLatin1String("error_message")].toString(); }

/// For the kinds that answer with what the file holds, under `field`.
template <const char* Field>
void givesTheContent(const EscapeWorld&, const Row& row, const QJsonObject& answer) {
    const QString content = answer[QLatin1String("result")][QLatin1String(Field)].toString();
    if (row.lies == Lies::shared || row.lies == Lies::secret) {
        EXPECT_EQ(content.toStdString(), row.lies == Lies::shared ? "shared" : "secret");
        return;
    }
    EXPECT_EQ(answer[QLatin1String("status")].toString(), QStringLiteral("error"));
    EXPECT_FALSE(message(answer).isEmpty());
    EXPECT_FALSE(message(answer).startsWith(QLatin1String("Document "))); // its own reason, not a refusal
}

constexpr char content[] = "content";
constexpr char text[] = "text";

/// The desktop gets the path as it stands, whatever lies there: the application says what it thinks of it.
void isOpened(const EscapeWorld& world, const Row& row, const QJsonObject& answer) {
    EXPECT_EQ(answer[QLatin1String("result")], (QJsonObject{{QStringLiteral("ok"), true}}));
    EXPECT_EQ(world.world.workspace->opened, QStringList{row.path});
    world.world.workspace->opened.clear();
}

/// Likewise; what can't be drawn is answered by no picture, never by an error.
void isDrawn(const EscapeWorld& world, const Row& row, const QJsonObject& answer) {
    EXPECT_EQ(answer[QLatin1String("status")].toString(), QStringLiteral("done"));
    EXPECT_EQ(answer[QLatin1String("result")][QLatin1String("data_base64")].toString(), QString());
    const auto asked = world.world.thumbnailer->asked();
    ASSERT_FALSE(asked.isEmpty());
    EXPECT_EQ(asked.back().path, row.path);
}

const QString unknownToReaders =
    QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche).");
const QString outsideToReaders = QStringLiteral("Document hors des dossiers partagés.");
const QString unknownToShowers =
    QStringLiteral("Document introuvable (la session a pu être nettoyée ; relance la recherche).");
const QString outsideToShowers = QStringLiteral("Le document n'est plus dans un dossier partagé.");

/// One line for each kind.
const std::vector<Kind> kinds{
    {"read", false, unknownToReaders, outsideToReaders, givesTheContent<content>},
    {"ocr_image", false, unknownToReaders, outsideToReaders, givesTheContent<text>},
    {"open_document", true, unknownToShowers, outsideToShowers, isOpened},
    {"thumbnail", true, unknownToShowers, outsideToShowers, isDrawn},
};

/// Paths as they stand inside the shared folder, however they are spelled.
std::vector<Row> insideRows(const EscapeWorld& world) {
    const auto in = [&](const QString& path, Lies lies) { return Row{path, true, true, lies}; };
    const auto at = [&](const char* below) { return world.at(below); };
    const QString grant = at("grant/");
    const QString climb = QStringLiteral("../").repeated(60);
    return {
        in(at("grant/plain.pdf"), Lies::shared),
        in(at("grant/inner/deep.pdf"), Lies::shared),
        in(at("grant//plain.pdf"), Lies::shared),
        in(at("grant/./plain.pdf"), Lies::shared),
        in(at("grant/inner//./deep.pdf"), Lies::shared),
        in(at("grant/inner/../plain.pdf"), Lies::shared),
        in(at("grant/../grant/plain.pdf"), Lies::shared),
        in(at("grant/été.pdf"), Lies::shared),
        in(at("grant/nfd-e\u0301.pdf"), Lies::shared),
        in(at("grant/e\u0301te\u0301.pdf"), Lies::nothing), // the name is composed on the disk
        in(at("grant/nfd-é.pdf"), Lies::nothing),           // and here it is not
        in(at("grant/a\nb.pdf"), Lies::shared),
        in(at("grant/-rf.pdf"), Lies::shared),
        in(at("grant/ .pdf"), Lies::shared),
        in(at("grant/%2f.pdf"), Lies::shared),
        in(at("grant/$(reboot).pdf"), Lies::shared),
        in(at("grant/'\"`;.pdf"), Lies::shared),
        in(at("grant/\u202etxt.pdf"), Lies::shared),
        in(at("grant/\u200b.pdf"), Lies::shared),
        in(at("grant/a\\b.pdf"), Lies::shared),
        in(at("grant/.hidden/x.pdf"), Lies::shared),
        in(at("grant/..x/x.pdf"), Lies::shared),
        in(grant + QString(251, u'n') + QStringLiteral(".pdf"), Lies::shared),
        in(grant + QString(252, u'n') + QStringLiteral(".pdf"), Lies::nothing),
        in(grant + QString(300, u'n') + QStringLiteral(".pdf"), Lies::nothing),
        in(grant + QStringLiteral("inner/").repeated(1000) + QStringLiteral("x.pdf"), Lies::nothing),
        in(grant + QStringLiteral("./").repeated(3000) + QStringLiteral("plain.pdf"), Lies::nothing),
        in(grant + QString(1'000'000, u'n') + QStringLiteral(".pdf"), Lies::nothing),
        in(at("grant/missing.pdf"), Lies::nothing),
        in(at("grant/plain.pdf/below.pdf"), Lies::nothing),
        in(at("grant/PLAIN.pdf"), Lies::nothing),
        in(at("grant/plain.pdf "), Lies::nothing),
        in(at("grant/plain.pdf."), Lies::nothing),
        in(at("grant/~/plain.pdf"), Lies::nothing),
        in(at("grant/*.pdf"), Lies::nothing),
        in(at("grant/p?ain.pdf"), Lies::nothing),
        in(at("grant/file:///etc/passwd"), Lies::nothing),
        in(at("grant/%2e%2e%2foutside%2fsecret.pdf"), Lies::nothing),
        in(at("grant/..%2foutside/secret.pdf"), Lies::nothing),
        in(at("grant/..\\outside\\secret.pdf"), Lies::nothing),
        in(at("grant/．．/outside/secret.pdf"), Lies::nothing),
        in(at("grant/․․/outside/secret.pdf"), Lies::nothing),
        in(at("grant/..\u200b/outside/secret.pdf"), Lies::nothing),
        in(at("grant/..⁄outside⁄secret.pdf"), Lies::nothing),
        in(at("grant/plain.pdf") + QChar::Null, Lies::nothing),
        in(at("grant/plain.pdf") + QChar::Null + QStringLiteral("/../../outside/secret.pdf"), Lies::nothing),
        in(grant + QChar::Null + QStringLiteral(".pdf"), Lies::nothing),
        in(grant + QChar(0xd800) + QStringLiteral(".pdf"), Lies::nothing),
        in(grant + QChar(0xdc00) + QStringLiteral("plain.pdf"), Lies::nothing),
        in(at("grant/"), Lies::folder),
        in(at("grant/."), Lies::folder),
        in(at("grant"), Lies::folder),
        in(at("grant/inner"), Lies::folder),
        in(at("grant/folder.pdf"), Lies::folder),
        in(at("grant/folder.pdf/"), Lies::folder),
        // Paths are compared as they stand. None of ours spells "..": handles are made of names that the system gave.
        in(at("grant/../outside/secret.pdf"), Lies::secret),
        in(at("grant/inner/../../grantor/near.pdf"), Lies::secret),
        in(grant + climb + world.root().sliced(1) + QStringLiteral("/outside/secret.pdf"), Lies::secret),
        in(at("grant/.."), Lies::folder),
    };
}

/// Links inside the shared folder, which count as what they are and are followed by the system, and what is no file.
std::vector<Row> linkRows(const EscapeWorld& world) {
    const auto in = [&](const char* below, Lies lies) { return Row{world.at(below), true, true, lies}; };
    return {
        in("grant/link.pdf", Lies::secret),
        in("grant/absolute.pdf", Lies::secret),
        in("grant/dir/secret.pdf", Lies::secret),
        in("grant/up/outside/secret.pdf", Lies::secret),
        in("grant/up/grantor/near.pdf", Lies::secret),
        in("grant/hard.pdf", Lies::secret),
        in("grant/chain0.pdf", Lies::secret),
        in("grant/chain39.pdf", Lies::secret),
        in("grant/chain40.pdf", Lies::nothing),
        in("grant/chain49.pdf", Lies::nothing),
        in("grant/hop0/deep.pdf", Lies::shared),
        in("grant/hop39/deep.pdf", Lies::shared),
        in("grant/hop49/deep.pdf", Lies::nothing),
        in("grant/self/plain.pdf", Lies::shared),
        in("grant/self/self/self/inner/deep.pdf", Lies::shared),
        in("grant/up/grant/plain.pdf", Lies::shared),
        in("grant/dir/back/plain.pdf", Lies::shared),
        in("grant/loop.pdf", Lies::nothing),
        in("grant/loop.pdf/x.pdf", Lies::nothing),
        in("grant/dangling.pdf", Lies::nothing),
        in("grant/magic/etc/passwd", Lies::nothing),
        in("grant/cwd/x.pdf", Lies::nothing),
        in("grant/descriptor.pdf", Lies::noFile),
        in("grant/program.pdf", Lies::noFile),
        in("grant/stdin.pdf", Lies::noFile),
        in("grant/pipe.pdf", Lies::noFile),
        in("grant/socket.pdf", Lies::noFile),
        in("grant/zero.pdf", Lies::noFile),
        in("grant/null.pdf", Lies::noFile),
        in("grant/full.pdf", Lies::noFile),
        in("grant/random.pdf", Lies::noFile),
        in("grant/tty.pdf", Lies::noFile),
    };
}

/// What the strict test refuses; the looser one lets through what begins like the shared folder.
std::vector<Row> outsideRows(const EscapeWorld& world) {
    const auto out = [](const QString& path) { return Row{path, false, false, Lies::nothing}; };
    const auto beside = [&](const QString& path, Lies lies) { return Row{path, false, true, lies}; };
    const auto at = [&](const char* below) { return world.at(below); };
    const QString root = world.root();
    const QString plain = at("grant/plain.pdf");
    return {
        beside(at("grantor/near.pdf"), Lies::secret),
        beside(at("grant-old/near.pdf"), Lies::secret),
        beside(at("grant.pdf"), Lies::secret),
        beside(at("grantor/../outside/secret.pdf"), Lies::secret),
        beside(at("grant-old/missing.pdf"), Lies::nothing),
        beside(at("grant "), Lies::nothing),
        beside(at("grant."), Lies::nothing),
        beside(at("grant\n"), Lies::nothing),
        beside(at("grant%2fplain.pdf"), Lies::nothing),
        beside(at("grant\\plain.pdf"), Lies::nothing),
        beside(at("grant⁄plain.pdf"), Lies::nothing),
        beside(at("grant\u0301/plain.pdf"), Lies::nothing),
        beside(at("grant") + QChar::Null, Lies::nothing),
        beside(at("grant") + QChar::Null + QStringLiteral("/plain.pdf"), Lies::nothing),
        beside(at("grant") + QChar(0xd800), Lies::nothing),
        out(at("outside/secret.pdf")),
        out(at("outside/back/plain.pdf")),
        out(at("outside/hard-back.pdf")),
        out(at("outside/../grant/plain.pdf")),
        out(at("Grant/plain.pdf")),
        out(at("GRANT/plain.pdf")),
        out(at("gränt/plain.pdf")),
        out(at("ｇrant/plain.pdf")),
        out(at("gra\u200bnt/plain.pdf")),
        out(at("gran/plain.pdf")),
        out(at("gran")),
        out(at("./grant/plain.pdf")),
        out(at("/grant/plain.pdf")),
        out(u'/' + plain),
        out(u' ' + plain),
        out(QStringLiteral("file://") + plain),
        out(QStringLiteral("/proc/self/root") + plain),
        out(QStringLiteral("/proc/self/cwd/x.pdf")),
        out(QStringLiteral("/proc/self/environ")),
        out(QStringLiteral("/proc/self/fd/0")),
        out(plain.sliced(1)),
        out(plain.toUpper()),
        out(root),
        out(root + u'/'),
        out(QStringLiteral("/")),
        out(QStringLiteral("//")),
        out(QString()),
        out(QStringLiteral(".")),
        out(QStringLiteral("..")),
        out(QStringLiteral("grant/plain.pdf")),
        out(QStringLiteral("~/plain.pdf")),
        out(QStringLiteral("/etc/passwd")),
        out(QStringLiteral("/dev/zero")),
        out(QStringLiteral("/dev/stdin")),
        out(QString(QChar::Null)),
        out(QString(5000, u'/')),
        out(QString(1'000'000, u'a')),
    };
}

struct HandleEscapeTest : ::testing::TestWithParam<Kind> {
    EscapeWorld world;

    QJsonObject answer(const QString& handle) {
        return world.answer(GetParam().name, {{QStringLiteral("document_id"), handle}});
    }
    void check(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(shownPath(row.path));
            const qsizetype shown = countShown();
            const QJsonObject got = answer(world.handleOf(row.path));
            if (GetParam().isLoose ? row.loose : row.strict)
                GetParam().inside(world, row, got);
            else
                expectOutside(got, shown);
        }
    }
    /// What the desktop has been given so far.
    qsizetype countShown() const {
        return world.world.workspace->opened.size() + world.world.thumbnailer->asked().size();
    }
    void expectOutside(const QJsonObject& got, qsizetype shownBefore) {
        EXPECT_EQ(got[QLatin1String("status")].toString(), QStringLiteral("error"));
        EXPECT_EQ(message(got).toStdString(), GetParam().outside.toStdString());
        EXPECT_EQ(countShown(), shownBefore);
    }
    void expectServed(const char* below) {
        const Row row{world.at(below), true, true, Lies::shared};
        SCOPED_TRACE(below);
        GetParam().inside(world, row, answer(world.handleOf(row.path)));
    }
    void expectOutside(const char* below) {
        SCOPED_TRACE(below);
        const qsizetype shown = countShown();
        expectOutside(answer(world.handleOf(world.at(below))), shown);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Kinds, HandleEscapeTest, ::testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(HandleEscapeTest, whatBeginsWithTheSharedFolderAndASlashPassesHoweverItIsSpelled) { check(insideRows(world)); }

TEST_P(HandleEscapeTest, aLinkIsWhatItIsAndWhatIsNoFileEndsInAnErrorAndNeverHangs) { check(linkRows(world)); }

TEST_P(HandleEscapeTest, whatLiesElsewhereIsRefusedHoweverItIsSpelled) { check(outsideRows(world)); }

TEST_P(HandleEscapeTest, whatIsNoHandleIsUnknown) {
    const QString known = world.handleOf(world.at("grant/plain.pdf"));
    for (const QString& handle :
         {QString(), known.toLower(), known + u' ', u' ' + known, known.chopped(1), known + QChar::Null,
          world.at("grant/plain.pdf"), QStringLiteral("/etc/passwd"), QStringLiteral("../"), QStringLiteral("H-*"),
          QStringLiteral("{%1}").arg(known), QString(1'000'000, u'A')}) {
        SCOPED_TRACE(shownPath(handle));
        EXPECT_EQ(message(answer(handle)).toStdString(), GetParam().unknown.toStdString());
    }
}

TEST_P(HandleEscapeTest, aWithdrawnGrantAndADeletedFolderCutTheirHandlesOff) {
    expectServed("grant/plain.pdf");
    world.grants.remove(world.grant.id);
    expectOutside("grant/plain.pdf");
    world.grants.add(FileURL{world.at("grant/inner")});
    expectOutside("grant/plain.pdf");
    expectServed("grant/inner/deep.pdf");
    ASSERT_TRUE(QDir(world.at("grant/inner")).removeRecursively());
    expectOutside("grant/inner/deep.pdf");
}

TEST_P(HandleEscapeTest, aFolderThatTookTheNameOfAGrantIsNotTheGrant) {
    QDir disk(world.root());
    ASSERT_TRUE(disk.rename(QStringLiteral("grant"), QStringLiteral("moved")));
    ASSERT_TRUE(disk.rename(QStringLiteral("outside"), QStringLiteral("grant")));
    world.movedTo = world.at("moved");
    expectOutside("grant/secret.pdf");
    expectServed("moved/plain.pdf");
}
