#include "linux/ServiceManagerSystemd.h"
#include "views/LocalLLMSettingsFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

enum class Services { launchd, systemd };

/// The actions with either manager of services.
struct LocalRuntimeActionsTest : test::LocalLLMSettingsFixture, testing::WithParamInterface<Services> {
    LocalRuntimeActionsTest() {
        if (GetParam() == Services::systemd)
            world.haveSystemd(std::make_unique<ServiceManagerSystemd>(QStringLiteral("/usr/bin/systemctl")));
    }
};

INSTANTIATE_TEST_SUITE_P(With, LocalRuntimeActionsTest, testing::Values(Services::launchd, Services::systemd),
                         [](const auto& with) { return with.param == Services::launchd ? "launchd" : "systemd"; });

// Restarting and applying

TEST_P(LocalRuntimeActionsTest, restartingWritesTheServiceReloadsItAndPolls) {
    world.haveEverything();
    shown();
    status = 503;
    world.programs.scripts[world.loading].pieces = {"chargé\n"};
    view().restartServer();
    EXPECT_TRUE(view().isRestarting());
    EXPECT_TRUE(view().isBusy());
    passReload();
    EXPECT_EQ(view().installLog(),
              (QStringList{QStringLiteral("▶︎ mise à jour du LaunchAgent (modèle Qwen/Qwen3-14B-MLX-4bit)"),
                           QStringLiteral("chargé"), QStringLiteral("✓ Modèle appliqué.")}));
    EXPECT_TRUE(QFile::exists(world.paths.serviceFile));
    until([this] { return checks() == 1 && clock.sleeping() == 1; });
    EXPECT_TRUE(view().isRestarting()) << "until the server answers";
    status = 200;
    clock.advance(2s);
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
    EXPECT_EQ(view().installError(), QString());
}

TEST_P(LocalRuntimeActionsTest, restartingPollsForFortyFiveSecondsAndApplyingForTwoMinutes) {
    world.haveEverything();
    shown();
    status = 503;
    const auto polledFor = [this] {
        passReload();
        const auto begun = clock.elapsed();
        until([this] {
            if (clock.sleeping() > 0)
                clock.advance(1s);
            return !view().isBusy();
        });
        return std::chrono::ceil<std::chrono::seconds>(clock.elapsed() - begun);
    };
    view().restartServer();
    EXPECT_EQ(polledFor(), 46s); // the first moment beyond 45 s that is a multiple of two
    view().applyModel();
    EXPECT_TRUE(view().isApplying());
    EXPECT_EQ(polledFor(), 120s);
}

TEST_P(LocalRuntimeActionsTest, applyingLooksForDownloadsBeforeItPolls) {
    world.haveEverything();
    shown();
    status = 503;
    view().applyModel();
    world.haveModel(test::smallModel);
    passReload();
    until([this] { return checks() == 1; });
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{test::smallModel});
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Modèle appliqué."));
}

TEST_P(LocalRuntimeActionsTest, aReloadThatFailsIsToldAndNotPolled) {
    world.haveEverything();
    shown();
    world.programs.scripts[world.loading].status = 5;
    view().restartServer();
    passReload();
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (5) : ") + world.loading);
    EXPECT_EQ(checks(), 0u);
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok()) << "what stood before stands";
    world.programs.scripts.clear();
    view().applyModel();
    EXPECT_EQ(view().installError(), QString()) << "the next action forgets it";
    EXPECT_TRUE(view().installLog().isEmpty());
}

