#include "localllm/LocalLLMInstallerFixture.h"

#include <QTranslator>

namespace vennic {
namespace {

using namespace std::chrono_literals;
using test::model;
using test::site;
using LocalLLMInstallerTest = test::LocalLLMInstallerFixture;

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

/// A language in which each text is itself between quotation marks.
class Quoting final : public QTranslator {
public:
    Quoting() { QCoreApplication::installTranslator(this); }
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override {
        return QLatin1String(context) == QLatin1String("vennic") ? u'«' + QString::fromUtf8(text) + u'»' : QString();
    }
};

TEST_F(LocalLLMInstallerTest, itsOwnWordsAreInTheUsersLanguage) {
    const Quoting language;
    EXPECT_EQ(install(),
              QStringLiteral("«Homebrew est requis. Installe-le depuis »") + site + QStringLiteral("« puis relance.»"));
    placeBrew();
    programs.scripts[installUv()] = {.pieces = {"==> Pouring uv\n"}, .effect = [this] { placeUv(); }};
    programs.scripts[installMlx()] = {.status = 3};
    EXPECT_EQ(install(), QStringLiteral("«Échec (3) : »") + installMlx());
    programs.scripts[installMlx()] = {.effect = [this] { placeServer(); }};
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(install(), QString());
    EXPECT_EQ(outcome(installer.downloadModel(model, onLine())), QString());
    for (const QString& line : log)
        EXPECT_TRUE(line.startsWith(u'«') || line == QStringLiteral("==> Pouring uv")) << line.toStdString();
    EXPECT_EQ(log.last(), QStringLiteral("«✓ Modèle »") + model + QStringLiteral("« téléchargé.»"));
}

} // namespace
} // namespace vennic
