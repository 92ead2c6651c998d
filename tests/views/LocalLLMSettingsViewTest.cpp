#include "localllm/LocalLLMSettingsView.h"

#include "core/SessionFixture.h"
#include "support/LocalRuntimeWorld.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;
using test::waitUntil;

const QString usual = QStringLiteral("Qwen/Qwen3-14B-MLX-4bit"); // what a new session has
const QString small = QStringLiteral("mlx-community/Qwen3-4B-4bit");
const QByteArray listing = R"({"data":[{"id":"a"},{"id":"b"}]})";

struct LocalLLMSettingsViewTest : test::SessionFixture {
    test::LocalRuntimeWorld world;
    test::TestClock clock;
    int status = 200;               // of the server
    QByteArray models = listing;    // what it lists
    QByteArray catalogue;           // of the backend; empty while it can't be reached
    std::shared_ptr<Event<>> never; // what hangs awaits it
    std::unique_ptr<LocalLLMSettingsView> own;

    LocalLLMSettingsViewTest() {
        transport.responder = [this](const HttpRequest& request) -> test::HttpTransportFake::Outcome {
            if (request.url.path().endsWith(QStringLiteral("catalog.json"))) {
                if (catalogue.isEmpty())
                    return TransportFault::noNetwork;
                return HttpResponse{200, {}, catalogue};
            }
            if (request.url.path().endsWith(QStringLiteral("/completions")))
                return HttpResponse{200, {}, R"({"choices":[{"message":{"content":"Bonjour"}}]})"};
            return HttpResponse{status, {}, models};
        };
    }

    LocalLLMSettingsView& view() {
        if (!own)
            own = std::make_unique<LocalLLMSettingsView>(world.surroundings(session(), http, config, clock));
        return *own;
    }
    /// Runs to where nothing goes on by itself.
    void rest() { settle(); }
    void until(const std::function<bool()>& done) { ASSERT_TRUE(waitUntil(done)); }
    /// Lets the service's label become free.
    void passReload() {
        until([this] { return clock.sleeping() > 0; });
        clock.advance(500ms);
        rest();
    }
    void shown() {
        view().appear();
        until([this] { return view().healthStatus() == HealthStatus::ok(); });
        transport.requests.clear();
    }
    std::size_t checks() const {
        return static_cast<std::size_t>(std::ranges::count_if(transport.requests, [](const HttpRequest& request) {
            return request.url.path().endsWith(QStringLiteral("/models"));
        }));
    }
    void hangs(const QString& command) {
        never = std::make_shared<Event<>>();
        world.programs.scripts[command].awaited = never;
    }
};

// Coming up