TEST_P(LocalRuntimeActionsTest, aServiceFileThatCannotBeWrittenIsToldToo) {
    test::LocalRuntimeWorld::makeFile(QFileInfo(world.paths.serviceFile).path()); // a file where its folder should be
    view().applyModel();
    until([this] { return !view().isApplying(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Le dossier %1 ne peut pas être créé : ce n'est pas un dossier")
                                         .arg(QFileInfo(world.paths.serviceFile).path()));
    EXPECT_TRUE(world.programs.started.empty());
}

TEST_P(LocalRuntimeActionsTest, aServerThatIsBeingTakenAwayIsNotTakenAwayAgain) {
    world.haveEverything();
    shown();
    hangs(world.loading);
    view().restartServer();
    passReload();
    const auto commands = world.programs.started.size();
    view().restartServer();
    view().applyModel();
    view().runInstall();
    view().checkHealth();
    rest();
    EXPECT_EQ(world.programs.started.size(), commands);
    EXPECT_FALSE(view().isApplying() || view().isInstalling());
    EXPECT_EQ(checks(), 0u);
    never->set();
    until([this] { return !view().isBusy(); });
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
}

// Installing

TEST_P(LocalRuntimeActionsTest, installingTellsItsStepsLooksAgainAndPolls) {
    world.haveTools();
    shown();
    world.programs.scripts[world.installServer()].effect = [this] { world.haveEverything(); };
    world.programs.scripts[world.installServer()].pieces = {"Resolved 12 packages\nInstalled 3 executables\n"};
    view().runInstall();
    EXPECT_TRUE(view().isInstalling());
    passReload();
    until([this] { return !view().isInstalling(); });
    EXPECT_EQ(
        view().installLog(),
        (QStringList{QStringLiteral("✓ uv déjà présent"), QStringLiteral("▶︎ uv tool install --python 3.11 mlx-lm"),
                     QStringLiteral("Resolved 12 packages"), QStringLiteral("Installed 3 executables"),
                     QStringLiteral("▶︎ écriture du LaunchAgent"), QStringLiteral("▶︎ (re)chargement du LaunchAgent"),
                     QStringLiteral("✓ Installation terminée. Le serveur démarre en arrière-plan.")}));
    EXPECT_TRUE(std::ranges::all_of(view().installStatus().components, &LocalLLMInstaller::Component::installed));
    EXPECT_EQ(checks(), 1u);
    EXPECT_EQ(view().installError(), QString());
}

TEST_P(LocalRuntimeActionsTest, ofTwoHundredAndFiftyLinesTheLastTwoHundredStay) {
    world.haveTools();
    QByteArray output;
    for (int i = 0; i < 250; ++i)
        output += "ligne " + QByteArray::number(i) + '\n';
    world.programs.scripts[world.installServer()] = {.pieces = {output}, .status = 3};
    int announced = 0;
    QObject::connect(&view(), &LocalLLMSettingsView::installLogChanged, [&] { ++announced; });
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    rest();
    ASSERT_EQ(view().installLog().size(), 200);
    EXPECT_EQ(view().installLog().first(), QStringLiteral("ligne 50"));
    EXPECT_EQ(view().installLog().last(), QStringLiteral("ligne 249"));
    EXPECT_LE(announced, 2) << "lines that come together are told together";
}

TEST_P(LocalRuntimeActionsTest, aStepThatFailsIsToldAndWhatWasFoundBeforeStands) {
    world.haveTools();
    shown();
    const auto before = view().installStatus();
    world.programs.scripts[world.installServer()].status = 3;
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (3) : ") + world.installServer());
    EXPECT_EQ(view().installStatus(), before);
    EXPECT_EQ(checks(), 0u);
}

TEST_P(LocalRuntimeActionsTest, aCheckThatAnotherLookAtTheTabCutOffIsNotShownAsRunning) {
    world.haveTools();
    shown();
    transport.hold();
    view().checkHealth();
    until([this] { return transport.waiting() == 1; });
    hangs(world.installServer());
    world.programs.scripts[world.installServer()].status = 3;
    view().runInstall();
    until([this] { return !world.programs.started.empty(); });
    view().appear(); // as after a look at another tab
    until([this] { return transport.cancelled == 1; });
    rest();
    EXPECT_EQ(view().healthStatus(), HealthStatus::unknown());
    transport.release();
    never->set();
    until([this] { return !view().isInstalling(); });
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    transport.requests.clear();
    view().checkHealth();
    until([this] { return checks() == 1; });
}

TEST_P(LocalRuntimeActionsTest, aCheckThatWasAskedForDuringAnActionIsMadeWhenThatFails) {
    world.haveTools();
    shown();
    hangs(world.installServer());
    world.programs.scripts[world.installServer()].status = 3;
    view().runInstall();
    until([this] { return !world.programs.started.empty(); });
    view().setLocalLLMEndpoint(QStringLiteral("http://ailleurs/v1"));
    view().checkHealth();
    rest();
    EXPECT_EQ(checks(), 0u);
    never->set();
    until([this] { return checks() == 1; });
    EXPECT_EQ(transport.requests.back().url.toString(), QStringLiteral("http://ailleurs/v1/models"));
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (3) : ") + world.installServer());
}

TEST_P(LocalRuntimeActionsTest, pollingThatTheWindowCutsOffIsNotShownAsRunning) {
    world.haveEverything();
    shown();
    transport.hold();
    view().restartServer();
    passReload();
    until([this] { return transport.waiting() == 1; });
    EXPECT_EQ(view().healthStatus(), HealthStatus::checking());
    view().disappear();
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().healthStatus(), HealthStatus::unknown());
}

TEST_P(LocalRuntimeActionsTest, withoutThePackageManagerItSaysWhereToGetIt) {
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Homebrew est requis. Installe-le depuis ") +
                                         config.deployment().packageManagerSite + QStringLiteral(" puis relance."));
    view().openPackageManagerSite();
    EXPECT_EQ(world.opened, std::vector<QUrl>{QUrl(config.deployment().packageManagerSite)});
}

TEST_P(LocalRuntimeActionsTest, anInstallationThatHangsEndsWithTheWindow) {
    world.haveTools();
    shown();
    hangs(world.installServer());
    view().runInstall();
    until([this] { return !world.programs.started.empty(); });
    view().runInstall();
    view().download(test::smallModel);
    rest();
    EXPECT_EQ(world.programs.started.size(), 1u);
    EXPECT_EQ(view().downloadingId(), QString());
    view().disappear();
    until([this] { return !view().isInstalling(); });
    EXPECT_EQ(view().installError(), QString());
    EXPECT_FALSE(QFile::exists(world.paths.serviceFile));
    world.programs.scripts.clear();
    view().appear();
    view().runInstall();
    passReload();
    until([this] { return !view().isInstalling(); });
    EXPECT_TRUE(QFile::exists(world.paths.serviceFile));
}

