#include "localllm/LocalLLMInstaller.h"

#include "fakes/ProgramRunnerFake.h"
#include "localllm/ServiceManagerLaunchd.h"
#include "support/Await.h"
#include "support/TestClock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

const QString site = QStringLiteral("https://paquets.test");
const QString model = QStringLiteral("org/Un-Modele-MLX-4bit");

/// A Mac in a temporary folder, whose commands are recorded.
struct LocalLLMInstallerTest : testing::Test {
    QTemporaryDir root;
    QString home = root.filePath(QStringLiteral("Users/ada"));
    QString opt = root.filePath(QStringLiteral("opt/homebrew/bin"));
    QString usr = root.filePath(QStringLiteral("usr/local/bin"));
    QString local = home + QStringLiteral("/.local/bin");
    QString plist = home + QStringLiteral("/Library/LaunchAgents/com.vennic.local-llm.plist");
    QString bootout = QStringLiteral("/bin/launchctl bootout gui/501/com.vennic.local-llm");
    QString bootstrap = QStringLiteral("/bin/launchctl bootstrap gui/501 ") + plist;
    QString kickstart = QStringLiteral("/bin/launchctl kickstart -k gui/501/com.vennic.local-llm");

    test::ProgramRunnerFake programs;
    ServiceManagerLaunchd services{501};
    test::TestClock clock;
    LocalLLMInstaller installer{{paths(), programs, services, clock, site}};
    QStringList log;

    RuntimePaths paths() const {
        RuntimePaths paths = RuntimePaths::ofLaunchd(home);
        paths.brew = {opt + QStringLiteral("/brew"), usr + QStringLiteral("/brew")};
        paths.uv = {opt + QStringLiteral("/uv"), usr + QStringLiteral("/uv"), local + QStringLiteral("/uv")};
        return paths;
    }
    static void place(const QString& path, const QByteArray& content = {}) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    static QByteArray contentOf(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
    }
    void placeBrew() const { place(opt + QStringLiteral("/brew")); }
    void placeUv() const { place(opt + QStringLiteral("/uv")); }
    void placeServer() const { place(local + QStringLiteral("/mlx_lm.server")); }
    QString installUv() const { return opt + QStringLiteral("/brew install uv"); }
    QString installMlx() const { return opt + QStringLiteral("/uv tool install --python 3.11 mlx-lm"); }
    QString download() const {
        return opt + QStringLiteral("/uv tool run --from mlx-lm mlx_lm.generate --model ") + model +
               QStringLiteral(" --prompt hi --max-tokens 1");
    }

    LocalLLMInstaller::OnLine onLine() {
        return [this](const QString& line) { log.append(line); };
    }
    /// Runs a task to its end, turning the clock when it sleeps; gives the failure's words, or "" without one.
    QString outcome(Task<> task) {
        std::optional<QString> words;
        Scope scope;
        scope.start(keep(std::move(task), &words));
        EXPECT_TRUE(test::waitUntil([&] {
            if (clock.sleeping() > 0)
                clock.advance(500ms);
            return words.has_value();
        }));
        return words.value_or(QStringLiteral("no end"));
    }
    static Task<> keep(Task<> task, std::optional<QString>* words) {
        try {
            co_await task;
            *words = QString();
        } catch (const LocalizedError& error) {
            *words = error.errorDescription();
        }
    }
    QString install() { return outcome(installer.install(model, onLine())); }
};

const QStringList lastLines{QStringLiteral("▶︎ écriture du LaunchAgent"),
                            QStringLiteral("▶︎ (re)chargement du LaunchAgent"),
                            QStringLiteral("✓ Installation terminée. Le serveur démarre en arrière-plan.")};

