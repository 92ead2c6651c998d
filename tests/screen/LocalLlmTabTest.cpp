#include "screen/LocalLlmTabFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>

namespace vennic::test {
namespace {

struct LocalLlmTabTest : LocalLlmTabFixture {};

TEST_F(LocalLlmTabTest, everyWordOfTheTabStandsAsItIsMeant) {
    runtime.haveModel(usual);
    openTab();
    const QStringList all = words();
    for (const char* expected :
         {"LLM local", "Modèle par défaut", "Catalogue de modèles", "Installation", "Diagnostic", "Modèles chargés",
          "Activer le LLM local",
          "Quand actif, le Mac traite les requêtes `llm_infer` envoyées par le backend et renvoie la réponse du "
          "serveur "
          "local. Les conversations ne quittent pas ton Mac.",
          "URL de base compatible OpenAI (sans `/chat/completions`).", "Redémarrer", "Re-tester", "Télécharger",
          "⚠︎ RAM", "Installer", "Tester l'inférence", "Ouvrir les logs", "Appliquer et redémarrer",
          "RAM détectée : 16 GB. Les modèles qui dépassent la RAM disponible swapperont — à éviter.",
          "Les modèles sont stockés dans ~/.cache/huggingface/hub. Le serveur charge à la volée le modèle que l'app "
          "demande — aucun redémarrage à faire en changeant."})
        EXPECT_TRUE(all.contains(QString::fromUtf8(expected))) << expected;
    EXPECT_EQ(find("endpoint")->property("placeholderText").toString(), QStringLiteral("http://localhost:8080/v1"));
    EXPECT_EQ(find("customModel")->property("placeholderText").toString(), QStringLiteral("org/model-MLX-4bit"));
    EXPECT_EQ(find("delete")->property("help").toString(), QStringLiteral("Supprimer les poids du cache"));
}

TEST_F(LocalLlmTabTest, theKeyboardReachesEverything) {
    runtime.haveModel(usual);
    openTab();
    session().setLocalLLMModel(QStringLiteral("moi/mien"));
    installs("un\n");
    never->set();
    until([this] { return clock.sleeping() > 0; });
    clock.advance(std::chrono::milliseconds{500});
    until([this] { return !tab().isBusy(); });
    EXPECT_EQ(focused(), QStringLiteral("localLLMEnabled"));
    QStringList met;
    for (int presses = 0; presses < 60; ++presses) {
        met.append(focused());
        key(Qt::Key_Tab);
    }
    for (const char* name :
         {"localLLMEnabled", "endpoint", "recheck", "restart", "model", "customModel", "apply", "download", "delete",
          "install", "packageManagerSite", "test", "openLogs", "log", "copyLog", "hideLog", "tab.localLlm"})
        EXPECT_TRUE(met.contains(QLatin1String(name))) << name << " is not in " << met.join(u' ').toStdString();
    EXPECT_FALSE(met.contains(QString())) << met.join(u' ').toStdString();
}

TEST_F(LocalLlmTabTest, whatHasTheKeyboardIsInSight) {
    openTab();
    installs("un\n");
    window().resize(520, 400);
    paint();
    for (int presses = 0; presses < 40; ++presses) {
        const QQuickItem* const item = window().activeFocusItem();
        const QRectF place = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        EXPECT_LE(place.top(), window().height() - 20) << item->objectName().toStdString();
        EXPECT_GE(place.bottom(), 20) << item->objectName().toStdString();
        key(Qt::Key_Tab);
    }
}

TEST_F(LocalLlmTabTest, theSwitchAndTheAddressAreWrittenByTheKeyboard) {
    openTab();
    space();
    EXPECT_TRUE(session().localLLMEnabled());
    tabTo("endpoint");
    key(Qt::Key_End);
    write(QStringLiteral("x"));
    EXPECT_EQ(session().localLLMEndpoint(), QStringLiteral("http://localhost:8080/v1x"));
    transport.requests.clear();
    key(Qt::Key_Return);
    until([this] { return transport.requests.size() == 1; });
    EXPECT_EQ(transport.requests[0].url.toString(), QStringLiteral("http://localhost:8080/v1x/models"));
}

TEST_F(LocalLlmTabTest, theLightFollowsTheServer) {
    openTab();
    EXPECT_EQ(find("health")->property("label").toString(), QStringLiteral("Serveur en ligne"));
    const QColor green = find("health")->property("dot").value<QColor>();
    status = 503;
    tabTo("recheck");
    space();
    until([this] { return tab().health() == LocalLLMSettingsView::Health::down; });
    EXPECT_EQ(find("health")->property("label").toString(), QStringLiteral("Hors ligne : HTTP 503"));
    EXPECT_NE(find("health")->property("dot").value<QColor>(), green);
}

TEST_F(LocalLlmTabTest, onlyOneActionTakesTheServerAway) {
    openTab();
    installs("un\n");
    for (const char* name : {"install", "restart", "apply", "recheck"})
        EXPECT_FALSE(find(name)->isEnabled()) << name;
    EXPECT_TRUE(words().contains(QStringLiteral("Fermer la fenêtre interrompt l'opération.")));
    window().close();
    until([this] { return !tab().isInstalling(); });
}

TEST_F(LocalLlmTabTest, aRestartSaysThatItTakesTime) {
    runtime.haveEverything();
    openTab();
    const QString hint = QStringLiteral("Redémarrage en cours… le premier chargement du modèle prend 15-30s.");
    EXPECT_FALSE(words().contains(hint));
    tabTo("restart");
    space();
    EXPECT_TRUE(words().contains(hint));
    EXPECT_FALSE(find("restart")->property("available").toBool());
    EXPECT_TRUE(find("restart")->property("visualFocus").toBool()) << "the keyboard stays where it is";
    until([this] { return clock.sleeping() > 0; });
    clock.advance(std::chrono::milliseconds{500});
    until([this] { return !tab().isRestarting(); });
    EXPECT_FALSE(words().contains(hint));
    EXPECT_EQ(focused(), QStringLiteral("restart"));
}

TEST_F(LocalLlmTabTest, theTestShowsWhatTheModelSaid) {
    openTab();
    tabTo("test");
    space();
    until([this] { return !tab().isTesting(); });
    EXPECT_TRUE(words().contains(QStringLiteral("✓ 0 ms — Bonjour, ravi de t'aider !")));
}

TEST_F(LocalLlmTabTest, whatHasTheKeyboardStaysInSightWhenTheLogComesUp) {
    openTab();
    tabTo("install");
    space();
    until([this] { return !tab().installError().isEmpty(); });
    const QQuickItem* const button = find("install");
    const QQuickItem* const pane = find("installError")->parentItem();
    EXPECT_LT(button->mapToScene(QPointF(0, button->height())).y(), pane->mapToScene(QPointF()).y());
}

// The log

TEST_F(LocalLlmTabTest, theLogFollowsItsEndUnlessSomebodyHasScrolledUp) {
    openTab();
    installs(lines(0, 100));
    const auto isAtEnd = [this] {
        return flick()->property("contentY").toReal() >=
               flick()->property("contentHeight").toReal() - flick()->height() - 1;
    };
    EXPECT_TRUE(log().endsWith(QStringLiteral("ligne 99 de ce que dit l'outil")));
    EXPECT_TRUE(isAtEnd());
    flick()->setProperty("contentY", 20);
    never->set();
    until([this] { return log().contains(QStringLiteral("(re)chargement")); });
    EXPECT_EQ(flick()->property("contentY").toReal(), 20);
    flick()->setProperty("contentY", flick()->property("contentHeight").toReal() - flick()->height());
    clock.advance(std::chrono::milliseconds{500});
    until([this] { return log().contains(QStringLiteral("✓ Installation terminée")); });
    EXPECT_TRUE(isAtEnd());
}

TEST_F(LocalLlmTabTest, whatIsSelectedInTheLogStaysSelectedWhileItGrows) {
    openTab();
    installs(lines(0, 198)); // two lines more stand before them
    EXPECT_EQ(log().count(u'\n'), 199);
    const QString wanted = QStringLiteral("ligne 120 de ce");
    const auto at = static_cast<int>(log().indexOf(wanted));
    QMetaObject::invokeMethod(find("log"), "select", Q_ARG(int, at), Q_ARG(int, at + static_cast<int>(wanted.size())));
    EXPECT_EQ(find("log")->property("selectedText").toString(), wanted);
    never->set();
    until([this] { return log().contains(QStringLiteral("(re)chargement")); });
    EXPECT_EQ(log().count(u'\n'), 199);
    EXPECT_TRUE(log().startsWith(QStringLiteral("ligne 0 ")));
    EXPECT_EQ(find("log")->property("selectedText").toString(), wanted);
    tabTo("log");
    key(Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), wanted);
}

TEST_F(LocalLlmTabTest, draggingTheMouseAcrossTheLogSelectsAndDoesNotScroll) {
    openTab();
    installs(lines(0, 50));
    const qreal scrolled = flick()->property("contentY").toReal();
    const QPointF from = flick()->mapToScene(QPointF(4, 4));
    const auto mouse = [this](QEvent::Type type, QPointF at) {
        QMouseEvent event(type, at, window().mapToGlobal(at), Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &event);
    };
    mouse(QEvent::MouseButtonPress, from);
    for (int step = 1; step <= 10; ++step)
        mouse(QEvent::MouseMove, from + QPointF(10 * step, 5 * step));
    mouse(QEvent::MouseButtonRelease, from + QPointF(100, 50));
    paint();
    EXPECT_TRUE(find("log")->property("selectedText").toString().contains(QStringLiteral("de ce que dit l'outil")));
    EXPECT_NEAR(flick()->property("contentY").toReal(), scrolled, 8) << "at most to the whole of a line";
}

TEST_F(LocalLlmTabTest, theKeyboardMovesThroughTheLogAndIsNotPulledToItsEnd) {
    openTab();
    installs(lines(0, 100));
    tabTo("log");
    key(Qt::Key_End, Qt::ControlModifier);
    flick()->setProperty("contentY", 20);
    never->set();
    until([this] { return log().contains(QStringLiteral("(re)chargement")); });
    EXPECT_EQ(flick()->property("contentY").toReal(), 20);
    key(Qt::Key_End, Qt::ControlModifier);
    EXPECT_GT(flick()->property("contentY").toReal(), 500);
    key(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_EQ(flick()->property("contentY").toReal(), 0);
}

TEST_F(LocalLlmTabTest, theWholeLogIsCopiedByItsButtonAndHiddenUntilSomethingBegins) {
    openTab();
    installs("un\ndeux\n");
    tabTo("copyLog");
    space();
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              QStringLiteral("✓ uv déjà présent\n▶︎ uv tool install --python 3.11 mlx-lm\nun\ndeux"));
    tabTo("hideLog");
    space();
    EXPECT_FALSE(find("log")->isVisible());
    window().close();
    until([this] { return !tab().isBusy(); });
    openTab();
    tab().runInstall();
    paint();
    EXPECT_TRUE(find("log")->isVisible());
}

TEST_F(LocalLlmTabTest, progressTakesTheLineOfTheProgressBefore) {
    openTab();
    installs("\r 10%\n\r 20%\nfin\n");
    EXPECT_TRUE(log().endsWith(QStringLiteral("mlx-lm\n 20%\nfin"))) << log().toStdString();
}

TEST_F(LocalLlmTabTest, aLogThatIsNothingButItsOwnRepetitionIsShownAsItIs) {
    openTab();
    installs(QByteArray("même\n").repeated(300));
    EXPECT_EQ(log(), QStringList(QList<QString>(200, QStringLiteral("même"))).join(u'\n'));
}

TEST_F(LocalLlmTabTest, noSignThatClosesASentenceWrapsAlone) {
    status = 503;
    openTab();
    QStringList shown;
    gather(find("health"), shown);
    EXPECT_TRUE(shown.contains(QStringLiteral("Hors ligne\u00a0: HTTP 503")));
}

TEST_F(LocalLlmTabTest, everythingThatCanBeUsedHasItsNameAndRole) {
    runtime.haveModel(small);
    openTab();
    installs("un\n");
    tab().askToDelete(small);
    paint();
    QAccessible::setActive(true); // somebody listens from here on
    int met = 0;
    const std::function<void(QAccessibleInterface*)> walk = [&](QAccessibleInterface* face) {
        const QAccessible::State state = face->state();
        if (state.invisible)
            return;
        if (state.focusable) {
            ++met;
            EXPECT_NE(face->text(QAccessible::Name), QString()) << face->object()->objectName().toStdString();
            EXPECT_NE(face->role(), QAccessible::NoRole);
            EXPECT_NE(face->role(), QAccessible::Client) << face->object()->objectName().toStdString();
        }
        for (int child = 0; child < face->childCount(); ++child)
            if (QAccessibleInterface* const below = face->child(child))
                walk(below);
    };
    walk(QAccessible::queryAccessibleInterface(&window()));
    EXPECT_GT(met, 25);
    const auto face = [this](const char* name) { return QAccessible::queryAccessibleInterface(find(name)); };
    EXPECT_EQ(face("model")->role(), QAccessible::Button);
    EXPECT_EQ(face("log")->role(), QAccessible::EditableText);
    EXPECT_EQ(face("health")->role(), QAccessible::Indicator);
    EXPECT_EQ(face("model")->text(QAccessible::Name), QStringLiteral("Modèle par défaut : Qwen3 14B"));
    EXPECT_EQ(face("model")->text(QAccessible::Description), QStringLiteral("Ouvre un menu"));
    EXPECT_EQ(face("delete")->text(QAccessible::Name), QStringLiteral("Supprimer les poids du cache : Phi-3.5 mini"));
}

// Pictures for people to look at

struct LocalLlmTabPictureTest : LocalLlmTabTest, testing::WithParamInterface<bool> {
    LocalLlmTabPictureTest() { appearance.dark = GetParam(); }
    void scrollTo(const char* name) {
        tabTo(name);
        paint();
    }
};
INSTANTIATE_TEST_SUITE_P(Appearance, LocalLlmTabPictureTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "dark" : "light"; });

