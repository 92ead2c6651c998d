#include "Bridge/ScreenControlBridgeHandler.h"

#include "Bridge/BridgeServiceFixture.h"
#include "Bridge/ShortcutsCLIError.h"

using namespace vennic;
using namespace vennic::test;
using Status = BridgeService::Status;
using Place = Application::Place;

namespace {

struct ScreenControlTest : ::testing::Test {
    BridgeWorld world;
    ScreenControlBridgeHandler handler{world.workspace, world.automations};

    QString located(const QString& name) const {
        const auto url = handler.locateApp(name);
        return url ? url->path : QStringLiteral("nothing");
    }
    /// The last answer, its keys in the order of the alphabet: their order on the wire says nothing.
    QByteArray lastBody() const {
        if (world.backend.updates.empty())
            return "nothing";
        const QByteArray body = world.backend.updates.back().request.body.value_or(QByteArray());
        return QJsonDocument(QJsonDocument::fromJson(body).object()).toJson(QJsonDocument::Compact);
    }
    QJsonObject open(const QString& name) {
        const AppOpenArgs args{name};
        await(handler.handleOpenApp({QStringLiteral("t1"), BridgeTaskKind::appOpen, args}, args, world.api()));
        const QJsonObject body = QJsonDocument::fromJson(lastBody()).object();
        EXPECT_EQ(body.value(QLatin1String("status")).toString(), QStringLiteral("done"));
        return body.value(QLatin1String("result")).toObject();
    }
    QByteArray run(const QString& name, const std::optional<QString>& input = {}) {
        const ShortcutRunArgs args{name, input};
        await(handler.handleRunShortcut({QStringLiteral("t1"), BridgeTaskKind::shortcutRun, args}, args, world.api()));
        return lastBody();
    }
    QByteArray list() {
        const BridgeTask task{QStringLiteral("t1"), BridgeTaskKind::shortcutList, ShortcutListArgs{}};
        await(handler.handleListShortcuts(task, world.api()));
        return lastBody();
    }
    void automation(const QString& name, AutomationToolFake::Automation automation) {
        world.automations->automations[name] = std::move(automation);
    }
    void ending(const QString& name, int status, const QByteArray& output, const QByteArray& error = {}) {
        automation(name, AutomationToolFake::ending({status, output, error}));
    }
    static QJsonObject notFound(const QString& name) {
        return {{QStringLiteral("ok"), false},
                {QStringLiteral("error"),
                 QStringLiteral("Aucune application nommée '") + name + QStringLiteral("' n'a été trouvée.")}};
    }
};

const QJsonObject fine{{QStringLiteral("ok"), true}};

/// Everything that a name may try, and that names no application and no automation.
std::vector<QString> hostileNames() {
    std::vector<QString> names{
        QString(),
        QStringLiteral("/"),
        QStringLiteral("."),
        QStringLiteral(".."),
        QStringLiteral("../Notes"),
        QStringLiteral("sub/Notes"),
        QStringLiteral("/apps/Notes.desktop"),
        QStringLiteral("Notes/"),
        QStringLiteral("-"),
        QStringLiteral("--"),
        QStringLiteral("-Notes"),
        QStringLiteral("--help"),
        QStringLiteral("-rf"),
        QStringLiteral("Notes\nNotes"),
        QStringLiteral("Notes\n"),
        QStringLiteral("Notes "),
        QStringLiteral("Notes.desktop.desktop"),
        QStringLiteral("Notes;true"),
        QStringLiteral("$(true)"),
        QStringLiteral("`true`"),
        QStringLiteral("file:///apps/Notes.desktop"),
        QStringLiteral("%1%2%s%U"),
        QString(1, QChar::Null),
        QStringLiteral("Notes") + QChar::Null,
        QStringLiteral("Notes") + QChar::Null + QStringLiteral(".desktop"),
        QString(1, QChar(0xD800)),
        QString(64 * 1024, u'N'),
        QString(64 * 1024, u'/'),
        QString(64 * 1024, u'-'),
    };
    for (char16_t c = 1; c < 256; ++c) {
        names.push_back(QString(QChar(c)));
        names.push_back(QStringLiteral("Notes") + QChar(c));
        names.push_back(QChar(c) + QStringLiteral("Notes"));
    }
    return names;
}

} // namespace