TEST(InstallError, saysWhichCommandFailedAndHow) {
    const auto failed =
        InstallError::commandFailed(QStringLiteral("/opt/homebrew/bin/uv tool install --python 3.11 mlx-lm"), 3);
    EXPECT_EQ(failed.errorDescription(),
              QStringLiteral("Échec (3) : /opt/homebrew/bin/uv tool install --python 3.11 mlx-lm"));
    EXPECT_EQ(failed.kind(), InstallError::Case::commandFailed);
    // A place of a format stays what it is.
    EXPECT_EQ(InstallError::commandFailed(QStringLiteral("/a/%1 %2"), -1).errorDescription(),
              QStringLiteral("Échec (-1) : /a/%1 %2"));
    EXPECT_EQ(InstallError::commandFailed({}, std::numeric_limits<qint64>::min()).errorDescription(),
              QStringLiteral("Échec (-9223372036854775808) : "));
    EXPECT_EQ(InstallError::brewMissing(site).errorDescription(),
              QStringLiteral("Homebrew est requis. Installe-le depuis https://paquets.test puis relance."));
    EXPECT_EQ(InstallError::brewMissing(site).kind(), InstallError::Case::brewMissing);
}

TEST_F(LocalLLMInstallerTest, detectsNothingOnABareMachine) {
    EXPECT_EQ(installer.detect(),
              (LocalLLMInstaller::Status{
                  {{QStringLiteral("brew"), QStringLiteral("Homebrew"), false, std::nullopt},
                   {QStringLiteral("uv"), QStringLiteral("uv"), false, std::nullopt},
                   {QStringLiteral("mlx"), QStringLiteral("mlx-lm"), false, local + QStringLiteral("/mlx_lm.server")},
                   {QStringLiteral("plist"), QStringLiteral("LaunchAgent"), false, std::nullopt}}}));
    EXPECT_TRUE(programs.started.empty());
}

TEST_F(LocalLLMInstallerTest, detectsWhatIsThereWithItsPath) {
    place(usr + QStringLiteral("/brew"));
    place(local + QStringLiteral("/uv"));
    placeServer();
    place(plist);
    EXPECT_EQ(installer.detect(),
              (LocalLLMInstaller::Status{
                  {{QStringLiteral("brew"), QStringLiteral("Homebrew"), true, usr + QStringLiteral("/brew")},
                   {QStringLiteral("uv"), QStringLiteral("uv"), true, local + QStringLiteral("/uv")},
                   {QStringLiteral("mlx"), QStringLiteral("mlx-lm"), true, local + QStringLiteral("/mlx_lm.server")},
                   {QStringLiteral("plist"), QStringLiteral("LaunchAgent"), true, plist}}}));
}

TEST_F(LocalLLMInstallerTest, takesTheFirstThatExists) {
    const QString first = root.filePath(QStringLiteral("a"));
    const QString second = root.filePath(QStringLiteral("b"));
    EXPECT_EQ(LocalLLMInstaller::firstExisting({}), std::nullopt);
    EXPECT_EQ(LocalLLMInstaller::firstExisting({first, second}), std::nullopt);
    place(second);
    EXPECT_EQ(LocalLLMInstaller::firstExisting({first, second}), second);
    place(first);
    EXPECT_EQ(LocalLLMInstaller::firstExisting({first, second}), first);
    ASSERT_TRUE(QFile::remove(first));
    ASSERT_TRUE(QFile::link(root.filePath(QStringLiteral("gone")), first)); // leads nowhere
    EXPECT_EQ(LocalLLMInstaller::firstExisting({first, second}), second);
}

TEST_F(LocalLLMInstallerTest, installsEverythingInItsOrder) {
    placeBrew();
    programs.scripts[installUv()] = {.pieces = {"==> Pouring uv\n"}, .effect = [this] { placeUv(); }};
    programs.scripts[installMlx()] = {.pieces = {"Resolved 30 packages\nInst", "alled\n"},
                                      .effect = [this] { placeServer(); }};
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(programs.startedWords(), QStringList({installUv(), installMlx(), bootout, bootstrap, kickstart}));
    EXPECT_EQ(log,
              QStringList({QStringLiteral("▶︎ brew install uv"), QStringLiteral("==> Pouring uv"),
                           QStringLiteral("▶︎ uv tool install --python 3.11 mlx-lm"),
                           QStringLiteral("Resolved 30 packages"), QStringLiteral("Inst"), QStringLiteral("alled")}) +
                  lastLines);
    EXPECT_EQ(clock.asked, std::vector<std::chrono::nanoseconds>{500ms});
    EXPECT_TRUE(installer.detect().components[3].installed);
}

