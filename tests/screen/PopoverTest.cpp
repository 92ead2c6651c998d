#include "screen/PopoverFixture.h"

namespace vennic::test {
namespace {

using PopoverTest = PopoverFixture;

TEST_F(PopoverTest, comesUpWithTheKeyboardInTheDraft) {
    type(QStringLiteral("été"));
    EXPECT_EQ(draft(), QStringLiteral("été"));
    EXPECT_EQ(chat->draft(), QStringLiteral("été"));
    EXPECT_TRUE(chat->inputFocused());
}

TEST_F(PopoverTest, enterSendsAndShiftEnterBreaksTheLine) {
    signedIn();
    transport.hold();
    type(QStringLiteral("un"));
    press(Qt::Key_Return, Qt::ShiftModifier);
    type(QStringLiteral("deux"));
    EXPECT_EQ(draft(), QStringLiteral("un\ndeux"));
    press(Qt::Key_Return);
    EXPECT_EQ(draft(), QString());
    ASSERT_EQ(session().messages().size(), 1u);
    EXPECT_EQ(session().messages()[0].content, QStringLiteral("un\ndeux"));
    type(QStringLiteral("trois"));
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(draft(), QStringLiteral("trois")) << "one turn at a time";
    EXPECT_FALSE(item("send")->isEnabled());
    EXPECT_TRUE(item("typing")->isVisible());
    transport.release();
}

TEST_F(PopoverTest, escapeClosesIt) {
    int closings = 0;
    QObject::connect(&screen(), &Screen::popoverClosed, &screen(), [&] { ++closings; });
    popover();
    QKeyEvent event(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(screen().popover(), &event);
    EXPECT_FALSE(screen().isPopoverShown());
    EXPECT_EQ(closings, 1);
}

TEST_F(PopoverTest, theKeysOfTheHeaderWork) {
    user(QStringLiteral("a"));
    session().setDiscussionId(3);
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_TRUE(session().messages().empty());
    EXPECT_EQ(session().discussionId(), std::nullopt);
    EXPECT_FALSE(item("forget")->isEnabled());
    session().setDiscussionId(3);
    EXPECT_TRUE(item("forget")->isEnabled());
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 1);
}

TEST_F(PopoverTest, theKeysThatAnErrorNamesOpenTheSettings) {
    popover();
    press(Qt::Key_Comma, Qt::ControlModifier);
    press(Qt::Key_Comma, Qt::MetaModifier);
    EXPECT_EQ(settingsOpened, 2);
    EXPECT_EQ(draft(), QString());
}

TEST_F(PopoverTest, theHelpOfAButtonIsAsHighAsItsWords) {
    popover();
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    const QObject* tip = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        tip = root().findChild<QObject*>(QStringLiteral("helpTip"));
        return tip && tip->property("opened").toBool();
    }));
    const auto* const words = tip->property("contentItem").value<QQuickItem*>();
    EXPECT_GE(words->height(), words->implicitHeight());
    EXPECT_GT(words->height(), 10);
}

TEST_F(PopoverTest, theHelpOfAButtonGoesOnceItIsPressed) {
    popover();
    press(Qt::Key_Backtab, Qt::ShiftModifier);
    const auto tip = [&] { return root().findChild<QObject*>(QStringLiteral("helpTip")); };
    ASSERT_TRUE(waitUntil([&] { return tip() && tip()->property("opened").toBool(); }));
    press(Qt::Key_Space);
    EXPECT_TRUE(waitUntil([&] { return tip() == nullptr; }));
}

TEST_F(PopoverTest, theHelpOfALinkSaysWhatItOpens) {
    ChatLinks links(session(), [](const QString&) {});
    EXPECT_EQ(links.shownAddress(QStringLiteral("vennic://local_file/open/AB-12")),
              QStringLiteral("Ouvrir ce document"));
    EXPECT_EQ(links.shownAddress(QStringLiteral("vennic://local_photo/view/AB-12")),
              QStringLiteral("Voir cette photo"));
    EXPECT_EQ(links.shownAddress(QStringLiteral("vennic://ailleurs/1")), QStringLiteral("vennic://ailleurs/1"));
    EXPECT_EQ(links.shownAddress(QStringLiteral("https://exemple.fr/a")), QStringLiteral("https://exemple.fr/a"));
}