TEST_F(ScreenControlTest, anApplicationIsFoundByItsIdentifierWithOrWithoutTheEnding) {
    world.workspace->add(QStringLiteral("org.example.Notes.desktop"));
    world.workspace->add(QStringLiteral("vendor/notes.desktop"), Place::user);
    EXPECT_EQ(located(QStringLiteral("org.example.Notes")), QStringLiteral("/apps/org.example.Notes.desktop"));
    EXPECT_EQ(located(QStringLiteral("org.example.Notes.desktop")), QStringLiteral("/apps/org.example.Notes.desktop"));
    EXPECT_EQ(located(QStringLiteral("vendor-notes")), QStringLiteral("/apps/vendor/notes.desktop"));
    EXPECT_EQ(located(QStringLiteral("org.example.Notes.desktop.desktop")), QStringLiteral("nothing"));
}

TEST_F(ScreenControlTest, aFileIsFoundByItsNameOneFolderBelowWhatWasInstalledAndNowhereElse) {
    const auto add = [&](const char16_t* path, Place place) {
        world.workspace->add(QStringView(path).toString(), place).name = QStringLiteral("?");
        world.workspace->known.back().localizedName = QStringLiteral("?");
    };
    add(u"vendor/installed.desktop", Place::installed);
    add(u"vendor/deep/deeper.desktop", Place::installed);
    add(u"vendor/shipped.desktop", Place::system);
    add(u"vendor/own.desktop", Place::user);
    EXPECT_EQ(located(QStringLiteral("installed")), QStringLiteral("/apps/vendor/installed.desktop"));
    EXPECT_EQ(located(QStringLiteral("installed.desktop")), QStringLiteral("/apps/vendor/installed.desktop"));
    for (const char16_t* name : {u"deeper", u"shipped", u"own", u"deep-deeper", u"vendor/installed", u"INSTALLED"})
        EXPECT_EQ(located(QStringView(name).toString()), QStringLiteral("nothing"))
            << QStringView(name).toUtf8().data();
    EXPECT_EQ(located(QStringLiteral("vendor-shipped")), QStringLiteral("/apps/vendor/shipped.desktop"));
}

TEST_F(ScreenControlTest, anApplicationIsFoundByItsExactNameInTheUsersLanguageOrAsItIsWritten) {
    Application& notes = world.workspace->add(QStringLiteral("a.desktop"));
    notes.name = QStringLiteral("Text Editor");
    notes.localizedName = QStringLiteral("Éditeur de texte");
    EXPECT_EQ(located(QStringLiteral("Éditeur de texte")), QStringLiteral("/apps/a.desktop"));
    EXPECT_EQ(located(QStringLiteral("Text Editor")), QStringLiteral("/apps/a.desktop"));
    for (const char16_t* name : {u"text editor", u"Text", u"Text Editor ", u"Text Editor.desktop", u"Editeur de texte"})
        EXPECT_EQ(located(QStringView(name).toString()), QStringLiteral("nothing"))
            << QStringView(name).toUtf8().data();
}

TEST_F(ScreenControlTest, identifiersComeBeforeFilesAndFilesBeforeNames) {
    const QString name = QStringLiteral("notes");
    world.workspace->add(QStringLiteral("0.desktop")).name = name;
    EXPECT_EQ(located(name), QStringLiteral("/apps/0.desktop"));
    world.workspace->add(QStringLiteral("vendor/notes.desktop"));
    EXPECT_EQ(located(name), QStringLiteral("/apps/vendor/notes.desktop"));
    world.workspace->add(QStringLiteral("notes.desktop"));
    EXPECT_EQ(located(name), QStringLiteral("/apps/notes.desktop"));
}

TEST_F(ScreenControlTest, ofSeveralOfOneNameTheMenusAndThenTheAlphabetDecide) {
    for (const char* file : {"c.desktop", "b.desktop", "a.desktop"})
        world.workspace->add(QLatin1String(file)).localizedName = QStringLiteral("Fichiers");
    EXPECT_EQ(located(QStringLiteral("Fichiers")), QStringLiteral("/apps/a.desktop"));
    world.workspace->known.back().isShown = false;
    EXPECT_EQ(located(QStringLiteral("Fichiers")), QStringLiteral("/apps/b.desktop"));
    for (Application& application : world.workspace->known)
        application.isShown = false;
    EXPECT_EQ(located(QStringLiteral("Fichiers")), QStringLiteral("/apps/a.desktop"));
}

TEST_F(ScreenControlTest, aNameWithASlashOrAControlCharacterIsNoneEvenWhereAnEntryHasIt) {
    for (const QString& name : {QStringLiteral("GNU/Linux"), QStringLiteral("Deux\nlignes"), QStringLiteral("\u0085"),
                                QString(1025, u'N'), QString()})
        world.workspace->add(QStringLiteral("a.desktop")).name = name;
    for (const Application& application : world.workspace->known)
        EXPECT_EQ(located(application.name), QStringLiteral("nothing"));
    world.workspace->add(QStringLiteral("b.desktop")).name = QString(1024, u'N');
    EXPECT_EQ(located(QString(1024, u'N')), QStringLiteral("/apps/b.desktop"));
}

