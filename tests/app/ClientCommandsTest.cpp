#include "app/ClientCommands.h"

#include "app/ClientWorld.h"
#include "support/Await.h"

#include <QJsonArray>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

struct ClientCommandsTest : test::ClientWorld {
    int quits = 0;
    std::unique_ptr<ClientCommands> commands;

    CommandAnswer run(const QString& verb, const QStringList& arguments = {}, const QString& secret = {}) {
        if (!commands)
            commands = std::make_unique<ClientCommands>(client(), shell(), [this] { ++quits; });
        const auto answer =
            decodeCommandAnswer(test::await(commands->answer(encodeCommandRequest({verb, arguments, secret}))));
        EXPECT_TRUE(answer);
        return answer.value_or(CommandAnswer{});
    }
    CommandAnswer run(const char* verb, const QStringList& arguments = {}, const QString& secret = {}) {
        return run(QString::fromLatin1(verb), arguments, secret);
    }
    QStringList sharedPaths() {
        QStringList paths;
        for (const auto& share : run("shares").data[QLatin1String("shares")].toArray())
            paths.append(share[QLatin1String("path")].toString());
        return paths;
    }
    QString idOf(int position) {
        return run("shares").data[QLatin1String("shares")].toArray().at(position)[QLatin1String("id")].toString();
    }
};

} // namespace

TEST_F(ClientCommandsTest, whatIsNoRequestAndWhatIsNoVerbAreFailures) {
    EXPECT_EQ(run("danse").reason, QStringLiteral("Commande inconnue : danse"));
    const auto answer = decodeCommandAnswer(test::await(commands->answer("{")));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, ExitStatus::failed);
    EXPECT_EQ(answer->reason, QStringLiteral("Demande incompréhensible."));
}

TEST_F(ClientCommandsTest, aLinkIntoTheProgramOpensTheSettingsThere) {
    EXPECT_EQ(run("open", {QStringLiteral("vennic://desktop/hallwarden_panel?section=secure")}).status,
              ExitStatus::done);
    EXPECT_EQ(storedAs<QString>(client().preferences(), QString(PreferenceKey::hallwardenPanelAnchor)),
              QStringLiteral("secureAccess"));
    EXPECT_TRUE(windows.calls.contains(QStringLiteral("showSettings")));
    windows.broken = true;
    const CommandAnswer answer = run("open", {QStringLiteral("vennic://local/setup")});
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.reason, QStringLiteral("Pas d'écran."));
}

TEST_F(ClientCommandsTest, toggleOpensAndClosesThePopover) {
    shell().start();
    EXPECT_EQ(run("toggle").status, ExitStatus::done);
    EXPECT_TRUE(popover.shown);
    EXPECT_EQ(run("toggle").status, ExitStatus::done);
    EXPECT_FALSE(popover.shown);
    popover.broken = true;
    const CommandAnswer answer = run("toggle");
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.reason, QStringLiteral("Pas d'écran."));
}

TEST_F(ClientCommandsTest, aSecondStartHasTheClientComeForward) {
    shell().start();
    EXPECT_EQ(run("activate").text, QStringLiteral("Vennic tourne déjà."));
    EXPECT_TRUE(popover.shown);
    run("activate");
    EXPECT_TRUE(popover.shown);
    popover.close();
    popover.broken = true; // it runs all the same
    const CommandAnswer answer = run("activate");
    EXPECT_EQ(answer.status, ExitStatus::done);
    EXPECT_EQ(answer.reason, QStringLiteral("Pas d'écran."));
}

TEST_F(ClientCommandsTest, aSharedFolderIsListedAndWithdrawnByItsIdOrPath) {
    const QString one = folder(QStringLiteral("un"));
    const QString two = folder(QStringLiteral("deux"));
    EXPECT_EQ(run("shares").text, QStringLiteral("Aucun dossier partagé."));
    EXPECT_EQ(run("share", {one, two}).status, ExitStatus::done);
    EXPECT_EQ(sharedPaths(), QStringList({one, two}));
    EXPECT_EQ(run("unshare", {idOf(0)}).status, ExitStatus::done);
    EXPECT_EQ(sharedPaths(), QStringList{two});
    EXPECT_EQ(run("unshare", {two + QLatin1Char('/')}).status, ExitStatus::done);
    EXPECT_EQ(sharedPaths(), QStringList());
}

