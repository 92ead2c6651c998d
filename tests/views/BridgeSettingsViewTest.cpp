#include "settings/BridgeSettingsView.h"

#include "Bridge/BridgeWorld.h"
#include "core/SessionFixture.h"
#include "fakes/FolderPickerFake.h"
#include "settings/StatusRow.h"

namespace vennic {
namespace {

using namespace std::chrono_literals;
using Status = BridgeService::Status;
using test::waitUntil;

const QString home = QStringLiteral("/home/marie");
const QString lookedFor = QStringLiteral("Recherche du dossier…");

struct BridgeSettingsViewTest : test::SessionFixture {
    test::BridgeWorld world;
    test::FolderPickerFake picker;
    std::unique_ptr<BridgeSettingsView> own;

    BridgeSettingsView& view() {
        if (!own)
            own = std::make_unique<BridgeSettingsView>(BridgeSettingsView::Surroundings{
                .session = session(),
                .bookmarks = world.grants,
                .bridge = *world.service,
                .folders = world.bookmarks,
                .files = *world.files,
                .picker = picker,
                .clock = world.clock,
            });
        return *own;
    }
    QStringList shared() const {
        QStringList names;
        for (const BookmarkEntry& entry : world.grants.entries())
            names.append(entry.displayName);
        return names;
    }
    QVariantMap row(int at) { return view().folders().value(at).toMap(); }
    QString path(int at) { return row(at).value(QStringLiteral("path")).toString(); }
    bool is(int at, const char* what) { return row(at).value(QLatin1String(what)).toBool(); }
    bool isFound(int at) {
        return waitUntil([&] { return path(at) != lookedFor; });
    }
    void pick(const QStringList& chosen) {
        picker.chosen = chosen;
        view().pickFolder();
        ASSERT_TRUE(waitUntil([this] { return !view().isPicking(); }));
    }
    void serveTask() {
        world.backend.preparePoll(test::taskJson("list_folders"));
        world.service->start(SecretText{"token"});
        ASSERT_TRUE(waitUntil([this] { return world.service->tasksServed() == 1; }));
    }
};

// The bridge

TEST_F(BridgeSettingsViewTest, beforePairingTheSwitchIsDisabledAndSaysWhy) {
    EXPECT_FALSE(view().isAuthenticated());
    EXPECT_EQ(view().explanation(), QStringLiteral("Appaire-toi d'abord dans l'onglet Général."));
    view().setBridgeEnabled(true);
    EXPECT_FALSE(session().bridgeEnabled());
}

TEST_F(BridgeSettingsViewTest, onceSignedInTheSwitchTurnsTheBridgeOnAndOff) {
    signedIn();
    EXPECT_EQ(
        view().explanation(),
        QStringLiteral("Vennic peut rechercher et lire les fichiers des dossiers partagés seulement quand ce pont "
                       "est actif. La présence du Mac reste visible une fois l'app appairée."));
    view().setBridgeEnabled(true);
    EXPECT_TRUE(session().bridgeEnabled());
    EXPECT_TRUE(view().bridgeEnabled());
    EXPECT_EQ(stored("bridgeEnabled"), StoredValue(true));
    view().setBridgeEnabled(false);
    EXPECT_FALSE(session().bridgeEnabled());
}

TEST_F(BridgeSettingsViewTest, whatIsChangedElsewhereIsFollowed) {
    session();
    QStringList told;
    QObject::connect(&view(), &BridgeSettingsView::isAuthenticatedChanged, [&] { told.append(QStringLiteral("in")); });
    QObject::connect(&view(), &BridgeSettingsView::bridgeEnabledChanged, [&] { told.append(QStringLiteral("on")); });
    session().setToken(SecretText{"tok"});
    session().setBridgeEnabled(true);
    EXPECT_EQ(told, (QStringList{QStringLiteral("in"), QStringLiteral("on")}));
}

TEST_F(BridgeSettingsViewTest, eachStateHasItsWordsAndItsColour) {
    using Color = StatusRow::Color;
    const std::vector<std::tuple<Status, QString, Color>> rows{
        {Status::off(), QStringLiteral("Non connecté"), Color::gray},
        {Status::idle(), QStringLiteral("Connecté"), Color::green},
        {Status::polling(), QStringLiteral("Connecté, en attente"), Color::green},
        {Status::busy(BridgeTaskKind::read), QStringLiteral("Exécution : lecture"), Color::orange},
        {Status::error(QStringLiteral("plus de réseau")), QStringLiteral("Erreur"), Color::red},
    };
    for (const auto& [status, label, color] : rows) {
        EXPECT_EQ(StatusRow{status}.label(), label);
        EXPECT_EQ(StatusRow{status}.color(), color);
    }
}

TEST_F(BridgeSettingsViewTest, eachKindHasItsWords) {
    const std::vector<std::pair<BridgeTaskKind, QString>> labels{
        {BridgeTaskKind::search, QStringLiteral("recherche")},
        {BridgeTaskKind::read, QStringLiteral("lecture")},
        {BridgeTaskKind::listFolders, QStringLiteral("liste des dossiers")},
        {BridgeTaskKind::listDir, QStringLiteral("exploration d'un dossier")},
        {BridgeTaskKind::photosRecent, QStringLiteral("photos récentes")},
        {BridgeTaskKind::photosByDate, QStringLiteral("photos par date")},
        {BridgeTaskKind::appOpen, QStringLiteral("ouvrir une app")},
        {BridgeTaskKind::shortcutRun, QStringLiteral("lancer un Shortcut")},
        {BridgeTaskKind::shortcutList, QStringLiteral("lister les Shortcuts")},
        {BridgeTaskKind::ocrImage, QStringLiteral("OCR d'une image")},
        {BridgeTaskKind::openDocument, QStringLiteral("ouvrir un document")},
        {BridgeTaskKind::thumbnail, QStringLiteral("miniature")},
        {BridgeTaskKind::llmInfer, QStringLiteral("inférence LLM locale")},
    };
    for (const auto& [kind, label] : labels)
        EXPECT_EQ(StatusRow::kindLabel(kind), label);
}

TEST_F(BridgeSettingsViewTest, theStateOfTheServiceIsShownAndFollowed) {
    EXPECT_EQ(view().statusLabel(), QStringLiteral("Non connecté"));
    EXPECT_EQ(view().statusColor(), StatusRow::Color::gray);
    int changes = 0;
    QObject::connect(&view(), &BridgeSettingsView::statusChanged, [&] { ++changes; });
    world.service->start(SecretText{"token"});
    ASSERT_TRUE(waitUntil([this] { return view().statusLabel() == QStringLiteral("Connecté, en attente"); }));
    EXPECT_EQ(view().statusColor(), StatusRow::Color::green);
    EXPECT_GT(changes, 0);
}

TEST_F(BridgeSettingsViewTest, theWordsOfAFailureOutliveTheErrorState) {
    world.backend.preparedPolls.push_back(HttpResponse{.status = 500, .headers = {}, .body = "panne"});
    world.service->start(SecretText{"token"});
    ASSERT_TRUE(waitUntil([this] { return view().statusLabel() == QStringLiteral("Erreur"); }));
    EXPECT_EQ(view().statusColor(), StatusRow::Color::red);
    EXPECT_EQ(view().lastErrorMessage(), QStringLiteral("Erreur HTTP 500 : panne"));
    world.clock.advance(1s);
    ASSERT_TRUE(waitUntil([this] { return view().statusLabel() == QStringLiteral("Connecté, en attente"); }));
    EXPECT_EQ(view().lastErrorMessage(), QStringLiteral("Erreur HTTP 500 : panne"));
}

TEST_F(BridgeSettingsViewTest, aFailureOfAnySizeGivesALineOfTheScreen) {
    world.backend.preparedPolls.push_back(
        HttpResponse{.status = 500, .headers = {}, .body = QByteArray(16 << 20, 'x')});
    world.service->start(SecretText{"token"});
    ASSERT_TRUE(waitUntil([this] { return !view().lastErrorMessage().isEmpty(); }));
    EXPECT_EQ(view().lastErrorMessage().size(), 1001);
    EXPECT_TRUE(view().lastErrorMessage().startsWith(QStringLiteral("Erreur HTTP 500 : xxx")));
    EXPECT_TRUE(view().lastErrorMessage().endsWith(u'…'));
}

TEST_F(BridgeSettingsViewTest, withZeroTasksServedNeitherTheirNumberNorADateShows) {
    view().appear();
    EXPECT_EQ(view().tasksServed(), 0);
    EXPECT_EQ(view().lastActivity(), QString());
    world.backend.holdUpdates = true;
    world.backend.preparePoll(test::taskJson("list_folders"));
    world.service->start(SecretText{"token"});
    ASSERT_TRUE(waitUntil([this] { return world.backend.openUpdates() == 1; }));
    EXPECT_EQ(view().statusLabel(), QStringLiteral("Exécution : liste des dossiers"));
    EXPECT_EQ(view().statusColor(), StatusRow::Color::orange);
    EXPECT_EQ(view().lastActivity(), QString());
}

TEST_F(BridgeSettingsViewTest, aServedTaskIsCountedAndItsMomentKeptTrueWhileTheWindowIsUp) {
    view().appear();
    serveTask();
    EXPECT_EQ(view().tasksServed(), 1);
    EXPECT_EQ(view().lastActivity(), QStringLiteral("à l'instant"));
    QStringList seen;
    QObject::connect(&view(), &BridgeSettingsView::lastActivityChanged, [&] { seen.append(view().lastActivity()); });
    ASSERT_TRUE(waitUntil([this] { return world.clock.sleeping() == 1; }));
    world.clock.advance(1s);
    ASSERT_TRUE(waitUntil([&] { return !seen.isEmpty() && world.clock.sleeping() == 1; }));
    EXPECT_EQ(seen, QStringList{QStringLiteral("il y a une seconde")});
    view().disappear();
    ASSERT_TRUE(waitUntil([this] { return world.clock.sleeping() == 0; })) << "nobody looks";
    world.clock.advance(2min);
    view().appear();
    EXPECT_EQ(view().lastActivity(), QStringLiteral("il y a 2 minutes"));
}

// The folders

TEST_F(BridgeSettingsViewTest, eachGrantHasARowInOrderWithTheHomeDirectoryShortened) {
    world.share(home + QStringLiteral("/Documents"));
    world.share(QStringLiteral("/srv/commun"));
    world.share(home + QStringLiteral("/Documents"));
    view().appear();
    ASSERT_TRUE(isFound(2));
    ASSERT_EQ(view().folders().size(), 3);
    EXPECT_EQ(path(0), QStringLiteral("~/Documents"));
    EXPECT_EQ(row(0).value(QStringLiteral("name")), QStringLiteral("Documents"));
    EXPECT_EQ(path(1), QStringLiteral("/srv/commun"));
    EXPECT_EQ(path(2), QStringLiteral("~/Documents"));
    EXPECT_FALSE(is(2, "isMoved") || is(2, "isMissing"));
}

TEST_F(BridgeSettingsViewTest, aFolderThatWasMovedOrLostSaysSo) {
    world.share(QStringLiteral("/a/alt"));
    world.share(QStringLiteral("/a/lost"));
    world.bookmarks->moved[QStringLiteral("/a/alt")] = QStringLiteral("/b/neu");
    world.bookmarks->lost.insert(QStringLiteral("/a/lost"));
    view().appear();
    EXPECT_EQ(path(0), lookedFor);
    ASSERT_TRUE(isFound(1));
    EXPECT_TRUE(is(0, "isMoved"));
    EXPECT_EQ(row(0).value(QStringLiteral("name")), QStringLiteral("alt"));
    EXPECT_EQ(path(0), QStringLiteral("/b/neu"));
    EXPECT_TRUE(is(1, "isMissing"));
    EXPECT_EQ(path(1), QStringLiteral("Introuvable : dossier déplacé, supprimé ou sur un disque absent."));
}

TEST_F(BridgeSettingsViewTest, aFolderThatComesBackIsFoundWhenTheWindowIsOpenedAgain) {
    world.share(QStringLiteral("/a"));
    world.bookmarks->lost.insert(QStringLiteral("/a"));
    view().appear();
    ASSERT_TRUE(isFound(0));
    view().disappear();
    world.bookmarks->lost.clear();
    view().appear();
    ASSERT_TRUE(waitUntil([this] { return path(0) == QStringLiteral("/a"); }));
}

TEST_F(BridgeSettingsViewTest, aRowIsTakenAwayWithItsGrant) {
    world.share(QStringLiteral("/a"));
    world.share(QStringLiteral("/b"));
    view().appear();
    int changes = 0;
    QObject::connect(&view(), &BridgeSettingsView::foldersChanged, [&] { ++changes; });
    view().removeFolder(row(0).value(QStringLiteral("id")).toString());
    EXPECT_EQ(shared(), QStringList{QStringLiteral("b")});
    EXPECT_EQ(view().folders().size(), 1);
    EXPECT_GE(changes, 1);
    view().removeFolder(QStringLiteral("no identifier"));
    EXPECT_EQ(shared(), QStringList{QStringLiteral("b")});
}

TEST_F(BridgeSettingsViewTest, thePanelSaysWhatItIsFor) {
    pick({});
    EXPECT_EQ(picker.panels, (std::vector<FolderPanel>{{QStringLiteral("Ajouter"),
                                                        QStringLiteral("Sélectionne les dossiers que le bridge peut "
                                                                       "parcourir")}}));
    EXPECT_TRUE(shared().isEmpty());
    EXPECT_EQ(view().addError(), QString());
}

TEST_F(BridgeSettingsViewTest, allChosenFoldersAreSharedInOrder) {
    world.files->addFolder(QStringLiteral("/b"));
    world.files->addFolder(QStringLiteral("/a"));
    pick({QStringLiteral("/b"), QStringLiteral("/a"), QStringLiteral("/b")});
    EXPECT_EQ(shared(), (QStringList{QStringLiteral("b"), QStringLiteral("a"), QStringLiteral("b")}));
}

TEST_F(BridgeSettingsViewTest, aSensitiveFolderIsRefusedAndTheOthersAreShared) {
    world.files->addFolder(home + QStringLiteral("/.ssh"));
    world.files->addFolder(home + QStringLiteral("/Documents"));
    pick({home + QStringLiteral("/.ssh"), home + QStringLiteral("/Documents")});
    EXPECT_EQ(shared(), QStringList{QStringLiteral("Documents")});
    EXPECT_EQ(view().addError(), QStringLiteral("Dossier système refusé pour raisons de sécurité."));
}

TEST_F(BridgeSettingsViewTest, theLastFailureStaysShown) {
    world.files->addFolder(home + QStringLiteral("/.ssh"));
    world.files->addFile(QStringLiteral("/file"));
    world.files->addFolder(QStringLiteral("/unkept"));
    world.files->addFolder(QStringLiteral("/good"));
    world.bookmarks->lost.insert(QStringLiteral("/unkept"));
    pick({home + QStringLiteral("/.ssh"), QStringLiteral("/file"), QStringLiteral("/good")});
    EXPECT_EQ(view().addError(), QStringLiteral("Le chemin n'est pas un dossier."));
    pick({QStringLiteral("/unkept"), QStringLiteral("/good")});
    EXPECT_EQ(view().addError(), QStringLiteral("Le dossier n'a pas pu être retenu."));
    EXPECT_EQ(shared(), (QStringList{QStringLiteral("good"), QStringLiteral("good")}));
    pick({});
    EXPECT_EQ(view().addError(), QString()) << "a new panel begins without an error";
}

TEST_F(BridgeSettingsViewTest, aPanelThatCannotBeShownSaysWhy) {
    picker.failure = QStringLiteral("Aucun écran.");
    pick({});
    EXPECT_EQ(view().addError(), QStringLiteral("Aucun écran."));
}

TEST_F(BridgeSettingsViewTest, thereIsOnePanelAtATime) {
    picker.hold = true;
    view().pickFolder();
    settle();
    view().pickFolder();
    settle();
    EXPECT_TRUE(view().isPicking());
    EXPECT_EQ(picker.panels.size(), 1u);
    picker.confirmed.set();
    EXPECT_TRUE(waitUntil([this] { return !view().isPicking(); }));
}

} // namespace
} // namespace vennic