TEST_F(ScreenControlTest, hostileNamesOpenNothing) {
    world.workspace->add(QStringLiteral("Notes.desktop"));
    world.workspace->add(QStringLiteral("sub/Notes.desktop"));
    for (const QString& name : hostileNames())
        EXPECT_EQ(located(name), QStringLiteral("nothing")) << name.left(40).toStdString();
    EXPECT_EQ(open(QStringLiteral("../Notes")), notFound(QStringLiteral("../Notes")));
    EXPECT_EQ(open(QStringLiteral("%1")), notFound(QStringLiteral("%1")));
    EXPECT_TRUE(world.workspace->opened.isEmpty());
}

TEST_F(ScreenControlTest, openingAnswersOkWithoutAnError) {
    world.workspace->add(QStringLiteral("Notes.desktop"));
    EXPECT_EQ(open(QStringLiteral("Notes")), fine);
    EXPECT_EQ(lastBody(), R"({"result":{"ok":true},"status":"done"})");
    EXPECT_EQ(world.workspace->opened, QStringList{QStringLiteral("/apps/Notes.desktop")});
}

TEST_F(ScreenControlTest, anUnknownApplicationIsASuccessThatSaysNo) {
    EXPECT_EQ(open(QStringLiteral("Safari")), notFound(QStringLiteral("Safari")));
    EXPECT_EQ(open(QString()), notFound(QString()));
    EXPECT_EQ(world.workspace->listings, 1); // a name that can't be one isn't looked for
}

TEST_F(ScreenControlTest, aLaunchThatFailsIsASuccessWithThePlatformsWords) {
    world.workspace->add(QStringLiteral("Notes.desktop"));
    world.workspace->failures[QStringLiteral("/apps/Notes.desktop")] = QStringLiteral("Unable to find terminal");
    EXPECT_EQ(open(QStringLiteral("Notes")),
              (QJsonObject{{QStringLiteral("ok"), false},
                           {QStringLiteral("error"), QStringLiteral("Unable to find terminal")}}));
    world.workspace->unreadable = QStringLiteral("Le disque ne répond pas.");
    EXPECT_EQ(open(QStringLiteral("Notes"))[QLatin1String("error")].toString(),
              QStringLiteral("Le disque ne répond pas."));
}

TEST_F(ScreenControlTest, anAutomationIsRunByTheToolWithItsNameAndInput) {
    automation(QStringLiteral("Dire"), AutomationToolFake::echo);
    EXPECT_EQ(run(QStringLiteral("Dire"), QStringLiteral("été")),
              QByteArray(R"({"result":{"output":"été"},"status":"done"})"));
    run(QStringLiteral("Dire"), QString());
    run(QStringLiteral("Dire"));
    const QStringList arguments{QStringLiteral("run"), QStringLiteral("Dire")};
    using Call = AutomationToolFake::Call;
    EXPECT_EQ(world.automations->calls(),
              (std::vector<Call>{{arguments, "été"}, {arguments, ""}, {arguments, std::nullopt}}));
}

TEST_F(ScreenControlTest, anAutomationThatWritesNothingAnswersAnEmptyResult) {
    ending(QStringLiteral("Rien"), 0, " \n\t\r\n", "not looked at");
    EXPECT_EQ(run(QStringLiteral("Rien")), R"({"result":{},"status":"done"})");
}

TEST_F(ScreenControlTest, outputLosesWhitespaceAndNewlinesAtItsEndsOnly) {
    ending(QStringLiteral("A"), 0, "\n\r\t  a  \n b\u00a0\u2028\n");
    EXPECT_EQ(run(QStringLiteral("A")), R"({"result":{"output":"a  \n b"},"status":"done"})");
}

TEST_F(ScreenControlTest, outputThatIsNotUtf8CountsAsEmpty) {
    ending(QStringLiteral("A"), 0, "d\xe9j\xe0");
    EXPECT_EQ(run(QStringLiteral("A")), R"({"result":{},"status":"done"})");
    ending(QStringLiteral("B"), 3, "x", "d\xe9j\xe0");
    EXPECT_EQ(run(QStringLiteral("B")), R"({"error_message":"shortcut_run_failed: exit 3","status":"error"})");
}

