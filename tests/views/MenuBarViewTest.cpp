#include "shell/MenuBarView.h"

#include "Bridge/BridgeWorld.h"
#include "core/SessionFixture.h"

namespace vennic {
namespace {

using Content = MenuBarView::Content;
using Color = MenuBarView::Color;
using Status = BridgeService::Status;

const std::vector<Content> every{Content::chat, Content::realtime, Content::microphone};

struct MenuBarViewTest : test::SessionFixture {
    test::BridgeWorld world;
    std::vector<Content> bodies = every;
    std::vector<QUrl> opened;
    int settings = 0;
    int ends = 0;
    std::unique_ptr<MenuBarView> made;

    MenuBarView& view() {
        if (!made)
            made = std::make_unique<MenuBarView>(
                MenuBarView::Surroundings{.session = session(),
                                          .bridge = *world.service,
                                          .http = http,
                                          .config = config,
                                          .bodies = bodies,
                                          .openURL = [this](const QUrl& url) { opened.push_back(url); },
                                          .openSettings = [this] { ++settings; },
                                          .terminate = [this] { ++ends; }});
        return *made;
    }
    Content shown(Mode mode, VoiceMode voice) {
        session().setMode(mode);
        session().setVoiceMode(voice);
        return view().content();
    }
};

TEST_F(MenuBarViewTest, theModeSaysWhatIsShown) {
    EXPECT_EQ(shown(Mode::chat, VoiceMode::pushToTalk), Content::chat);
    EXPECT_EQ(shown(Mode::chat, VoiceMode::realtime), Content::chat);
    EXPECT_EQ(shown(Mode::microphone, VoiceMode::realtime), Content::realtime);
    EXPECT_EQ(shown(Mode::microphone, VoiceMode::pushToTalk), Content::microphone);
}

TEST_F(MenuBarViewTest, aBodyThatThisProgramLacksIsTheChat) {
    bodies = {Content::chat};
    EXPECT_EQ(shown(Mode::microphone, VoiceMode::realtime), Content::chat);
    EXPECT_TRUE(view().canStartDiscussion());
    EXPECT_FALSE(view().modes()->isChoice()) << "one mode is no choice";
}

TEST_F(MenuBarViewTest, theLightSaysHowTheBridgeDoes) {
    EXPECT_EQ(MenuBarView::bridgeColor(Status::busy(BridgeTaskKind::listFolders)), Color::blue);
    EXPECT_EQ(MenuBarView::bridgeColor(Status::error({})), Color::red);
    EXPECT_EQ(MenuBarView::bridgeColor(Status::off()), Color::gray);
    EXPECT_EQ(MenuBarView::bridgeColor(Status::idle()), Color::green);
    EXPECT_EQ(MenuBarView::bridgeColor(Status::polling()), Color::green);
    EXPECT_EQ(MenuBarView::bridgeOpacity(Status::off()), 0.4);
    EXPECT_EQ(MenuBarView::bridgeOpacity(Status::idle()), 1.0);
}

TEST_F(MenuBarViewTest, theLightSaysItInWordsToo) {
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::busy(BridgeTaskKind::listFolders)),
              QStringLiteral("Tâche locale en cours: listFolders"));
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::error(QStringLiteral("Pas de réseau."))),
              QStringLiteral("Connexion locale en erreur: Pas de réseau."));
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::off()), QStringLiteral("Mac non connecté"));
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::idle()), QStringLiteral("Mac connecté"));
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::polling()), QStringLiteral("Mac connecté, en attente"));
}

TEST_F(MenuBarViewTest, theLightFollowsTheBridge) {
    int changes = 0;
    QObject::connect(&view(), &MenuBarView::bridgeChanged, &view(), [&] { ++changes; });
    EXPECT_EQ(view().bridgeHelp(), QStringLiteral("Mac non connecté"));
    world.service->start(SecretText("tok"));
    ASSERT_TRUE(test::waitUntil([&] { return view().bridgeColor() != Color::gray; }));
    EXPECT_GT(changes, 0);
    world.service->stop();
    EXPECT_EQ(view().bridgeHelp(), QStringLiteral("Mac non connecté"));
}

TEST_F(MenuBarViewTest, aNewDiscussionForgetsTheOldOneOnlyInTheChat) {
    session().appendMessage(ChatMessage::make(ChatMessage::Role::user, QStringLiteral("q"), {}));
    session().setDiscussionId(4);
    session().setMode(Mode::microphone);
    EXPECT_FALSE(view().canStartDiscussion());
    view().newDiscussion();
    EXPECT_EQ(session().messages().size(), 1u);
    session().setMode(Mode::chat);
    EXPECT_TRUE(view().canStartDiscussion());
    view().newDiscussion();
    EXPECT_TRUE(session().messages().empty());
    EXPECT_EQ(session().discussionId(), std::nullopt);
}

TEST_F(MenuBarViewTest, itsCommandsReachTheProgram) {
    view().openSettings();
    view().quit();
    EXPECT_EQ(settings, 1);
    EXPECT_EQ(ends, 1);
}

TEST_F(MenuBarViewTest, theLastErrorIsShownUntilItIsTakenAway) {
    EXPECT_EQ(view().lastError(), QString());
    session().setLastError(QStringLiteral("Panne."));
    EXPECT_EQ(view().lastError(), QStringLiteral("Panne."));
    view().dismissError();
    EXPECT_EQ(session().lastError(), std::nullopt);
}

TEST_F(MenuBarViewTest, wordsOfAnySizeFromOutsideGiveALineOfTheScreen) {
    const QString words(16 << 20, u'x');
    session().setLastError(words);
    EXPECT_EQ(view().lastError(), QString(1000, u'x') + u'…');
    EXPECT_EQ(MenuBarView::bridgeHelp(Status::error(words)),
              QStringLiteral("Connexion locale en erreur: ") + QString(1000, u'x') + u'…');
}

TEST_F(MenuBarViewTest, theModesStandInTheirOrderWithTheirWords) {
    ModeSwitcher& modes = *view().modes();
    ASSERT_EQ(modes.buttons().size(), 2);
    EXPECT_EQ(modes.buttons()[0].toMap().value(QStringLiteral("symbol")), QStringLiteral("mic.fill"));
    EXPECT_EQ(modes.buttons()[1].toMap().value(QStringLiteral("symbol")), QStringLiteral("text.bubble.fill"));
    EXPECT_EQ(modes.buttons()[1].toMap().value(QStringLiteral("label")), label(Mode::chat));
    EXPECT_TRUE(modes.isChoice());
    EXPECT_EQ(modes.selected(), 1);
    modes.select(0);
    EXPECT_EQ(session().mode(), Mode::microphone);
    EXPECT_EQ(modes.selected(), 0);
    modes.select(7);
    modes.select(-1);
    EXPECT_EQ(session().mode(), Mode::microphone);
}

TEST_F(MenuBarViewTest, aModeThatIsNotOfferedIsNotSelected) {
    bodies = {Content::chat};
    session().setMode(Mode::microphone);
    EXPECT_EQ(view().modes()->selected(), -1);
}

} // namespace
} // namespace vennic
