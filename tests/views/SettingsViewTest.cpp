#include "settings/SettingsView.h"

#include "Bridge/BridgeWorld.h"
#include "core/SessionFixture.h"
#include "fakes/FolderPickerFake.h"
#include "support/LocalRuntimeWorld.h"

namespace vennic {
namespace {

struct SettingsViewTest : test::SessionFixture {
    test::BridgeWorld world;
    test::FolderPickerFake picker;
    test::LocalRuntimeWorld runtime;
    test::TestClock clock;
    std::unique_ptr<SettingsView> own;

    SettingsView& view() {
        if (!own)
            own = std::make_unique<SettingsView>(
                store,
                GeneralSettingsTab::Surroundings{session(), store, keychain, http, config, clock, [](const QUrl&) {},
                                                 [] { return QString(); }},
                BridgeSettingsView::Surroundings{session(), world.grants, *world.service, world.bookmarks, *world.files,
                                                 picker, clock},
                runtime.surroundings(session(), http, config, clock));
        return *own;
    }
};

TEST_F(SettingsViewTest, theTabsThatHaveABodyAreOffered) {
    QStringList tabs;
    for (const QVariant& tab : view().tabs())
        for (const char* part : {"name", "title", "symbol"})
            tabs.append(tab.toMap().value(QLatin1String(part)).toString());
    EXPECT_EQ(tabs, (QStringList{QStringLiteral("general"), QStringLiteral("Général"), QStringLiteral("gearshape"),
                                 QStringLiteral("bridge"), QStringLiteral("Bridge local"),
                                 QStringLiteral("externaldrive.connected.to.line.below"), QStringLiteral("localLlm"),
                                 QStringLiteral("LLM local"), QStringLiteral("cpu")}));
}

TEST_F(SettingsViewTest, theWindowOpensOnTheTabThatThePreferencesName) {
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
    putText("settingsInitialTab", "bridge");
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("bridge")) << "asked for while it is open";
    view().disappear();
    putText("settingsInitialTab", "localLlm");
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("localLlm"));
    view().disappear();
    for (const char* word : {"hallwarden", "localllm", "Bridge", ""}) {
        putText("settingsInitialTab", word);
        view().appear();
        EXPECT_EQ(view().selected(), QStringLiteral("general")) << word;
    }
    put("settingsInitialTab", qint64{1});
    view().appear();
    EXPECT_EQ(view().selected(), QStringLiteral("general"));
}

TEST_F(SettingsViewTest, aTabIsChosenByItsName) {
    int changes = 0;
    QObject::connect(&view(), &SettingsView::selectedChanged, [&] { ++changes; });
    view().setSelected(QStringLiteral("bridge"));
    view().setSelected(QStringLiteral("bridge"));
    view().setSelected(QStringLiteral("nowhere"));
    EXPECT_EQ(view().selected(), QStringLiteral("bridge"));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(stored("settingsInitialTab"), std::nullopt) << "the next opening begins anew";
}

TEST_F(SettingsViewTest, theLocalModelsServerIsAskedOnlyWhenItsTabIsLookedAt) {
    transport.responder = [](const HttpRequest&) { return HttpResponse{200, {}, "{}"}; };
    view().appear();
    settle();
    EXPECT_TRUE(transport.requests.empty());
    view().setSelected(QStringLiteral("localLlm"));
    ASSERT_TRUE(test::waitUntil([this] { return view().localLlm()->health() == LocalLLMSettingsView::Health::ok; }));
    const auto asked = transport.requests.size();
    view().setSelected(QStringLiteral("general"));
    settle();
    EXPECT_EQ(transport.requests.size(), asked);
    view().disappear();
    putText("settingsInitialTab", "localLlm");
    view().appear();
    ASSERT_TRUE(test::waitUntil([&] { return transport.requests.size() == 2 * asked; })) << "with the window, too";
}

TEST_F(SettingsViewTest, whatRunsForTheLocalModelGoesOnWhileAnotherTabIsLookedAtAndEndsWithTheWindow) {
    runtime.haveTools();
    const auto never = std::make_shared<Event<>>();
    runtime.programs.scripts[runtime.installServer()].awaited = never;
    putText("settingsInitialTab", "localLlm");
    view().appear();
    view().localLlm()->runInstall();
    settle();
    view().setSelected(QStringLiteral("general"));
    settle();
    EXPECT_TRUE(view().localLlm()->isInstalling());
    view().disappear();
    EXPECT_TRUE(test::waitUntil([this] { return !view().localLlm()->isInstalling(); }));
}

TEST_F(SettingsViewTest, theTokenIsReadOncePerOpeningAndForgottenAtItsEnd) {
    put("highSecurityMode", true);
    signedIn();
    view();
    credentials.prompts.clear();
    view().appear();
    view().appear();
    settleEverywhere();
    EXPECT_EQ(credentials.prompts.size(), 1u);
    EXPECT_EQ(view().general()->tokenDraft()->length(), 3);
    view().disappear();
    view().disappear();
    EXPECT_EQ(view().general()->tokenDraft()->length(), 0);
    view().appear();
    settleEverywhere();
    EXPECT_EQ(credentials.prompts.size(), 2u);
}

} // namespace
} // namespace vennic