TEST_P(LocalLlmTabPictureTest, theServer) {
    runtime.haveEverything();
    session().setLocalLLMEnabled(true);
    openTab();
    keep("llm");
}
TEST_P(LocalLlmTabPictureTest, aServerThatIsDownAndACustomModel) {
    status = 503;
    session().setLocalLLMModel(QStringLiteral("moi/mien"));
    openTab();
    tabTo("customModel");
    keep("llm-down");
}
TEST_P(LocalLlmTabPictureTest, theMenuOfModels) {
    runtime.haveModel(small);
    openTab();
    tabTo("model");
    space();
    key(Qt::Key_Down);
    keep("llm-menu");
}
TEST_P(LocalLlmTabPictureTest, aDownload) {
    runtime.haveTools();
    runtime.haveModel(small);
    openTab();
    runtime.programs.scripts[runtime.generate(QStringLiteral("mlx-community/Llama-3.2-3B-Instruct-4bit"))] = {
        .pieces = {"Resolved 31 packages in 12ms\n",
                   "\rFetching 10 files:  30%|███       | 3/10 [00:10<00:24,  3.4s/it]"},
        .awaited = never};
    tab().download(QStringLiteral("mlx-community/Llama-3.2-3B-Instruct-4bit"));
    tabTo("delete");
    until([this] { return tab().downloadPercentage() == 30; });
    keep("llm-download");
}
TEST_P(LocalLlmTabPictureTest, theWarningsAndTheInstallation) {
    openTab();
    tabTo("install");
    keep("llm-warnings");
}
TEST_P(LocalLlmTabPictureTest, anInstallationThatFailed) {
    runtime.haveTools();
    openTab();
    runtime.programs.scripts[runtime.installServer()] = {
        .pieces = {lines(0, 30) + "error: No solution found when resolving dependencies\n"}, .status = 2};
    tabTo("install");
    space();
    until([this] { return !tab().isBusy(); });
    keep("llm-failed");
}
TEST_P(LocalLlmTabPictureTest, theTestAndTheLoadedModels) {
    runtime.haveEverything();
    openTab();
    tabTo("test");
    space();
    until([this] { return !tab().isTesting(); });
    tabTo("openLogs");
    keep("llm-test");
}
TEST_P(LocalLlmTabPictureTest, theQuestion) {
    runtime.haveModel(small);
    openTab();
    tabTo("delete");
    space();
    keep("llm-delete");
}

} // namespace
} // namespace vennic::test