TEST_F(PopoverTest, theKeyThatSendsWorksWhereverTheKeyboardIs) {
    signedIn();
    transport.hold();
    for (const auto& [key, modifier] : {std::pair{Qt::Key_Return, Qt::ControlModifier},
                                        {Qt::Key_Enter, Qt::ControlModifier},
                                        {Qt::Key_Return, Qt::MetaModifier},
                                        {Qt::Key_Enter, Qt::MetaModifier}}) {
        session().clearConversation();
        session().setIsStreaming(false);
        type(QStringLiteral("oui"));
        ASSERT_TRUE(goTo("ChatGPT"));
        press(key, modifier);
        ASSERT_EQ(session().messages().size(), 1u) << key;
        EXPECT_EQ(session().messages()[0].content, QStringLiteral("oui"));
        press(key, modifier); // while the turn runs
        EXPECT_EQ(session().messages().size(), 1u);
        chat->setInputFocused(true);
    }
}

TEST_F(PopoverTest, inTheVoiceModeTheKeysOfTheChatDoNothing) {
    bodies = {MenuBarView::Content::chat, MenuBarView::Content::microphone};
    session().setMode(Mode::microphone);
    user(QStringLiteral("a"));
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(session().messages().size(), 1u);
    chat->setDraft(QStringLiteral("b"));
    ASSERT_TRUE(goTo("Réglages"));
    press(Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(session().messages().size(), 1u);
}

TEST_F(PopoverTest, tabReachesEveryControlAndComesBack) {
    assistant(QStringLiteral("[un lien](https://x.fr)"));
    popover();
    QStringList reached;
    QQuickItem* const first = popover().activeFocusItem();
    for (int step = 0; step < 40; ++step) {
        press(Qt::Key_Tab);
        QQuickItem* const at = popover().activeFocusItem();
        ASSERT_TRUE(at);
        const QAccessibleInterface* const said = QAccessible::queryAccessibleInterface(at);
        ASSERT_TRUE(said) << at->metaObject()->className();
        reached.append(said->text(QAccessible::Name));
        if (at == first)
            break;
    }
    for (const char* wanted :
         {"Mac non connecté", "Discussions récentes", "Nouvelle discussion (⌘N)", "Réglages", "Quitter Vennic",
          "Vennic : un lien", "un lien", "ChatGPT", "Nouvelle conversation", "Pose ta question…"})
        EXPECT_TRUE(reached.contains(QString::fromUtf8(wanted)))
            << wanted << " in " << reached.join(u'|').toStdString();
    EXPECT_FALSE(reached.contains(QString())) << "nothing without a name";
    EXPECT_EQ(reached.last(), QStringLiteral("Pose ta question…")) << "and around again";
}

TEST_F(PopoverTest, everyControlHasANameAndARole) {
    user(QStringLiteral("question"));
    assistant(QStringLiteral("**réponse**"));
    popover();
    paint();
    int controls = 0;
    walk(QAccessible::queryAccessibleInterface(&popover()), [&](QAccessibleInterface& at) {
        if (!at.state().focusable)
            return;
        ++controls;
        EXPECT_NE(at.text(QAccessible::Name), QString()) << at.object()->metaObject()->className();
        EXPECT_NE(at.role(), QAccessible::NoRole);
        EXPECT_NE(at.role(), QAccessible::Client) << at.text(QAccessible::Name).toStdString();
    });
    EXPECT_GE(controls, 8);
    EXPECT_TRUE(names().contains(QStringLiteral("Toi : question")));
    EXPECT_TRUE(names().contains(QStringLiteral("Vennic : réponse")));
}

TEST_F(PopoverTest, anEmptyConversationSaysHowToBegin) {
    popover();
    EXPECT_TRUE(names().contains(QStringLiteral("Commence une conversation. ⌘↩ pour envoyer")));
    user(QStringLiteral("a"));
    EXPECT_TRUE(
        waitUntil([this] { return !names().contains(QStringLiteral("Commence une conversation. ⌘↩ pour envoyer")); }));
}

TEST_F(PopoverTest, anAnswerIsAnnouncedWhenItHasCome) {
    popover();
    const auto announced = [this] { return item("announcer")->property("words").toString(); };
    session().setIsStreaming(true);
    assistant(QStringLiteral("voilà **tout**"));
    EXPECT_EQ(announced(), QString());
    session().setIsStreaming(false);
    EXPECT_EQ(announced(), QStringLiteral("voilà tout"));
    const QAccessibleInterface* const said = QAccessible::queryAccessibleInterface(item("announcer"));
    ASSERT_TRUE(said);
    EXPECT_EQ(said->role(), QAccessible::Notification);
    EXPECT_EQ(said->text(QAccessible::Name), QStringLiteral("voilà tout"));
}

TEST_F(PopoverTest, ofALongAnswerTheBeginningIsAnnounced) {
    popover();
    session().setIsStreaming(true);
    assistant(QString(200'000, u'a'));
    session().setIsStreaming(false);
    EXPECT_EQ(item("announcer")->property("words").toString(), QString(1000, u'a') + u'…');
}

TEST_F(PopoverTest, theLastErrorIsShownAndCanBeTakenAway) {
    popover();
    session().setLastError(QStringLiteral("Session expirée. Recolle ton jeton dans Réglages (⌘,)."));
    paint();
    EXPECT_TRUE(names().contains(QStringLiteral("Session expirée. Recolle ton jeton dans Réglages (⌘,).")));
    EXPECT_TRUE(names().contains(QStringLiteral("Masquer")));
    session().setLastError(std::nullopt);
    paint();
    EXPECT_FALSE(names().contains(QStringLiteral("Masquer")));
}

TEST_F(PopoverTest, lightAndDarkAreFollowedWhileItIsOpen) {
    popover();
    const QColor light = ground();
    appearance.turn(true);
    paint();
    EXPECT_LT(ground().lightness(), light.lightness());
    appearance.turn(false);
    EXPECT_EQ(ground(), light);
}

TEST_F(PopoverTest, itsCornersAreSoftOnlyWhereSomethingShowsThroughThem) {
    EXPECT_GT(root().property("radius").toInt(), 0);
    EXPECT_EQ(popover().color().alpha(), 0);
    EXPECT_TRUE(popover().requestedFormat().hasAlpha());
    screen().closePopover();
    appearance.composited = false;
    EXPECT_EQ(root().property("radius").toInt(), 0);
    EXPECT_EQ(popover().color().alpha(), 255);
}

TEST_F(PopoverTest, thePickerChoosesWhoAnswers) {
    *downloaded = {QStringLiteral("Qwen/Qwen3-14B-MLX-4bit")};
    bool known = false;
    screen();
    QObject::connect(picker.get(), &ProviderPicker::sectionsChanged, [&] { known = true; });
    popover();
    ASSERT_TRUE(waitUntil([&] { return known; }));
    ASSERT_TRUE(goTo("ChatGPT"));
    press(Qt::Key_Space);
    const QStringList shown = names();
    for (const char* wanted : {"ChatGPT", "Claude", "Gemini", "Self-Hosted", "Self-Hosted (défaut du Mac)",
                               "Qwen3 14B, 8.0 GB · 14 tok/s", "Gérer les modèles…"})
        EXPECT_TRUE(shown.contains(QString::fromUtf8(wanted))) << wanted << " in " << shown.join(u'|').toStdString();
    if (!qEnvironmentVariable("VENNIC_PICTURES").isEmpty())
        picture().save(qEnvironmentVariable("VENNIC_PICTURES") + QStringLiteral("/picker.png"));
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(session().provider(), Provider::anthropic);
    EXPECT_TRUE(screen().isPopoverShown());
}

TEST_F(PopoverTest, whatComesWhileThePickersMenuIsOpenIsOfferedInIt) {
    transport.hold();
    transport.answerWith(200, R"([{"id":1,"slug":"mistral","name":"Mistral","models":[{"id":1,"slug":"large"}]}])");
    ASSERT_TRUE(goTo("ChatGPT"));
    press(Qt::Key_Space);
    EXPECT_TRUE(names().contains(QStringLiteral("Claude")));
    for (int step = 0; step < 4; ++step)
        press(Qt::Key_Down); // over the heading to the first of the local ones
    transport.release();
    ASSERT_TRUE(waitUntil([this] { return names().contains(QStringLiteral("large")); }));
    paint();
    EXPECT_FALSE(names().contains(QStringLiteral("Claude")));
    press(Qt::Key_Return);
    EXPECT_EQ(session().provider(), Provider::local) << "the item that the user had gone to";
}

TEST_F(PopoverTest, ofAnEndlessNameThePickerShowsTheBeginning) {
    transport.answerWith(200, R"([{"id":1,"slug":"openai","name":")" + QByteArray(400'000, 'n') +
                                  R"(","models":[{"id":1,"slug":"m","display_name":")" + QByteArray(400'000, 'x') +
                                  R"("}]}])");
    session().setSelectedCloudModel(QStringLiteral("m"));
    popover();
    const QString shown = QString(200, u'x') + u'…';
    ASSERT_TRUE(waitUntil([&] { return names().contains(shown); }));
    ASSERT_TRUE(goTo(shown.toUtf8().constData()));
    press(Qt::Key_Space);
    EXPECT_EQ(names().count(shown), 2);
    EXPECT_TRUE(names().contains(QString(200, u'n') + u'…'));
}

TEST_F(PopoverTest, aMenuGivesTheKeyboardBackToWhatHadIt) {
    ASSERT_TRUE(goTo("ChatGPT"));
    QQuickItem* const pill = popover().activeFocusItem();
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    EXPECT_NE(popover().activeFocusItem(), pill);
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return popover().activeFocusItem() == pill; }));
    EXPECT_TRUE(pill->property("visualFocus").toBool());
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return popover().activeFocusItem() == pill; }));
    EXPECT_TRUE(pill->property("visualFocus").toBool());
    EXPECT_TRUE(screen().isPopoverShown());
}