TEST_F(LocalLLMInstallerTest, aSecondInstallationRewritesAndReloadsAndInstallsNoPackage) {
    placeBrew();
    programs.scripts[installUv()] = {.effect = [this] { placeUv(); }};
    programs.scripts[installMlx()] = {.effect = [this] { placeServer(); }};
    ASSERT_EQ(install(), QString());
    const QByteArray first = contentOf(plist);
    place(plist, "something older");
    log.clear();
    programs.started.clear();
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(log,
              QStringList({QStringLiteral("✓ uv déjà présent"), QStringLiteral("✓ mlx-lm déjà installé")}) + lastLines);
    EXPECT_EQ(programs.startedWords(), QStringList({bootout, bootstrap, kickstart}));
    EXPECT_EQ(contentOf(plist), first);
}

TEST_F(LocalLLMInstallerTest, withUvThereOnlyTheServerIsInstalled) {
    placeBrew();
    placeUv();
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(log.mid(0, 2), QStringList({QStringLiteral("✓ uv déjà présent"),
                                          QStringLiteral("▶︎ uv tool install --python 3.11 mlx-lm")}));
    EXPECT_EQ(programs.startedWords().first(), installMlx());
}

TEST_F(LocalLLMInstallerTest, withTheServerThereUvIsInstalledAllTheSame) {
    placeBrew();
    placeServer();
    programs.scripts[installUv()] = {.effect = [this] { placeUv(); }};
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(log.mid(0, 2),
              QStringList({QStringLiteral("▶︎ brew install uv"), QStringLiteral("✓ mlx-lm déjà installé")}));
}

TEST_F(LocalLLMInstallerTest, reliesOnItsFirstLook) {
    placeBrew();
    // Homebrew brings the server along, which the first look couldn't know.
    programs.scripts[installUv()] = {.effect = [this] {
        placeUv();
        placeServer();
    }};
    EXPECT_EQ(install(), QString());
    EXPECT_TRUE(programs.startedWords().contains(installMlx()));
}

TEST_F(LocalLLMInstallerTest, needsHomebrewEvenWhereUvIs) {
    place(local + QStringLiteral("/uv"));
    EXPECT_EQ(install(), InstallError::brewMissing(site).errorDescription());
    EXPECT_TRUE(log.isEmpty());
    EXPECT_TRUE(programs.started.empty());
    EXPECT_FALSE(QFile::exists(plist));
    EXPECT_FALSE(QFile::exists(home + QStringLiteral("/.vennic-local-llm")));

    const QString words = local + QStringLiteral("/uv tool run --from mlx-lm mlx_lm.generate --model ") + model +
                          QStringLiteral(" --prompt hi --max-tokens 1");
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), QString());
    EXPECT_EQ(programs.startedWords(), QStringList{words});
}

TEST_F(LocalLLMInstallerTest, aUvThatHomebrewDidNotBringIsMissedWhenItIsStarted) {
    placeBrew();
    programs.scripts[installMlx()] = {.unstartable = QStringLiteral("Aucun fichier de ce type")};
    EXPECT_EQ(install(), QStringLiteral("Aucun fichier de ce type"));
}