TEST_P(LocalRuntimeActionsTest, pollingEndsWithTheWindow) {
    world.haveEverything();
    shown();
    status = 503;
    view().restartServer();
    passReload();
    until([this] { return clock.sleeping() == 1; });
    view().disappear();
    until([this] { return !view().isRestarting(); });
    rest();
    EXPECT_EQ(clock.sleeping(), 0u);
}

TEST_P(LocalRuntimeActionsTest, aServerThatIsBeingStartedIsStartedAlsoWhenTheWindowGoes) {
    world.haveEverything();
    shown();
    view().restartServer();
    until([this] { return clock.sleeping() == 1; });
    view().disappear();
    passReload();
    until([this] { return !view().isRestarting(); });
    EXPECT_TRUE(world.programs.startedWords().contains(world.loading));
    EXPECT_EQ(checks(), 0u) << "nobody looks";
}

TEST_P(LocalRuntimeActionsTest, anInstallationStartsTheServerAlsoWhenTheWindowGoes) {
    world.haveEverything();
    shown();
    view().runInstall();
    until([this] { return clock.sleeping() == 1; });
    view().disappear();
    EXPECT_TRUE(view().isInstalling());
    passReload();
    until([this] { return !view().isInstalling(); });
    EXPECT_TRUE(world.programs.startedWords().contains(world.loading));
    EXPECT_EQ(view().installLog().last(),
              QStringLiteral("✓ Installation terminée. Le serveur démarre en arrière-plan."));
    EXPECT_EQ(checks(), 0u) << "nobody looks";
}

TEST_P(LocalRuntimeActionsTest, whatWasAskedForJustBeforeTheWindowWentTakesNoServerAway) {
    world.haveEverything();
    shown();
    view().restartServer();
    view().disappear();
    until([this] { return !view().isRestarting(); });
    EXPECT_TRUE(world.programs.started.empty());
}

TEST_P(LocalRuntimeActionsTest, aReloadThatHangsIsNotGivenUpWhileSomebodyLooksAtIt) {
    world.haveEverything();
    shown();
    hangs(world.loading);
    view().restartServer();
    passReload();
    view().disappear();
    rest();
    view().appear();
    rest();
    clock.advance(100s);
    rest();
    EXPECT_TRUE(view().isRestarting());
    EXPECT_TRUE(world.installer->isReloading());
    never->set();
    until([this] { return !view().isBusy(); });
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Modèle appliqué."));
    EXPECT_EQ(checks(), 1u) << "and its server is polled";
}

TEST_P(LocalRuntimeActionsTest, aReloadThatHangsIsGivenUpSomeTimeAfterTheWindowHasGone) {
    world.haveEverything();
    shown();
    hangs(world.loading);
    view().restartServer();
    passReload();
    view().disappear();
    rest();
    EXPECT_TRUE(view().isRestarting());
    clock.advance(100s);
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().installError(), QString());
}

// On systemd, where a reload takes several commands

struct LocalRuntimeOnSystemdTest : test::LocalLLMSettingsFixture {
    LocalRuntimeOnSystemdTest() {
        world.haveSystemd(std::make_unique<ServiceManagerSystemd>(QStringLiteral("/usr/bin/systemctl")));
        world.haveEverything();
    }
    const QString systemctl = QStringLiteral("/usr/bin/systemctl --user ");
    const QString unit = QStringLiteral("com.vennic.local-llm.service");
};

TEST_F(LocalRuntimeOnSystemdTest, itsUnitIsWrittenReadAndStarted) {
    shown();
    view().runInstall();
    passReload();
    until([this] { return !view().isBusy(); });
    EXPECT_TRUE(QFile::exists(world.home.filePath(QStringLiteral(".config/systemd/user/") + unit)));
    EXPECT_EQ(world.programs.startedWords(),
              (QStringList{systemctl + QStringLiteral("stop ") + unit, systemctl + QStringLiteral("daemon-reload"),
                           world.loading, systemctl + QStringLiteral("restart ") + unit}));
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
}

TEST_F(LocalRuntimeOnSystemdTest, aManagerThatCannotReadTheUnitsSaysSo) {
    shown();
    world.programs.scripts[systemctl + QStringLiteral("daemon-reload")] = {
        .pieces = {"Failed to connect to bus: No medium found\n"}, .status = 1};
    for (const auto act : {&LocalLLMSettingsView::runInstall, &LocalLLMSettingsView::restartServer}) {
        (view().*act)();
        passReload();
        until([this] { return !view().isBusy(); });
        EXPECT_EQ(view().installError(), QStringLiteral("Échec (1) : ") + systemctl + QStringLiteral("daemon-reload"));
        EXPECT_EQ(view().installLog().last(), QStringLiteral("Failed to connect to bus: No medium found"));
    }
    EXPECT_FALSE(world.programs.startedWords().contains(world.loading));
    EXPECT_EQ(checks(), 0u);
}

} // namespace
} // namespace vennic
