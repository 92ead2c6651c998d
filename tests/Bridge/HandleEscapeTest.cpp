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
    /// Checks what it answered for a row that passes its test.
    void (*inside)(const Row& row, const QJsonObject& answer);
};

QString message(const QJsonObject& answer) { return answer[QLatin1String("error_message")].toString(); }

/// For the kinds that answer with what the file holds, under `field`.
template <const char* Field>
void givesTheContent(const Row& row, const QJsonObject& answer) {
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

const QString unknownToReaders =
    QStringLiteral("Document introuvable (la session a pu être nettoyée; relance la recherche).");
const QString outsideToReaders = QStringLiteral("Document hors des dossiers partagés.");

/// One line for each kind.
const std::vector<Kind> kinds{
    {"read", false, unknownToReaders, outsideToReaders, givesTheContent<content>},
};

/// Paths as they stand inside the shared folder, however they are spelled.
std::vector<Row> insideRows(const EscapeWorld& world) {
    const auto in = [&](const QString& path, Lies lies) { return Row{path, true, true, lies}; };
    const auto at = [&](const char* below) { return world.at(below); };
    const QString grant = at("grant/");
    const QString climb = QStringLiteral("../").repeated(60);
    return {
        in(at("grant/plain.txt"), Lies::shared),
        in(at("grant/inner/deep.txt"), Lies::shared),
        in(at("grant//plain.txt"), Lies::shared),
        in(at("grant/./plain.txt"), Lies::shared),
        in(at("grant/inner//./deep.txt"), Lies::shared),
        in(at("grant/inner/../plain.txt"), Lies::shared),
        in(at("grant/../grant/plain.txt"), Lies::shared),
        in(at("grant/été.txt"), Lies::shared),
        in(at("grant/nfd-e\u0301.txt"), Lies::shared),
        in(at("grant/e\u0301te\u0301.txt"), Lies::nothing), // the name is composed on the disk
        in(at("grant/nfd-é.txt"), Lies::nothing),           // and here it is not
        in(at("grant/a\nb.txt"), Lies::shared),
        in(at("grant/-rf.txt"), Lies::shared),
        in(at("grant/ .txt"), Lies::shared),
        in(at("grant/%2f.txt"), Lies::shared),
        in(at("grant/$(reboot).txt"), Lies::shared),
        in(at("grant/'\"`;.txt"), Lies::shared),
        in(at("grant/\u202etxt.txt"), Lies::shared),
        in(at("grant/\u200b.txt"), Lies::shared),
        in(at("grant/a\\b.txt"), Lies::shared),
        in(at("grant/.hidden/x.txt"), Lies::shared),
        in(at("grant/..x/x.txt"), Lies::shared),
        in(grant + QString(251, u'n') + QStringLiteral(".txt"), Lies::shared),
        in(grant + QString(252, u'n') + QStringLiteral(".txt"), Lies::nothing),
        in(grant + QString(300, u'n') + QStringLiteral(".txt"), Lies::nothing),
        in(grant + QStringLiteral("inner/").repeated(1000) + QStringLiteral("x.txt"), Lies::nothing),
        in(grant + QStringLiteral("./").repeated(3000) + QStringLiteral("plain.txt"), Lies::nothing),
        in(grant + QString(1'000'000, u'n') + QStringLiteral(".txt"), Lies::nothing),
        in(at("grant/missing.txt"), Lies::nothing),
        in(at("grant/plain.txt/below.txt"), Lies::nothing),
        in(at("grant/PLAIN.txt"), Lies::nothing),
        in(at("grant/plain.txt "), Lies::nothing),
        in(at("grant/plain.txt."), Lies::nothing),
        in(at("grant/~/plain.txt"), Lies::nothing),
        in(at("grant/*.txt"), Lies::nothing),
        in(at("grant/p?ain.txt"), Lies::nothing),
        in(at("grant/file:///etc/passwd"), Lies::nothing),
        in(at("grant/%2e%2e%2foutside%2fsecret.txt"), Lies::nothing),
        in(at("grant/..%2foutside/secret.txt"), Lies::nothing),
        in(at("grant/..\\outside\\secret.txt"), Lies::nothing),
        in(at("grant/．．/outside/secret.txt"), Lies::nothing),
        in(at("grant/․․/outside/secret.txt"), Lies::nothing),
        in(at("grant/..\u200b/outside/secret.txt"), Lies::nothing),
        in(at("grant/..⁄outside⁄secret.txt"), Lies::nothing),
        in(at("grant/plain.txt") + QChar::Null, Lies::nothing),
        in(at("grant/plain.txt") + QChar::Null + QStringLiteral("/../../outside/secret.txt"), Lies::nothing),
        in(grant + QChar::Null + QStringLiteral(".txt"), Lies::nothing),
        in(grant + QChar(0xd800) + QStringLiteral(".txt"), Lies::nothing),
        in(grant + QChar(0xdc00) + QStringLiteral("plain.txt"), Lies::nothing),
        in(at("grant/"), Lies::folder),
        in(at("grant/."), Lies::folder),
        in(at("grant"), Lies::folder),
        in(at("grant/inner"), Lies::folder),
        in(at("grant/folder.txt"), Lies::folder),
        in(at("grant/folder.txt/"), Lies::folder),
        // Paths are compared as they stand. None of ours spells "..": handles are made of names that the system gave.
        in(at("grant/../outside/secret.txt"), Lies::secret),
        in(at("grant/inner/../../grantor/near.txt"), Lies::secret),
        in(grant + climb + world.root().sliced(1) + QStringLiteral("/outside/secret.txt"), Lies::secret),
        in(at("grant/.."), Lies::folder),
    };
}

/// Links inside the shared folder, which count as what they are and are followed by the system, and what is no file.
std::vector<Row> linkRows(const EscapeWorld& world) {
    const auto in = [&](const char* below, Lies lies) { return Row{world.at(below), true, true, lies}; };
    return {
        in("grant/link.txt", Lies::secret),
        in("grant/absolute.txt", Lies::secret),
        in("grant/dir/secret.txt", Lies::secret),
        in("grant/up/outside/secret.txt", Lies::secret),
        in("grant/up/grantor/near.txt", Lies::secret),
        in("grant/hard.txt", Lies::secret),
        in("grant/chain0.txt", Lies::secret),
        in("grant/chain39.txt", Lies::secret),
        in("grant/chain40.txt", Lies::nothing),
        in("grant/chain49.txt", Lies::nothing),
        in("grant/hop0/deep.txt", Lies::shared),
        in("grant/hop39/deep.txt", Lies::shared),
        in("grant/hop49/deep.txt", Lies::nothing),
        in("grant/self/plain.txt", Lies::shared),
        in("grant/self/self/self/inner/deep.txt", Lies::shared),
        in("grant/up/grant/plain.txt", Lies::shared),
        in("grant/dir/back/plain.txt", Lies::shared),
        in("grant/loop.txt", Lies::nothing),
        in("grant/loop.txt/x.txt", Lies::nothing),
        in("grant/dangling.txt", Lies::nothing),
        in("grant/magic/etc/passwd", Lies::nothing),
        in("grant/cwd/x.txt", Lies::nothing),
        in("grant/descriptor.txt", Lies::noFile),
        in("grant/program.txt", Lies::noFile),
        in("grant/stdin.txt", Lies::noFile),
        in("grant/pipe.txt", Lies::noFile),
        in("grant/socket.txt", Lies::noFile),
        in("grant/zero.txt", Lies::noFile),
        in("grant/null.txt", Lies::noFile),
        in("grant/full.txt", Lies::noFile),
        in("grant/random.txt", Lies::noFile),
        in("grant/tty.txt", Lies::noFile),
    };
}

/// What the strict test refuses; the looser one lets through what begins like the shared folder.
std::vector<Row> outsideRows(const EscapeWorld& world) {
    const auto out = [](const QString& path) { return Row{path, false, false, Lies::nothing}; };
    const auto beside = [&](const QString& path, Lies lies) { return Row{path, false, true, lies}; };
    const auto at = [&](const char* below) { return world.at(below); };
    const QString root = world.root();
    const QString plain = at("grant/plain.txt");
    return {
        beside(at("grantor/near.txt"), Lies::secret),
        beside(at("grant-old/near.txt"), Lies::secret),
        beside(at("grant.txt"), Lies::secret),
        beside(at("grantor/../outside/secret.txt"), Lies::secret),
        beside(at("grant-old/missing.txt"), Lies::nothing),
        beside(at("grant "), Lies::nothing),
        beside(at("grant."), Lies::nothing),
        beside(at("grant\n"), Lies::nothing),
        beside(at("grant%2fplain.txt"), Lies::nothing),
        beside(at("grant\\plain.txt"), Lies::nothing),
        beside(at("grant⁄plain.txt"), Lies::nothing),
        beside(at("grant\u0301/plain.txt"), Lies::nothing),
        beside(at("grant") + QChar::Null, Lies::nothing),
        beside(at("grant") + QChar::Null + QStringLiteral("/plain.txt"), Lies::nothing),
        beside(at("grant") + QChar(0xd800), Lies::nothing),
        out(at("outside/secret.txt")),
        out(at("outside/back/plain.txt")),
        out(at("outside/hard-back.txt")),
        out(at("outside/../grant/plain.txt")),
        out(at("Grant/plain.txt")),
        out(at("GRANT/plain.txt")),
        out(at("gränt/plain.txt")),
        out(at("ｇrant/plain.txt")),
        out(at("gra\u200bnt/plain.txt")),
        out(at("gran/plain.txt")),
        out(at("gran")),
        out(at("./grant/plain.txt")),
        out(at("/grant/plain.txt")),
        out(u'/' + plain),
        out(u' ' + plain),
        out(QStringLiteral("file://") + plain),
        out(QStringLiteral("/proc/self/root") + plain),
        out(QStringLiteral("/proc/self/cwd/x.txt")),
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
        out(QStringLiteral("grant/plain.txt")),
        out(QStringLiteral("~/plain.txt")),
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
            const QJsonObject got = answer(world.handleOf(row.path));
            if (GetParam().isLoose ? row.loose : row.strict)
                GetParam().inside(row, got);
            else
                expectOutside(got);
        }
    }
    static void expectOutside(const QJsonObject& got) {
        EXPECT_EQ(got[QLatin1String("status")].toString(), QStringLiteral("error"));
        EXPECT_EQ(message(got).toStdString(), GetParam().outside.toStdString());
    }
    void expectServed(const char* below) {
        const Row row{world.at(below), true, true, Lies::shared};
        SCOPED_TRACE(below);
        GetParam().inside(row, answer(world.handleOf(row.path)));
    }
    void expectOutside(const char* below) {
        SCOPED_TRACE(below);
        expectOutside(answer(world.handleOf(world.at(below))));
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Kinds, HandleEscapeTest, ::testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(HandleEscapeTest, whatBeginsWithTheSharedFolderAndASlashPassesHoweverItIsSpelled) { check(insideRows(world)); }

TEST_P(HandleEscapeTest, aLinkIsWhatItIsAndWhatIsNoFileEndsInAnErrorAndNeverHangs) { check(linkRows(world)); }

TEST_P(HandleEscapeTest, whatLiesElsewhereIsRefusedHoweverItIsSpelled) { check(outsideRows(world)); }

TEST_P(HandleEscapeTest, whatIsNoHandleIsUnknown) {
    const QString known = world.handleOf(world.at("grant/plain.txt"));
    for (const QString& handle :
         {QString(), known.toLower(), known + u' ', u' ' + known, known.chopped(1), known + QChar::Null,
          world.at("grant/plain.txt"), QStringLiteral("/etc/passwd"), QStringLiteral("../"), QStringLiteral("H-*"),
          QStringLiteral("{%1}").arg(known), QString(1'000'000, u'A')}) {
        SCOPED_TRACE(shownPath(handle));
        EXPECT_EQ(message(answer(handle)).toStdString(), GetParam().unknown.toStdString());
    }
}

TEST_P(HandleEscapeTest, aWithdrawnGrantAndADeletedFolderCutTheirHandlesOff) {
    expectServed("grant/plain.txt");
    world.grants.remove(world.grant.id);
    expectOutside("grant/plain.txt");
    world.grants.add(FileURL{world.at("grant/inner")});
    expectOutside("grant/plain.txt");
    expectServed("grant/inner/deep.txt");
    ASSERT_TRUE(QDir(world.at("grant/inner")).removeRecursively());
    expectOutside("grant/inner/deep.txt");
}

TEST_P(HandleEscapeTest, aFolderThatTookTheNameOfAGrantIsNotTheGrant) {
    QDir disk(world.root());
    ASSERT_TRUE(disk.rename(QStringLiteral("grant"), QStringLiteral("moved")));
    ASSERT_TRUE(disk.rename(QStringLiteral("outside"), QStringLiteral("grant")));
    world.movedTo = world.at("moved");
    expectOutside("grant/secret.txt");
    expectServed("moved/plain.txt");
}