TEST_F(LocalLLMSettingsViewTest, beforeAnythingWasDoneThereIsNothingToTell) {
    world.haveTools();
    EXPECT_EQ(view().healthStatus(), HealthStatus::unknown());
    EXPECT_EQ(view().healthLabel(), QStringLiteral("Non vérifié"));
    EXPECT_TRUE(view().availableModels().isEmpty());
    EXPECT_EQ(view().testOutput() + view().testError() + view().installError() + view().downloadingId(), QString());
    EXPECT_TRUE(view().installLog().isEmpty());
    EXPECT_FALSE(view().isTesting() || view().isInstalling() || view().isRestarting() || view().isApplying());
    EXPECT_EQ(view().pendingDeleteModel(), std::nullopt);
    EXPECT_EQ(view().catalogModels(), LocalLLMCatalog::models());
    EXPECT_EQ(view().installStatus(), world.installer->detect());
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(LocalLLMSettingsViewTest, comingUpItLooksAtTheDiskThenAsksTheBackendThenTheServer) {
    view();
    world.haveEverything();
    world.haveModel(small);
    catalogue = R"({"models":[{"id":"x/y","display_name":"Y","size_gb":1,"ram_gb":2,"tokens_per_sec":3}]})";
    transport.hold();
    view().appear();
    until([this] { return transport.waiting() == 1; });
    EXPECT_EQ(view().installStatus(), world.installer->detect());
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{small});
    EXPECT_EQ(view().healthStatus(), HealthStatus::unknown());
    transport.release();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    ASSERT_EQ(view().catalogModels().size(), 1u);
    EXPECT_EQ(view().catalogModels().front().displayName, QStringLiteral("Y"));
    EXPECT_EQ(view().availableModels(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    ASSERT_EQ(transport.requests.size(), 2u);
    EXPECT_EQ(transport.requests[1].url.toString(), QStringLiteral("http://localhost:8080/v1/models"));
}

TEST_F(LocalLLMSettingsViewTest, aCatalogueThatCannotBeHadLeavesTheCuratedOne) {
    for (const char* answer : {"", "pas du JSON", R"({"models":[]})"}) {
        catalogue = answer;
        shown();
        EXPECT_EQ(view().catalogModels(), LocalLLMCatalog::models()) << answer;
        EXPECT_EQ(view().installError(), QString());
    }
}

TEST_F(LocalLLMSettingsViewTest, theComponentsHaveTheirNamesAndPlaces) {
    world.haveTools();
    const QVariantList rows = view().components();
    ASSERT_EQ(rows.size(), 4);
    const QVariantMap brew = rows[0].toMap();
    EXPECT_EQ(brew.value(QStringLiteral("label")).toString(), QStringLiteral("Homebrew"));
    EXPECT_TRUE(brew.value(QStringLiteral("installed")).toBool());
    EXPECT_EQ(brew.value(QStringLiteral("detail")).toString(), world.paths.brew.first());
    EXPECT_FALSE(rows[2].toMap().value(QStringLiteral("installed")).toBool());
    EXPECT_EQ(rows[3].toMap().value(QStringLiteral("detail")).toString(), QString());
}

TEST_F(LocalLLMSettingsViewTest, theSwitchAndTheAddressAreTheSessionsOwn) {
    view().setLocalLLMEnabled(true);
    view().setLocalLLMEndpoint(QStringLiteral("http://atelier:9/v1"));
    EXPECT_EQ(stored("localLLMEnabled"), StoredValue(true));
    EXPECT_EQ(stored("localLLMEndpoint"), StoredValue(QStringLiteral("http://atelier:9/v1")));
    int told = 0;
    QObject::connect(&view(), &LocalLLMSettingsView::localLLMEnabledChanged, [&] { ++told; });
    QObject::connect(&view(), &LocalLLMSettingsView::localLLMEndpointChanged, [&] { ++told; });
    session().setLocalLLMEnabled(false);
    session().setLocalLLMEndpoint(QStringLiteral("http://ici/v1"));
    EXPECT_EQ(told, 2);
    EXPECT_FALSE(view().localLLMEnabled());
    EXPECT_EQ(view().localLLMEndpoint(), QStringLiteral("http://ici/v1"));
}

TEST_F(LocalLLMSettingsViewTest, theMemoryIsToldWithWhatItMeans) {
    EXPECT_EQ(view().memoryNote(), QStringLiteral("RAM détectée : 16 GB. Les modèles qui dépassent la RAM disponible "
                                                  "swapperont — à éviter."));
    own.reset();
    world.memory.told.total = 15'600LL << 20;
    EXPECT_TRUE(view().memoryNote().startsWith(QStringLiteral("RAM détectée : 15 GB.")));
    own.reset();
    world.memory.told.total.reset();
    EXPECT_EQ(view().memoryNote(), QString());
}

// The check

TEST_F(LocalLLMSettingsViewTest, aCheckForgetsTheModelsAndListsThemAnew) {
    shown();
    models = R"({"data":[{"id":"c"}]})";
    transport.hold();
    view().checkHealth();
    until([this] { return transport.waiting() == 1; });
    EXPECT_EQ(view().healthStatus(), HealthStatus::checking());
    EXPECT_TRUE(view().availableModels().isEmpty());
    view().checkHealth();
    rest();
    EXPECT_EQ(transport.waiting(), 1u) << "one check at a time";
    transport.release();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    EXPECT_EQ(view().availableModels(), QStringList{QStringLiteral("c")});
}

TEST_F(LocalLLMSettingsViewTest, aServerThatAnswers503IsDown) {
    status = 503;
    view().checkHealth();
    until([this] { return view().health() == LocalLLMSettingsView::Health::down; });
    EXPECT_EQ(view().healthLabel(), QStringLiteral("Hors ligne : HTTP 503"));
}

TEST_F(LocalLLMSettingsViewTest, anAddressThatIsNoneIsDownAndLeavesTheModelsStanding) {
    shown();
    session().setLocalLLMEndpoint(QStringLiteral("localhost"));
    view().checkHealth();
    until([this] { return view().healthStatus() == HealthStatus::down(QStringLiteral("URL invalide")); });
    EXPECT_EQ(view().availableModels().size(), 2);
    EXPECT_TRUE(transport.requests.empty());
}

TEST_F(LocalLLMSettingsViewTest, aBodyThatIsNoJSONStillCountsAsUp) {
    models = "<html>";
    view().checkHealth();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    EXPECT_TRUE(view().availableModels().isEmpty());
}

TEST_F(LocalLLMSettingsViewTest, aServerThatHangsIsLetGoWithTheWindow) {
    transport.hold();
    view().appear();
    until([this] { return transport.waiting() == 1; });
    view().disappear();
    until([this] { return transport.cancelled == 1; });
    view().checkHealth();
    until([this] { return transport.waiting() == 1; });
    view().disappear();
    until([this] { return transport.cancelled == 2; });
    EXPECT_EQ(view().healthStatus(), HealthStatus::unknown());
}

// Polling

TEST_F(LocalLLMSettingsViewTest, pollingEndsAtTheFirstAnswer) {
    status = 503;
    Scope scope;
    bool ended = false;
    scope.start([](LocalLLMSettingsView* view, bool* ended) -> Task<> {
        co_await view->pollHealthUntilUp(45s);
        *ended = true;
    }(&view(), &ended));
    for (std::size_t asked = 1; asked <= 5; ++asked) {
        until([&] { return clock.sleeping() == 1 && checks() == asked; });
        EXPECT_EQ(view().healthLabel(), QStringLiteral("Hors ligne : HTTP 503"));
        if (asked == 5)
            status = 200;
        clock.advance(2s);
    }
    until([&] { return ended; });
    EXPECT_EQ(checks(), 6u);
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
    EXPECT_EQ(clock.elapsed(), 10s);
}

TEST_F(LocalLLMSettingsViewTest, pollingThatRunsOutLeavesWhatTheLastCheckSaid) {
    status = 500;
    Scope scope;
    bool ended = false;
    scope.start([](LocalLLMSettingsView* view, bool* ended) -> Task<> {
        co_await view->pollHealthUntilUp(5s);
        *ended = true;
    }(&view(), &ended));
    for (std::size_t asked = 1; asked <= 3; ++asked) {
        until([&] { return clock.sleeping() == 1 && checks() == asked; });
        EXPECT_FALSE(ended);
        clock.advance(2s);
    }
    until([&] { return ended; });
    EXPECT_EQ(checks(), 3u); // at 0, 2 and 4 seconds
    EXPECT_EQ(view().healthLabel(), QStringLiteral("Hors ligne : HTTP 500"));
}

// Restarting and applying

TEST_F(LocalLLMSettingsViewTest, restartingWritesTheServiceReloadsItAndPolls) {
    world.haveEverything();
    shown();
    status = 503;
    world.programs.scripts[world.bootstrap()].pieces = {"chargé\n"};
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

TEST_F(LocalLLMSettingsViewTest, restartingPollsForFortyFiveSecondsAndApplyingForTwoMinutes) {
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

TEST_F(LocalLLMSettingsViewTest, applyingLooksForDownloadsBeforeItPolls) {
    world.haveEverything();
    shown();
    status = 503;
    view().applyModel();
    world.haveModel(small);
    passReload();
    until([this] { return checks() == 1; });
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{small});
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Modèle appliqué."));
}

TEST_F(LocalLLMSettingsViewTest, aReloadThatFailsIsToldAndNotPolled) {
    world.haveEverything();
    shown();
    world.programs.scripts[world.bootstrap()].status = 5;
    view().restartServer();
    passReload();
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (5) : ") + world.bootstrap());
    EXPECT_EQ(checks(), 0u);
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok()) << "what stood before stands";
    world.programs.scripts.clear();
    view().applyModel();
    EXPECT_EQ(view().installError(), QString()) << "the next action forgets it";
    EXPECT_TRUE(view().installLog().isEmpty());
}

TEST_F(LocalLLMSettingsViewTest, aServiceFileThatCannotBeWrittenIsToldToo) {
    test::LocalRuntimeWorld::makeFile(QFileInfo(world.paths.serviceFile).path()); // a file where its folder should be
    view().applyModel();
    until([this] { return !view().isApplying(); });
    EXPECT_TRUE(view().installError().endsWith(QStringLiteral("ne peut pas être créé.")));
    EXPECT_TRUE(world.programs.started.empty());
}

TEST_F(LocalLLMSettingsViewTest, aServerThatIsBeingTakenAwayIsNotTakenAwayAgain) {
    world.haveEverything();
    shown();
    hangs(world.bootstrap());
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

TEST_F(LocalLLMSettingsViewTest, installingTellsItsStepsLooksAgainAndPolls) {
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

TEST_F(LocalLLMSettingsViewTest, ofTwoHundredAndFiftyLinesTheLastTwoHundredStay) {
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

TEST_F(LocalLLMSettingsViewTest, aStepThatFailsIsToldAndWhatWasFoundBeforeStands) {
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

TEST_F(LocalLLMSettingsViewTest, withoutThePackageManagerItSaysWhereToGetIt) {
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Homebrew est requis. Installe-le depuis ") +
                                         config.deployment().packageManagerSite + QStringLiteral(" puis relance."));
    view().openPackageManagerSite();
    EXPECT_EQ(world.opened, std::vector<QUrl>{QUrl(config.deployment().packageManagerSite)});
}

TEST_F(LocalLLMSettingsViewTest, anInstallationThatHangsEndsWithTheWindow) {
    world.haveTools();
    shown();
    hangs(world.installServer());
    view().runInstall();
    until([this] { return !world.programs.started.empty(); });
    view().runInstall();
    rest();
    EXPECT_EQ(world.programs.started.size(), 1u);
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

TEST_F(LocalLLMSettingsViewTest, pollingEndsWithTheWindow) {
    world.haveEverything();
    shown();
    status = 503;
    view().restartServer();
    passReload();
    until([this] { return clock.sleeping() == 1; });
    view().disappear();
    until([this] { return !view().isRestarting(); });
    rest();
    EXPECT_EQ(clock.sleeping(), 1u) << "what would end a reload that hangs";
}

TEST_F(LocalLLMSettingsViewTest, aServerThatIsBeingStartedIsStartedAlsoWhenTheWindowGoes) {
    world.haveEverything();
    shown();
    view().restartServer();
    until([this] { return clock.sleeping() == 1; });
    view().disappear();
    passReload();
    until([this] { return !view().isRestarting(); });
    EXPECT_TRUE(world.programs.startedWords().contains(world.bootstrap()));
    EXPECT_EQ(checks(), 0u) << "nobody looks";
}

TEST_F(LocalLLMSettingsViewTest, aReloadThatHangsIsGivenUpSomeTimeAfterTheWindowHasGone) {
    world.haveEverything();
    shown();
    hangs(world.bootstrap());
    view().restartServer();
    passReload();
    view().disappear();
    rest();
    EXPECT_TRUE(view().isRestarting());
    clock.advance(100s);
    until([this] { return !view().isRestarting(); });
    EXPECT_EQ(view().installError(), QString());
}

// Downloads

TEST_F(LocalLLMSettingsViewTest, aDownloadShowsItsProgressAsTheToolPrintsIt) {
    world.haveTools();
    shown();
    hangs(world.generate(small));
    world.programs.scripts[world.generate(small)].pieces = {"\rFetching:  10%|#", "\rFetching:  40%|####"};
    world.programs.scripts[world.generate(small)].effect = [this] { world.haveModel(small); };
    view().download(small);
    EXPECT_EQ(view().downloadingId(), small);
    until([this] { return view().downloadPercentage() == 40; });
    EXPECT_EQ(view().downloadProgress(), QStringLiteral("Fetching:  40%|####"));
    EXPECT_EQ(view().shownLog(), (QStringList{QStringLiteral("▶︎ Téléchargement du modèle ") + small,
                                              QStringLiteral("Fetching:  40%|####")}));
    view().download(usual);
    view().askToDelete(small);
    rest();
    EXPECT_EQ(view().downloadingId(), small) << "one at a time";
    EXPECT_FALSE(view().isDeletePending()) << "what is being downloaded isn't deleted";
    never->set();
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{small});
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Modèle ") + small + QStringLiteral(" téléchargé."));
    EXPECT_EQ(view().downloadProgress(), QString());
    EXPECT_EQ(view().downloadPercentage(), -1);
    EXPECT_EQ(world.programs.started.size(), 1u);
}

TEST_F(LocalLLMSettingsViewTest, aDownloadThatFailsIsToldAndCountsForNothing) {
    world.haveTools();
    shown();
    world.programs.scripts[world.generate(small)] = {.pieces = {"pas de place\n"}, .status = 1};
    world.programs.scripts[world.generate(small)].effect = [this] { world.haveModel(small); };
    view().download(small);
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Échec (1) : ") + world.generate(small));
    EXPECT_TRUE(view().downloadedModelIds().isEmpty());
    EXPECT_EQ(view().installLog().last(), QStringLiteral("pas de place"));
}

TEST_F(LocalLLMSettingsViewTest, aDownloadKeepsTheLogOfWhatWasDoneBefore) {
    world.haveTools();
    world.programs.scripts[world.installServer()] = {.pieces = {"avant\n"}, .status = 1};
    view().runInstall();
    until([this] { return !view().isInstalling(); });
    view().download(small);
    EXPECT_EQ(view().installError(), QString());
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_TRUE(view().installLog().contains(QStringLiteral("avant")));
}

TEST_F(LocalLLMSettingsViewTest, aDownloadThatHangsEndsWithTheWindow) {
    world.haveTools();
    shown();
    hangs(world.generate(small));
    view().download(small);
    until([this] { return !world.programs.started.empty(); });
    view().disappear();
    until([this] { return view().downloadingId().isEmpty(); });
    EXPECT_EQ(view().installError(), QString());
}

TEST_F(LocalLLMSettingsViewTest, onlyModelsOfTheCatalogueAreDownloaded) {
    world.haveTools();
    view().download(QStringLiteral("--config=/etc/passwd"));
    EXPECT_EQ(view().downloadingId(), QString());
}

// Deleting

TEST_F(LocalLLMSettingsViewTest, deletingIsAskedFirst) {
    world.haveModel(small);
    shown();
    view().askToDelete(small);
    EXPECT_EQ(view().deleteTitle(), QStringLiteral("Supprimer Qwen3 4B"));
    EXPECT_EQ(view().deleteMessage(),
              QStringLiteral("Les poids seront retirés du cache Hugging Face. Tu pourras re-télécharger à tout moment, "
                             "mais compte 2-20 min selon la taille."));
    view().keepModel();
    EXPECT_FALSE(view().isDeletePending());
    view().deleteModel();
    rest();
    EXPECT_TRUE(world.usage->removed.isEmpty());
}

TEST_F(LocalLLMSettingsViewTest, deletingTellsWhatItFreed) {
    world.haveModel(small);
    shown();
    world.usage->bytes = 2'499'600'000;
    view().askToDelete(small);
    view().deleteModel();
    EXPECT_FALSE(view().isDeletePending());
    until([this] { return !view().installLog().isEmpty(); });
    EXPECT_EQ(view().installLog(), QStringList{QStringLiteral("✓ Qwen3 4B supprimé (2500 MB libérés)")});
    EXPECT_TRUE(view().downloadedModelIds().isEmpty());
    EXPECT_EQ(session().localLLMModel(), usual) << "another one";
}

TEST_F(LocalLLMSettingsViewTest, deletingTheDefaultLeavesNone) {
    world.haveModel(usual);
    session().setSelectedLocalModel(usual);
    shown();
    view().askToDelete(usual);
    view().deleteModel();
    until([this] { return session().localLLMModel().isEmpty(); });
    EXPECT_EQ(session().selectedLocalModel(), QString());
    EXPECT_EQ(stored("localLLMModel"), StoredValue(QString()));
    EXPECT_EQ(stored("selectedLocalModel"), StoredValue(QString()));
    EXPECT_TRUE(view().isCustomModel());
    EXPECT_EQ(view().modelHint(), QStringLiteral("Modèle personnalisé. Le Mac téléchargera les poids depuis Hugging "
                                                 "Face au premier chargement."));
}

TEST_F(LocalLLMSettingsViewTest, aModelThatCannotBeDeletedIsKeptAndSaysWhy) {
    world.haveModel(usual);
    shown();
    world.usage->refuses = true;
    view().askToDelete(usual);
    view().deleteModel();
    until([this] { return !view().installError().isEmpty(); });
    EXPECT_EQ(view().installError(), QStringLiteral("Suppression échouée : Le disque est en lecture seule."));
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{usual});
    EXPECT_EQ(session().localLLMModel(), usual);
    EXPECT_TRUE(view().installLog().isEmpty());
}

TEST_F(LocalLLMSettingsViewTest, aDownloadThatHasGoneAlreadyFreesNothing) {
    shown();
    view().askToDelete(small);
    view().deleteModel();
    until([this] { return !view().installLog().isEmpty(); });
    EXPECT_EQ(view().installLog().last(), QStringLiteral("✓ Qwen3 4B supprimé (0 MB libérés)"));
}

TEST_F(LocalLLMSettingsViewTest, theQuestionGoesWithTheWindow) {
    shown();
    view().askToDelete(small);
    view().disappear();
    EXPECT_FALSE(view().isDeletePending());
}

// The test of the inference

TEST_F(LocalLLMSettingsViewTest, theTestIsShownAndRunsOnce) {
    shown();
    transport.hold();
    view().runTest();
    EXPECT_TRUE(view().isTesting());
    view().runTest();
    until([this] { return transport.waiting() == 1; });
    clock.advance(850ms);
    transport.release();
    until([this] { return !view().isTesting(); });
    EXPECT_EQ(view().testOutput(), QStringLiteral("✓ 850 ms — Bonjour"));
    EXPECT_EQ(transport.requests.size(), 1u);
    session().setLocalLLMEndpoint({});
    view().runTest();
    EXPECT_EQ(view().testOutput(), QString()) << "forgotten at the start of the next";
    until([this] { return !view().isTesting(); });
    EXPECT_EQ(view().testError(), QStringLiteral("URL invalide"));
    EXPECT_EQ(view().testOutput(), QString());
}

TEST_F(LocalLLMSettingsViewTest, aTestThatHangsEndsWithTheWindow) {
    shown();
    transport.hold();
    view().runTest();
    until([this] { return transport.waiting() == 1; });
    view().disappear();
    until([this] { return !view().isTesting(); });
    EXPECT_EQ(transport.cancelled, 1);
    EXPECT_EQ(view().testError(), QString());
}

// The log file

TEST_F(LocalLLMSettingsViewTest, theLogOpensOrElseItsFolder) {
    view().openLogs();
    until([this] { return world.workspace->opened.size() == 1; });
    test::LocalRuntimeWorld::makeFile(world.paths.logFile);
    view().openLogs();
    until([this] { return world.workspace->opened.size() == 2; });
    EXPECT_EQ(world.workspace->opened,
              (QStringList{world.home.filePath(QStringLiteral(".vennic-local-llm")),
                           world.home.filePath(QStringLiteral(".vennic-local-llm/server.log"))}));
}

TEST_F(LocalLLMSettingsViewTest, aLogThatNothingOpensSaysSo) {
    world.workspace->failures[world.paths.logDirectory] = QStringLiteral("Rien n'ouvre ce dossier.");
    view().openLogs();
    until([this] { return view().installError() == QStringLiteral("Rien n'ouvre ce dossier."); });
}

TEST_F(LocalLLMSettingsViewTest, itsEndEndsWhatRuns) {
    world.haveTools();
    shown();
    hangs(world.installServer());
    view().runInstall();
    transport.hold();
    view().runTest();
    until([this] { return !world.programs.started.empty() && transport.waiting() == 1; });
    own.reset();
    EXPECT_EQ(transport.cancelled, 1);
}

} // namespace
} // namespace vennic