TEST_F(LocalLLMInstallerTest, aFailingStepIsToldWithItsCommandAndWhatWasDoneStays) {
    placeBrew();
    programs.scripts[installUv()] = {.pieces = {"Error: no bottle\n"}, .status = 1};
    EXPECT_EQ(install(), QStringLiteral("Échec (1) : ") + installUv());
    EXPECT_EQ(log, QStringList({QStringLiteral("▶︎ brew install uv"), QStringLiteral("Error: no bottle")}));
    EXPECT_EQ(programs.startedWords(), QStringList{installUv()});

    programs.scripts[installUv()] = {.effect = [this] { placeUv(); }};
    programs.scripts[installMlx()] = {.status = 3};
    EXPECT_EQ(install(), QStringLiteral("Échec (3) : ") + installMlx());
    EXPECT_FALSE(QFile::exists(plist));

    programs.scripts[installMlx()] = {.effect = [this] { placeServer(); }};
    log.clear();
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(log.first(), QStringLiteral("✓ uv déjà présent"));
}

TEST_F(LocalLLMInstallerTest, aCommandThatCannotBeStartedFailsInTheSystemsWords) {
    placeBrew();
    programs.scripts[installUv()] = {.unstartable = QStringLiteral("Permission non accordée")};
    EXPECT_EQ(install(), QStringLiteral("Permission non accordée"));
}

TEST_F(LocalLLMInstallerTest, aFileThatCannotBeWrittenFailsAndTheEarlierStepsStay) {
    placeBrew();
    placeUv();
    place(home + QStringLiteral("/Library")); // a file where a folder is needed
    programs.scripts[installMlx()] = {.effect = [this] { placeServer(); }};
    EXPECT_EQ(install(), QStringLiteral("Le dossier ") + home +
                             QStringLiteral("/Library/LaunchAgents ne peut pas être créé : ce n'est pas un dossier"));
    EXPECT_EQ(log.last(), QStringLiteral("▶︎ écriture du LaunchAgent"));
    EXPECT_EQ(programs.startedWords(), QStringList{installMlx()});
    EXPECT_TRUE(installer.detect().components[2].installed);

    ASSERT_TRUE(QFile::remove(home + QStringLiteral("/Library")));
    ASSERT_TRUE(QDir().mkpath(plist)); // a folder where the file is needed
    EXPECT_EQ(install(), plist + QStringLiteral(" ne peut pas être écrit : c'est un dossier"));
}

TEST_F(LocalLLMInstallerTest, aBootstrapThatFailsIsTheCallersToKnow) {
    placeBrew();
    placeUv();
    placeServer();
    programs.scripts[bootstrap] = {.pieces = {"Bootstrap failed: 5: Input/output error\n"}, .status = 5};
    EXPECT_EQ(install(), QStringLiteral("Échec (5) : ") + bootstrap);
    EXPECT_EQ(programs.startedWords(), QStringList({bootout, bootstrap}));
    EXPECT_EQ(log.last(), QStringLiteral("Bootstrap failed: 5: Input/output error"));
    EXPECT_TRUE(QFile::exists(plist));
}

TEST_F(LocalLLMInstallerTest, whatComesOfBootoutAndKickstartIsPassedOver) {
    programs.scripts[bootout] = {.pieces = {"Boot-out failed: 3: No such process\n"}, .status = 3};
    programs.scripts[kickstart] = {.status = 113};
    EXPECT_EQ(outcome(installer.reloadLaunchAgent(onLine())), QString());
    EXPECT_EQ(log, QStringList{QStringLiteral("Boot-out failed: 3: No such process")});

    programs.scripts[bootout] = {.unstartable = QStringLiteral("absent")};
    programs.scripts[kickstart] = {.unstartable = QStringLiteral("absent")};
    EXPECT_EQ(outcome(installer.reloadLaunchAgent(onLine())), QString());
    EXPECT_EQ(programs.startedWords().mid(3), QStringList({bootout, bootstrap, kickstart}));
}

