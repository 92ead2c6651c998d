#include "Bridge/LocalActionTools.h"

#include "Bridge/LocalToolWorld.h"

namespace vennic::test {
namespace {

struct LocalActionToolsTest : testing::Test {
    LocalToolWorld world;

    QString open(const char* name) {
        return world.run("open_app", {{QStringLiteral("name"), QString::fromUtf8(name)}});
    }
    QString shortcut(const char* name) {
        return world.run("run_shortcut", {{QStringLiteral("name"), QString::fromUtf8(name)}});
    }
    QString shortcut(const char* name, const QJsonValue& input) {
        return world.run("run_shortcut",
                         {{QStringLiteral("name"), QString::fromUtf8(name)}, {QStringLiteral("input"), input}});
    }
    QString list() { return world.run("list_shortcuts"); }
    void listing(const QByteArray& text) { world.automations->listed = AutomationRun{0, text, {}}; }
};

TEST_F(LocalActionToolsTest, anApplicationIsOpenedUnderTheNameThatWasAskedFor) {
    const QString entry = world.workspace->add(QStringLiteral("org.example.Notes.desktop")).entry;
    EXPECT_EQ(open("org.example.Notes"), QStringLiteral("Opened org.example.Notes."));
    EXPECT_EQ(open("org.example.Notes.desktop"), QStringLiteral("Opened org.example.Notes.desktop."));
    EXPECT_EQ(world.workspace->opened, (QStringList{entry, entry}));
}

TEST_F(LocalActionToolsTest, anApplicationThatIsNotThereIsTold) {
    EXPECT_EQ(open("Rêve"), QStringLiteral("Aucune application nommée 'Rêve' n'a été trouvée."));
    EXPECT_EQ(open("../x"), QStringLiteral("Aucune application nommée '../x' n'a été trouvée."));
}

TEST_F(LocalActionToolsTest, anApplicationThatDoesNotStartIsToldInThePlatformsWords) {
    const QString entry = world.workspace->add(QStringLiteral("Notes.desktop")).entry;
    world.workspace->failures[entry] = QStringLiteral("Le programme manque.");
    EXPECT_EQ(open("Notes"), QStringLiteral("Failed to open Notes: Le programme manque."));
    world.workspace->unreadable = QStringLiteral("Illisible.");
    EXPECT_EQ(open("Notes"), QStringLiteral("Failed to open Notes: Illisible."));
}

TEST_F(LocalActionToolsTest, aNameIsRequired) {
    for (const char* arguments : {"", "{}", R"({"name":""})", R"({"name":5})", R"({"name":null})"}) {
        EXPECT_EQ(world.runRaw("open_app", QString::fromUtf8(arguments)), QStringLiteral("Missing app name."))
            << arguments;
        EXPECT_EQ(world.runRaw("run_shortcut", QString::fromUtf8(arguments)), QStringLiteral("Missing shortcut name."))
            << arguments;
    }
    EXPECT_EQ(world.workspace->listings, 0);
    EXPECT_TRUE(world.automations->calls().empty());
}

TEST_F(LocalActionToolsTest, automationsAreListedByNumber) {
    listing("Éteindre\n\n \t redire \r\n\u00a0\n Deux mots\n");
    EXPECT_EQ(list(), QStringLiteral("1. Éteindre\n2. redire\n3. Deux mots"));
    EXPECT_EQ(world.automations->calls(),
              std::vector<AutomationToolFake::Call>({{{QStringLiteral("list")}, std::nullopt}}));
}

TEST_F(LocalActionToolsTest, withoutAutomationsTheModelIsToldSo) {
    listing("\n \n");
    EXPECT_EQ(list(), QStringLiteral("No shortcuts found."));
}

TEST_F(LocalActionToolsTest, aListThatFailsIsTold) {
    world.automations->listed = AutomationRun{3, {}, " panne \n"};
    EXPECT_EQ(list(), QStringLiteral("shortcut_list_failed: panne"));
    world.automations->missing = true;
    EXPECT_EQ(list(), QStringLiteral("shortcut_list_failed: L'outil n'est pas installé."));
}

TEST_F(LocalActionToolsTest, whatAnAutomationWritesIsTheText) {
    world.automations->automations[QStringLiteral("redire")] = AutomationToolFake::echo;
    EXPECT_EQ(shortcut("redire", QStringLiteral(" a\nb \n")), QStringLiteral("a\nb"));
    EXPECT_EQ(shortcut("redire", QStringLiteral("")), QStringLiteral("Shortcut 'redire' ran (no output)."));
    EXPECT_EQ(shortcut("redire"), QStringLiteral("Shortcut 'redire' ran (no output)."));
    EXPECT_EQ(shortcut("redire", 5), QStringLiteral("Shortcut 'redire' ran (no output)."));
    const QStringList arguments{QStringLiteral("run"), QStringLiteral("redire")};
    EXPECT_EQ(world.automations->calls(), std::vector<AutomationToolFake::Call>({{arguments, QByteArray(" a\nb \n")},
                                                                                 {arguments, QByteArray("")},
                                                                                 {arguments, std::nullopt},
                                                                                 {arguments, std::nullopt}}));
}

TEST_F(LocalActionToolsTest, anAutomationThatFailsIsTold) {
    world.automations->automations[QStringLiteral("non")] = AutomationToolFake::ending({3, "x", "refus\n"});
    world.automations->automations[QStringLiteral("muet")] = AutomationToolFake::ending({1, {}, {}});
    EXPECT_EQ(shortcut("non"), QStringLiteral("shortcut_run_failed: refus"));
    EXPECT_EQ(shortcut("muet"), QStringLiteral("shortcut_run_failed: exit 1"));
    EXPECT_EQ(shortcut("absent"),
              QStringLiteral("shortcut_run_failed: Aucune automatisation ne s'appelle « absent »."));
}

TEST_F(LocalActionToolsTest, anAutomationThatRunsHoldsUpNothingAndEndsWithItsTurn) {
    world.automations->automations[QStringLiteral("long")] = AutomationToolFake::endless;
    {
        Scope scope;
        scope.start([](LocalToolRegistry* tools) -> Task<> {
            co_await tools->dispatch(QStringLiteral("run_shortcut"), QStringLiteral(R"({"name":"long"})"));
        }(&world.tools));
        ASSERT_TRUE(waitUntil([&] { return world.automations->calls().size() == 1; }));
        EXPECT_EQ(scope.size(), 1U);
    } // the end of the pool at the program's end would wait for it otherwise
}

} // namespace
} // namespace vennic::test