TEST_F(PopoverTest, theMenuOfDiscussionsOpensThemOnTheWeb) {
    signedIn();
    transport.answerWith(200, R"([{"id":42,"name":"Factures"}])");
    popover();
    paint();
    ASSERT_TRUE(goTo("Discussions récentes"));
    press(Qt::Key_Space);
    EXPECT_TRUE(names().contains(QStringLiteral("Factures")));
    EXPECT_TRUE(names().contains(QStringLiteral("Ouvrir toutes les discussions…")));
    if (!qEnvironmentVariable("VENNIC_PICTURES").isEmpty())
        picture().save(qEnvironmentVariable("VENNIC_PICTURES") + QStringLiteral("/recents.png"));
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_TRUE(opened[0].toString().endsWith(QStringLiteral("/discussions/42")));
}

TEST_F(PopoverTest, anEmptyConversationBeginsSixtyPointsBelowTheTop) {
    const QQuickItem* const empty = item("empty");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->isVisible());
    EXPECT_EQ(empty->mapToItem(empty->parentItem(), QPointF()).y(), 60);
    EXPECT_EQ(empty->parentItem()->mapToItem(&root(), QPointF()).y(), item("header")->height() + 1);
}

TEST_F(PopoverTest, theListSlidesToItsEndInAFifthOfASecond) {
    appearance.animated = true;
    const QObject* const slide = item("transcript")->findChild<QObject*>(QStringLiteral("slide"));
    ASSERT_TRUE(slide);
    EXPECT_EQ(slide->property("duration"), 200);
    EXPECT_EQ(slide->property("easing").value<QEasingCurve>().type(), QEasingCurve::OutCubic);
    for (int i = 0; i < 50; ++i)
        user(QStringLiteral("ligne"));
    ASSERT_TRUE(waitUntil([&] { return slide->property("running").toBool(); }));
    ASSERT_TRUE(waitUntil([&] { return !slide->property("running").toBool(); }));
}