TEST_F(LocalLLMInstallerTest, theLabelHasHalfASecondToBeFree) {
    Scope scope;
    std::optional<QString> end;
    scope.start(keep(installer.reloadLaunchAgent(onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    EXPECT_EQ(programs.startedWords(), QStringList{bootout});
    clock.advance(499ms);
    QCoreApplication::processEvents();
    EXPECT_EQ(programs.started.size(), 1u);
    clock.advance(1ms);
    EXPECT_TRUE(test::waitUntil([&] { return end.has_value(); }));
}

TEST_F(LocalLLMInstallerTest, thePropertyListNamesNoModel) {
    installer.writeLaunchAgent(model);
    const QByteArray written = contentOf(plist);
    EXPECT_TRUE(written.contains("<string>com.vennic.local-llm</string>"));
    EXPECT_FALSE(written.contains("Modele"));
    EXPECT_FALSE(written.contains("org/"));
    EXPECT_TRUE(QFileInfo(home + QStringLiteral("/.vennic-local-llm")).isDir());
    installer.writeLaunchAgent(QStringLiteral("another"));
    EXPECT_EQ(contentOf(plist), written);
}

TEST_F(LocalLLMInstallerTest, aDownloadIsAGenerationOfOneToken) {
    placeUv();
    programs.scripts[download()] = {.pieces = {"Fetching 9 files\n", "==========\nBonjour\n"}};
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), QString());
    EXPECT_EQ(programs.startedWords(), QStringList{download()});
    EXPECT_EQ(log,
              QStringList({QStringLiteral("▶︎ Téléchargement du modèle org/Un-Modele-MLX-4bit"),
                           QStringLiteral("Fetching 9 files"), QStringLiteral("=========="), QStringLiteral("Bonjour"),
                           QStringLiteral("✓ Modèle org/Un-Modele-MLX-4bit téléchargé.")}));
}

TEST_F(LocalLLMInstallerTest, aDownloadThatFailsSaysHow) {
    placeUv();
    programs.scripts[download()] = {.status = 1};
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), QStringLiteral("Échec (1) : ") + download());
    EXPECT_EQ(log.size(), 1);
}

TEST_F(LocalLLMInstallerTest, withoutUvThereIsNoDownload) {
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), InstallError::brewMissing(site).errorDescription());
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(LocalLLMInstallerTest, outputThatIsNoTextIsPassedOverAndEndsNothing) {
    placeUv();
    programs.scripts[download()] = {
        .pieces = {"a\n\xff\xfe\n", "\n\n", "b", QByteArray(64 << 10, 'x'), "\xc3", "\xa9"}};
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), QString());
    EXPECT_EQ(log.mid(1, 2), QStringList({QStringLiteral("b"), QString(64 << 10, u'x')}));
    EXPECT_EQ(log.size(), 4);
}

TEST_F(LocalLLMInstallerTest, aCommandThatHangsIsEndedByCancellingAndNothingComesAfterIt) {
    placeBrew();
    programs.scripts[installUv()] = {.awaited = std::make_shared<Event<>>()};
    Scope scope;
    std::optional<QString> end;
    Job job = scope.start(keep(installer.install(model, onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return !programs.started.empty(); }));
    job.cancel();
    EXPECT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_FALSE(end);
    EXPECT_EQ(log, QStringList{QStringLiteral("▶︎ brew install uv")});
    EXPECT_EQ(programs.started.size(), 1u);
}

// Cancelling a reload

TEST_F(LocalLLMInstallerTest, aReloadThatIsCancelledBeforeItBeginsTakesNoServerAway) {
    Scope scope;
    std::optional<QString> end;
    scope.start(keep(installer.reloadLaunchAgent(onLine()), &end)).cancel();
    EXPECT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_FALSE(end);
    EXPECT_TRUE(programs.started.empty());
}

TEST_F(LocalLLMInstallerTest, aReloadThatHasBegunStartsTheServerAlsoWhenItIsCancelled) {
    auto ended = std::make_shared<Event<>>();
    programs.scripts[bootout].awaited = ended;
    Scope scope;
    std::optional<QString> end;
    Job job = scope.start(keep(installer.reloadLaunchAgent(onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return !programs.started.empty(); }));
    EXPECT_TRUE(installer.isReloading());
    job.cancel();
    ended->set();
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    clock.advance(500ms);
    ASSERT_TRUE(test::waitUntil([&] { return end.has_value(); }));
    EXPECT_EQ(end, QString());
    EXPECT_EQ(programs.startedWords(), QStringList({bootout, bootstrap, kickstart}));
    EXPECT_FALSE(installer.isReloading());
}