TEST_F(ScreenControlTest, aLargeOutputAndALargeComplaintArriveWhole) {
    const QString large = QStringLiteral("\"é\"\n").repeated(4'000'000) + u'.'; // 24 MB, and 40 on the wire
    ending(QStringLiteral("Parle"), 0, large.toUtf8());
    ending(QStringLiteral("Refuse"), 1, {}, large.toUtf8());
    const auto told = [&](const char* name, QLatin1String key) {
        run(QLatin1String(name));
        const QJsonObject body = world.backend.updates.back().body;
        const QJsonValue result = body[QLatin1String("result")][key];
        return result.isString() ? result.toString() : body[key].toString();
    };
    EXPECT_TRUE(told("Parle", QLatin1String("output")) == large);
    EXPECT_TRUE(told("Refuse", QLatin1String("error_message")) == QStringLiteral("shortcut_run_failed: ") + large);
}

TEST_F(ScreenControlTest, aFailedRunIsToldInItsWordsElseByItsStatus) {
    ending(QStringLiteral("A"), 4, "output", "  Pas de réseau\n");
    EXPECT_EQ(run(QStringLiteral("A")),
              QByteArray(R"({"error_message":"shortcut_run_failed: Pas de réseau","status":"error"})"));
    ending(QStringLiteral("B"), 1, "output");
    EXPECT_EQ(run(QStringLiteral("B")), R"({"error_message":"shortcut_run_failed: exit 1","status":"error"})");
    ending(QStringLiteral("C"), 137, {}, "\n");
    EXPECT_EQ(run(QStringLiteral("C")), R"({"error_message":"shortcut_run_failed: exit 137","status":"error"})");
    world.automations->missing = true;
    EXPECT_EQ(run(QStringLiteral("A")), QByteArray(R"({"error_message":"shortcut_run_failed: )"
                                                   R"(L'outil n'est pas installé.","status":"error"})"));
}

TEST_F(ScreenControlTest, theErrorHasItsDomainAndTheStatusAsItsCode) {
    ending(QStringLiteral("A"), 42, {}, "non");
    try {
        handler.runShortcutsCLI({QStringLiteral("run"), QStringLiteral("A")}, std::nullopt);
        FAIL();
    } catch (const ShortcutsCLIError& error) {
        EXPECT_EQ(ShortcutsCLIError::domain(), QStringLiteral("ShortcutsCLI"));
        EXPECT_EQ(error.code(), 42);
        EXPECT_EQ(error.errorDescription(), QStringLiteral("non"));
    }
}

