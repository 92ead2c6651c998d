#include "views/LocalLLMSettingsFixture.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;

struct LocalLLMSettingsViewTest : test::LocalLLMSettingsFixture {};

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
    world.haveModel(test::smallModel);
    catalogue = R"({"models":[{"id":"x/y","display_name":"Y","size_gb":1,"ram_gb":2,"tokens_per_sec":3}]})";
    transport.hold();
    view().appear();
    until([this] { return transport.waiting() == 1; });
    EXPECT_EQ(view().installStatus(), world.installer->detect());
    EXPECT_EQ(view().downloadedModelIds(), QSet<QString>{test::smallModel});
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
    EXPECT_EQ(brew.value(QStringLiteral("detail")).toString(), QStringLiteral("~/bin/brew"));
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
    EXPECT_EQ(view().healthStatus(), HealthStatus::checking());
    transport.release();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    EXPECT_EQ(view().availableModels(), QStringList{QStringLiteral("c")});
}

TEST_F(LocalLLMSettingsViewTest, aCheckIsAskedAnewWhereTheServerIsNow) {
    shown();
    transport.hold();
    view().checkHealth();
    until([this] { return transport.waiting() == 1; });
    transport.responder = [](const HttpRequest& request) {
        return HttpResponse{request.url.host() == QStringLiteral("ailleurs") ? 200 : 503, {}, "{}"};
    };
    view().setLocalLLMEndpoint(QStringLiteral("http://ailleurs/v1"));
    view().checkHealth();
    until([this] { return transport.cancelled == 1 && transport.waiting() == 1; });
    EXPECT_EQ(view().healthStatus(), HealthStatus::checking());
    transport.release();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    rest();
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
    EXPECT_EQ(transport.requests.back().url.toString(), QStringLiteral("http://ailleurs/v1/models"));
}

TEST_F(LocalLLMSettingsViewTest, anAnswerThatCameTogetherWithAnotherQuestionIsNotShown) {
    shown();
    std::vector<HealthStatus> told;
    QObject::connect(&view(), &LocalLLMSettingsView::healthStatusChanged,
                     [&] { told.push_back(view().healthStatus()); });
    transport.hold();
    view().checkHealth();
    until([this] { return transport.waiting() == 1; });
    transport.release();
    status = 503;
    view().checkHealth();
    until([this] { return view().health() == LocalLLMSettingsView::Health::down; });
    EXPECT_EQ(std::ranges::count(told, HealthStatus::ok()), 0);
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

TEST_F(LocalLLMSettingsViewTest, controlCharactersOfAServerReachNoScreen) {
    models = R"({"data":[{"id":"a\nb\u0000\u001b[2J\u202ec"},{"id":"é/中"}]})";
    view().checkHealth();
    until([this] { return view().healthStatus() == HealthStatus::ok(); });
    EXPECT_EQ(view().availableModels().first().size(), 10);
    EXPECT_EQ(view().shownModels(),
              (QStringList{QStringLiteral("a\uFFFDb\uFFFD\uFFFD[2J\uFFFDc"), QStringLiteral("é/中")}));
}

TEST_F(LocalLLMSettingsViewTest, aServerThatHangsIsLetGoWithTheWindow) {
    transport.hold();
    view().appear();
    until([this] { return transport.waiting() == 1; });
    view().disappear();
    until([this] { return transport.cancelled == 1; });
    transport.release();
    shown();
    transport.hold();
    view().checkHealth();
    view().disappear(); // before it has begun
    rest();
    transport.release();
    shown();
    EXPECT_EQ(view().healthStatus(), HealthStatus::ok());
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
    EXPECT_EQ(world.programs.running, 1);
    own.reset();
    EXPECT_EQ(transport.cancelled, 1);
    EXPECT_EQ(world.programs.running, 0);
}

} // namespace
} // namespace vennic