TEST_F(LocalLLMInstallerTest, anInstallationThatIsCancelledWithinTheHalfSecondIsFinished) {
    placeBrew();
    placeUv();
    placeServer();
    Scope scope;
    std::optional<QString> end;
    Job job = scope.start(keep(installer.install(model, onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    job.cancel();
    QCoreApplication::processEvents();
    clock.advance(500ms);
    ASSERT_TRUE(test::waitUntil([&] { return end.has_value(); }));
    EXPECT_EQ(programs.startedWords(), QStringList({bootout, bootstrap, kickstart}));
    EXPECT_EQ(log.last(), lastLines.last());
}

TEST_F(LocalLLMInstallerTest, aReloadThatHangsCanBeGivenUpAndTheNextOneRuns) {
    programs.scripts[bootstrap].awaited = std::make_shared<Event<>>();
    Scope scope;
    std::optional<QString> end;
    scope.start(keep(installer.reloadLaunchAgent(onLine()), &end));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    clock.advance(500ms);
    ASSERT_TRUE(test::waitUntil([&] { return programs.started.size() == 2; }));
    installer.giveUpReload();
    EXPECT_TRUE(test::waitUntil([&] { return scope.size() == 0; }));
    EXPECT_FALSE(end);
    EXPECT_FALSE(installer.isReloading());
    EXPECT_EQ(programs.startedWords(), QStringList({bootout, bootstrap}));

    programs.scripts.clear();
    EXPECT_EQ(outcome(installer.reloadLaunchAgent(onLine())), QString());
}

TEST_F(LocalLLMInstallerTest, whoAwaitsAReloadHearsOfItsEnd) {
    const auto await = [](Task<> task, bool* over) -> Task<> {
        co_await task;
        *over = true;
    };
    Scope scope;
    bool isOver = false;
    scope.start(await(installer.reloaded(), &isOver));
    EXPECT_TRUE(test::waitUntil([&] { return isOver; })) << "none runs";
    isOver = false;
    std::optional<QString> end;
    scope.start(keep(installer.reloadLaunchAgent(onLine()), &end));
    scope.start(await(installer.reloaded(), &isOver));
    ASSERT_TRUE(test::waitUntil([&] { return clock.sleeping() == 1; }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(isOver);
    clock.advance(500ms);
    EXPECT_TRUE(test::waitUntil([&] { return isOver; }));
    EXPECT_TRUE(programs.startedWords().contains(bootstrap));
}

TEST_F(LocalLLMInstallerTest, onLinuxTheSameLinesAreToldAndTheBackendOfThePlatformIsAskedFor) {
    RuntimePaths linux = RuntimePaths::ofSystemd(home, home + QStringLiteral("/.config"));
    linux.brew = paths().brew;
    linux.uv = paths().uv;
    LocalLLMInstaller onLinux({linux, programs, services, clock, site});
    placeBrew();
    placeUv();
    EXPECT_EQ(outcome(onLinux.install(model, onLine())), QString());
    EXPECT_EQ(log.value(1), QStringLiteral("▶︎ uv tool install --python 3.11 mlx-lm"));
    const ProgramCommand& command = programs.started.at(0);
    EXPECT_EQ(command.arguments.last(), QStringLiteral("mlx-lm[cpu]"));
    EXPECT_EQ(command.variables, linux.toolVariables);
    EXPECT_EQ(outcome(onLinux.downloadModel(model, onLine())), QString());
    EXPECT_EQ(programs.started.back().arguments.value(3), QStringLiteral("mlx-lm[cpu]"));
    EXPECT_EQ(programs.started.back().variables, linux.toolVariables);
}

} // namespace
} // namespace vennic