TEST_F(ClientCommandsTest, ofSeveralFoldersTheGoodOnesAreSharedAndTheOthersNamed) {
    const QString one = folder(QStringLiteral("un"));
    const QString missing = root.filePath(QStringLiteral("absent"));
    const QString two = folder(QStringLiteral("deux"));
    const CommandAnswer answer = run("share", {one, missing, QStringLiteral("relatif"), two});
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.text.count(u'\n'), 1);
    EXPECT_TRUE(answer.text.startsWith(one + QStringLiteral(" est partagé (")));
    EXPECT_TRUE(answer.text.contains(u'\n' + two + QStringLiteral(" est partagé (")));
    EXPECT_EQ(answer.reason, missing + QStringLiteral(" : Le chemin n'est pas un dossier.\n"
                                                      "relatif : Le chemin n'est pas absolu."));
    EXPECT_EQ(sharedPaths(), QStringList({one, two}));
}

TEST_F(ClientCommandsTest, ofSeveralNamesTheKnownOnesAreWithdrawnAndTheOthersNamed) {
    const QString one = folder(QStringLiteral("un"));
    const QString two = folder(QStringLiteral("deux"));
    run("share", {one, two});
    const CommandAnswer answer = run("unshare", {one, QStringLiteral("inconnu"), one, two});
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_EQ(answer.text,
              one + QStringLiteral(" n'est plus partagé.\n") + two + QStringLiteral(" n'est plus partagé."));
    EXPECT_EQ(answer.reason, QStringLiteral("Aucun dossier partagé ne répond à inconnu."));
    EXPECT_EQ(sharedPaths(), QStringList());
}

TEST_F(ClientCommandsTest, aPathWithdrawsEveryGrantOfItsFolder) {
    const QString one = folder(QStringLiteral("un"));
    run("share", {one, one});
    ASSERT_EQ(sharedPaths().size(), 2);
    EXPECT_EQ(run("unshare", {one}).status, ExitStatus::done);
    EXPECT_EQ(sharedPaths(), QStringList());
}

TEST_F(ClientCommandsTest, aFolderThatIsGoneIsListedAsLostAndCanBeWithdrawn) {
    const QString one = folder(QStringLiteral("un"));
    run("share", {one});
    ASSERT_TRUE(QDir().rmdir(one));
    EXPECT_EQ(run("shares").text, idOf(0) + QStringLiteral("  un (introuvable)"));
    EXPECT_EQ(run("shares").data[QLatin1String("shares")].toArray().at(0)[QLatin1String("found")], false);
    EXPECT_EQ(run("unshare", {idOf(0)}).status, ExitStatus::done);
    EXPECT_EQ(run("shares").text, QStringLiteral("Aucun dossier partagé."));
}

TEST_F(ClientCommandsTest, searchWithoutASharedFolderSaysSo) {
    EXPECT_EQ(run("search", {QStringLiteral("x")}).reason,
              QStringLiteral("Aucun dossier partagé n'est configuré sur le Mac."));
}