TEST_F(PopoverTest, aLongConversationShowsItsEnd) {
    for (int i = 0; i < 300; ++i)
        assistant(QStringLiteral("message %1").arg(i));
    picture();
    EXPECT_TRUE(names().contains(QStringLiteral("Vennic : message 299")));
    assistant(QStringLiteral("dernier"));
    ASSERT_TRUE(waitUntil([this] { return names().contains(QStringLiteral("Vennic : dernier")); }));
}

TEST(PopoverPlace, isUnderAnIconAboveAndOverAnIconBelow) {
    const QSize size(380, 520);
    const QRect desktop(0, 30, 1280, 770);
    EXPECT_EQ(PopoverWindow::place({600, 4, 24, 22}, desktop, size).topLeft(), QPoint(421, 36));
    EXPECT_EQ(PopoverWindow::place({600, 776, 24, 22}, {0, 0, 1280, 770}, size).topLeft(), QPoint(421, 244));
    const QRect corner = PopoverWindow::place({1262, 784, 18, 18}, {0, 0, 1280, 770}, size);
    EXPECT_EQ(corner.right(), 1273);
    EXPECT_TRUE(QRect(0, 0, 1280, 770).contains(corner));
}

TEST(PopoverPlace, onASmallScreenBeginsAtItsCorner) {
    EXPECT_EQ(PopoverWindow::place({0, 0, 1, 1}, {10, 10, 200, 200}, {380, 520}).topLeft(), QPoint(16, 16));
}

} // namespace
} // namespace vennic::test