TEST_F(ScreenControlTest, hostileNamesRunNothingAndAreNeverOptions) {
    automation(QStringLiteral("Notes"), AutomationToolFake::echo);
    for (const QString& name : hostileNames()) {
        const QByteArray body = run(name);
        EXPECT_TRUE(body.startsWith(R"({"error_message":"shortcut_run_failed: )")) << name.left(40).toStdString();
        const auto call = world.automations->calls().back();
        EXPECT_EQ(call.arguments, (QStringList{QStringLiteral("run"), name}));
    }
}

TEST_F(ScreenControlTest, theListIsTheToolsOneNameALineInItsOrder) {
    world.automations->listed = AutomationRun{0, "Zèbre\n\n  Été 2 \t\n\t \nA b\r\n", {}};
    EXPECT_EQ(list(), QByteArray(R"({"result":{"shortcuts":["Zèbre","Été 2","A b"]},"status":"done"})"));
    EXPECT_EQ(world.automations->calls(),
              (std::vector<AutomationToolFake::Call>{{{QStringLiteral("list")}, std::nullopt}}));
}

TEST_F(ScreenControlTest, ofALineOnlySpacesAndTabsAreTrimmed) {
    world.automations->listed = AutomationRun{0, "a\r\n \r \nb\n", {}};
    EXPECT_EQ(list(), R"({"result":{"shortcuts":["a\r","\r","b"]},"status":"done"})");
}

TEST_F(ScreenControlTest, anEmptyListIsAnEmptyArray) {
    for (const char* output : {"", "\n", " \t\n  \n", "\xff\n"}) {
        world.automations->listed = AutomationRun{0, output, {}};
        EXPECT_EQ(list(), R"({"result":{"shortcuts":[]},"status":"done"})");
    }
}

TEST_F(ScreenControlTest, aFailedListIsToldInItsWordsElseByItsStatus) {
    world.automations->listed = AutomationRun{1, "a\n", "Le dossier ne peut pas être lu.\n"};
    EXPECT_EQ(list(), QByteArray(R"({"error_message":"shortcut_list_failed: Le dossier ne peut pas être lu.",)"
                                 R"("status":"error"})"));
    world.automations->listed = AutomationRun{2, "a\n", {}};
    EXPECT_EQ(list(), R"({"error_message":"shortcut_list_failed: exit 2","status":"error"})");
}

TEST_F(ScreenControlTest, anAnswerThatCannotBeSentIsDropped) {
    automation(QStringLiteral("A"), AutomationToolFake::echo);
    for (int i = 0; i < 3; ++i)
        world.backend.preparedUpdates.emplace_back(TransportFault::timedOut);
    run(QStringLiteral("A"));
    run(QStringLiteral("B"));
    open(QStringLiteral("C"));
    EXPECT_EQ(world.backend.updates.size(), 3U);
}

using ScreenControlServiceTest = BridgeServiceTest;

TEST_F(ScreenControlServiceTest, theThreeKindsAreServedAndLeaveNoErrorMessage) {
    world.workspace->add(QStringLiteral("Notes.desktop"));
    world.automations->automations[QStringLiteral("Dire")] = AutomationToolFake::echo;
    world.backend.preparePoll(taskJson("app_open", R"({"name":"Notes"})"));
    world.backend.preparePoll(taskJson("shortcut_list", "[]"));
    world.backend.preparePoll(taskJson("shortcut_run", R"({"name":"Dire","input":"x"})"));
    world.backend.preparedUpdates.emplace_back(TransportFault::cutOff);
    start();
    ASSERT_TRUE(polling(4));
    EXPECT_EQ(world.backend.updates.size(), 3U);
    EXPECT_EQ(world.backend.updates[1].body[QLatin1String("result")][QLatin1String("shortcuts")][0].toString(),
              QStringLiteral("Dire"));
    EXPECT_EQ(world.backend.updates[2].body[QLatin1String("result")][QLatin1String("output")].toString(),
              QStringLiteral("x"));
    EXPECT_EQ(service.tasksServed(), 3);
    EXPECT_EQ(service.lastErrorMessage(), std::nullopt);
}

TEST_F(ScreenControlServiceTest, aNulOutOfTheJsonIsPartOfTheName) {
    world.workspace->add(QStringLiteral("Notes.desktop"));
    world.automations->automations[QStringLiteral("Notes")] = AutomationToolFake::echo;
    world.backend.preparePoll(taskJson("app_open", R"({"name":"Notes\u0000"})"));
    world.backend.preparePoll(taskJson("shortcut_run", R"({"name":"Notes\u0000x"})"));
    start();
    ASSERT_TRUE(polling(3));
    EXPECT_TRUE(world.workspace->opened.isEmpty());
    EXPECT_EQ(world.backend.updates[0].body[QLatin1String("result")][QLatin1String("ok")], QJsonValue(false));
    EXPECT_EQ(message(1), QStringLiteral("shortcut_run_failed: Un argument contient un caractère nul."));
}

TEST_F(ScreenControlServiceTest, aLongAutomationHoldsUpThePollingUntilTheBridgeIsStopped) {
    world.automations->automations[QStringLiteral("Long")] = AutomationToolFake::endless;
    world.backend.preparePoll(taskJson("shortcut_run", R"({"name":"Long"})"));
    start();
    ASSERT_TRUE(waitUntil([this] { return world.automations->calls().size() == 1; }));
    EXPECT_EQ(service.status(), Status::busy(BridgeTaskKind::shortcutRun));
    EXPECT_EQ(world.backend.polls.size(), 1U);
    service.stop();
    ASSERT_TRUE(waitUntil([this] { return service.tasksServed() == 1; }));
    EXPECT_EQ(service.status(), Status::off());
    EXPECT_TRUE(world.backend.updates.empty());
}

TEST_F(ScreenControlServiceTest, anAutomationThatRunsEndsWithTheService) {
    std::atomic<bool> ended = false;
    world.automations->automations[QStringLiteral("Long")] = [&](const std::optional<QByteArray>& input,
                                                                 std::stop_token stop) -> AutomationRun {
        try {
            return AutomationToolFake::endless(input, std::move(stop));
        } catch (const LocalizedError&) {
            ended = true;
            throw;
        }
    };
    world.backend.preparePoll(taskJson("shortcut_run", R"({"name":"Long"})"));
    start();
    ASSERT_TRUE(waitUntil([this] { return world.automations->calls().size() == 1; }));
    world.service.reset();
    EXPECT_TRUE(waitUntil([&] { return ended.load(); }));
    EXPECT_TRUE(world.backend.updates.empty());
}