TEST_F(ClientCommandsTest, aHitComesWithALinkAndNothingElseOpens) {
    const QString one = folder(QStringLiteral("un"));
    QFile file(one + QStringLiteral("/bail et loyer.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("x");
    file.close();
    run("share", {one});
    // What the index, at idle priority, hasn't got to yet is found by name on the disk.
    const CommandAnswer answer = run("search", {QStringLiteral("loyer"), QStringLiteral("bail")});
    ASSERT_EQ(answer.status, ExitStatus::done) << answer.reason.toStdString();
    const QJsonValue item = answer.data[QLatin1String("items")].toArray().at(0);
    EXPECT_EQ(item[QLatin1String("name")], QStringLiteral("bail et loyer.txt"));
    EXPECT_EQ(item[QLatin1String("link")],
              QString(QStringLiteral("vennic://local_file/open/") + item[QLatin1String("id")].toString()));
    EXPECT_TRUE(answer.text.startsWith(QStringLiteral("bail et loyer.txt — ")));
    EXPECT_EQ(run("open", {QStringLiteral("vennic://local_file/open/inconnu")}).reason,
              QStringLiteral("Document introuvable ; relance la recherche."));
    EXPECT_EQ(run("open", {QStringLiteral("https://a.test/")}).reason,
              QStringLiteral("Cette adresse n'est ni celle d'un document ni celle d'une photo : https://a.test/"));
}

TEST_F(ClientCommandsTest, aPastedTokenSignsInAndSigningOutForgetsIt) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest& request) {
        request.method == "GET" ? wire.hold() : test::answers::plain(204)(wire, request);
    });
    EXPECT_EQ(run("token", {}, QStringLiteral("  ")).reason,
              QStringLiteral("Aucun jeton n'a été lu sur l'entrée standard."));
    EXPECT_EQ(run("token", {}, QStringLiteral(" jeton\n")).text, QStringLiteral("Le jeton est enregistré."));
    EXPECT_TRUE(client().session().isAuthenticated());
    ASSERT_TRUE(test::waitUntil([&] { return server.count("GET", "/api/v1/bridge/tasks/next?wait=25") == 1; }));
    EXPECT_EQ(server.requests()[0].header("X-User-Token"), "jeton");
    EXPECT_EQ(run("sign-out").text, QStringLiteral("Ce Mac est déconnecté."));
    EXPECT_FALSE(client().session().isAuthenticated());
    ASSERT_TRUE(test::waitUntil([&] { return server.count("DELETE", "/api/v1/session") == 1; }));
}

TEST_F(ClientCommandsTest, pairingTakesItsCodeWithoutSpaces) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest& request) {
        if (request.method == "POST")
            test::answers::plain(200, R"({"user_token":"t","user_id":1,"email":"a@b.test"})")(wire, request);
        else
            wire.hold();
    });
    EXPECT_EQ(run("pair", {QStringLiteral("  ")}).reason, QStringLiteral("Le code est vide."));
    const CommandAnswer answer = run("pair", {QStringLiteral(" ABCDEFGH ")});
    EXPECT_EQ(answer.text, QStringLiteral("Ce Mac est appairé avec a@b.test.\n"
                                          "Active le pont local avec « vennic bridge on »."));
    EXPECT_TRUE(server.requests()[0].body.contains("\"ABCDEFGH\""));
    EXPECT_EQ(run("bridge", {QStringLiteral("on")}).text, QStringLiteral("Le pont local est activé."));
    EXPECT_TRUE(client().session().bridgeEnabled());
    EXPECT_EQ(run("bridge", {QStringLiteral("off")}).text, QStringLiteral("Le pont local est désactivé."));
    EXPECT_FALSE(client().session().bridgeEnabled());
}

TEST_F(ClientCommandsTest, aRefusedCodePairsNothing) {
    server.onRequest(test::answers::plain(404, R"({"error":"Ce code n'existe pas."})"));
    const CommandAnswer answer = run("pair", {QStringLiteral("ABCDEFGH")});
    EXPECT_EQ(answer.status, ExitStatus::failed);
    EXPECT_TRUE(answer.reason.startsWith(QStringLiteral("Erreur HTTP 404"))) << answer.reason.toStdString();
    EXPECT_FALSE(client().session().isAuthenticated());
}

TEST_F(ClientCommandsTest, quitEndsTheProgramAfterItsAnswer) {
    EXPECT_EQ(run("quit").status, ExitStatus::done);
    EXPECT_EQ(quits, 1);
}

TEST_F(ClientCommandsTest, aSecondStartIsToldThatOneRuns) {
    EXPECT_EQ(run("activate").text, QStringLiteral("Vennic tourne déjà."));
}
