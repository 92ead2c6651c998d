#include "screen/SettingsStates.h"

#include <QAccessible>
#include <QTextDocumentFragment>

namespace vennic::test {
namespace {

constexpr int styledText = 4; // Text.StyledText of Qt Quick

/// What the settings say, to whoever looks and to whoever has them read aloud.
struct SettingsWordsTest : SettingsStates {
    /// Every text that is seen, in the order of the window.
    QStringList seen() {
        paint();
        QStringList texts;
        addSeen(window().rootObject(), texts);
        return texts;
    }
    QStringList headings() {
        QStringList names;
        walk([&](QAccessibleInterface& at) {
            if (at.role() == QAccessible::Heading)
                names.append(at.text(QAccessible::Name));
        });
        return names;
    }
    /// Every name that a reader of the screen meets.
    QStringList said() {
        QStringList names;
        walk([&](QAccessibleInterface& at) { names.append(at.text(QAccessible::Name)); });
        return names;
    }
    /// The control that bears these words; its name has to be the same.
    QQuickItem* named(const char* words) {
        QQuickItem* found = nullptr;
        walk([&](QAccessibleInterface& at) {
            if (at.text(QAccessible::Name) == QString::fromUtf8(words) && !found)
                found = qobject_cast<QQuickItem*>(at.object());
        });
        EXPECT_TRUE(found) << words;
        return found;
    }
    static QAccessible::Role roleOf(QQuickItem* item) {
        QAccessibleInterface* const face = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
        return face ? face->role() : QAccessible::NoRole;
    }
    /// Goes once round by Tab: everything met says what it is and bears words.
    void everythingReachedIsNamed() {
        QSet<QQuickItem*> met;
        for (QQuickItem* at = window().activeFocusItem(); at && !met.contains(at); at = window().activeFocusItem()) {
            met.insert(at);
            QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(at);
            ASSERT_TRUE(face) << at->metaObject()->className();
            const std::string where = at->objectName().toStdString() + " " + at->metaObject()->className();
            EXPECT_TRUE(face->state().focusable) << where;
            const bool isSecret = face->state().passwordEdit; // which has no name by Qt's rule
            EXPECT_FALSE(face->text(isSecret ? QAccessible::Description : QAccessible::Name).trimmed().isEmpty())
                << where;
            const std::initializer_list<QAccessible::Role> roles{QAccessible::Button,       QAccessible::CheckBox,
                                                                 QAccessible::EditableText, QAccessible::Link,
                                                                 QAccessible::PageTab,      QAccessible::StaticText};
            EXPECT_TRUE(std::find(roles.begin(), roles.end(), face->role()) != roles.end())
                << where << " is a " << face->role();
            key(Qt::Key_Tab);
        }
        EXPECT_GE(met.size(), 2);
    }

private:
    /// Without the care that the screen takes of the spaces before some marks.
    static QString plain(QString text) { return text.replace(u'\u202F', u' ').replace(u'\u00A0', u' '); }
    static bool isMarkup(const QQuickItem& text) { return text.property("textFormat").toInt() == styledText; }
    static void addSeen(QQuickItem* at, QStringList& texts) {
        if (!at->isVisible() || at->width() * at->height() == 0)
            return;
        if (at->inherits("QQuickText")) {
            const QString text = at->property("text").toString();
            texts.append(plain(isMarkup(*at) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text));
        }
        for (QQuickItem* const child : at->childItems())
            addSeen(child, texts);
    }
    template <class F>
    void walk(F visit) {
        paint();
        QAccessible::setActive(true);
        walk(QAccessible::queryAccessibleInterface(&window()), visit);
    }
    template <class F>
    static void walk(QAccessibleInterface* at, F& visit) {
        if (!at || at->state().invisible)
            return;
        visit(*at);
        for (int i = 0; i < at->childCount(); ++i)
            walk(at->child(i), visit);
    }
};

QStringList words(std::initializer_list<const char*> lines) {
    QStringList list;
    for (const char* line : lines)
        list.append(QString::fromUtf8(line));
    return list;
}

void expectAll(const QStringList& in, std::initializer_list<const char*> wanted) {
    for (const char* line : wanted)
        EXPECT_TRUE(in.contains(QString::fromUtf8(line))) << line << "\nin " << in.join(u'|').toStdString();
}

void expectNone(const QStringList& in, std::initializer_list<const char*> unwanted) {
    for (const char* line : unwanted)
        EXPECT_FALSE(in.contains(QString::fromUtf8(line))) << line;
}

constexpr const char* pairingNote = "Ouvre https://vennic.test/appairage sur un navigateur où tu es connecté, puis "
                                    "copie ici le code à 8 caractères affiché.";
constexpr const char* otherAccount = "Pour changer de compte, déconnecte-toi puis recommence avec un nouveau code.";
constexpr const char* pairFirst = "Appaire-toi d'abord dans l'onglet Général.";
constexpr const char* whatTheBridgeDoes =
    "Vennic peut rechercher et lire les fichiers des dossiers partagés seulement quand ce pont est actif. La présence "
    "du Mac reste visible une fois l'app appairée.";
constexpr const char* noFolder = "Aucun dossier partagé. Ajoute-en un pour que Vennic puisse y chercher.";
constexpr const char* sensitive =
    "Les dossiers sensibles (~/.ssh, Keychains, …) sont refusés même si tu les sélectionnes.";

TEST_F(SettingsWordsTest, theTabsBearTheirTitles) {
    open();
    for (const char* title : {"Général", "Bridge local", "LLM local"})
        EXPECT_EQ(roleOf(named(title)), QAccessible::PageTab) << title;
}

TEST_F(SettingsWordsTest, theFirstTabBeforePairing) {
    open();
    EXPECT_EQ(headings(), words({"Appairage", "Jeton manuel (avancé)", "Sécurité"}));
    expectAll(seen(),
              {"Code à 8 caractères", "Appairer", "X-User-Token", "Enregistrer", "Effacer",
               "Si tu préfères : colle un X-User-Token déjà émis par le backend.", "Mode haute sécurité",
               "Exige Touch ID / Apple Watch / mot de passe Mac à chaque lecture du jeton depuis le Trousseau."});
    expectAll(seen(), {pairingNote});
    expectAll(said(), {pairingNote});
    expectNone(seen(), {"Se déconnecter", otherAccount, "Réactiver", "Confirmation avant de quitter désactivée."});
    EXPECT_EQ(roleOf(named("Code à 8 caractères")), QAccessible::EditableText);
    EXPECT_EQ(roleOf(named("Appairer")), QAccessible::Button);
    EXPECT_EQ(roleOf(named(pairingNote)), QAccessible::Link);
    EXPECT_EQ(roleOf(named("Enregistrer")), QAccessible::Button);
    EXPECT_EQ(roleOf(named("Effacer")), QAccessible::Button);
    EXPECT_EQ(roleOf(named("Mode haute sécurité")), QAccessible::CheckBox);
    everythingReachedIsNamed();
}

TEST_F(SettingsWordsTest, theFirstTabOfAnAccount) {
    paired();
    open();
    EXPECT_EQ(headings(), words({"Appairage", "Jeton manuel (avancé)", "Sécurité"}));
    expectAll(seen(), {"Appairé avec marie@exemple.fr", "Se déconnecter", otherAccount,
                       "Confirmation avant de quitter désactivée.", "Réactiver"});
    expectNone(seen(), {"Code à 8 caractères", "Appairer"});
    expectNone(said(), {pairingNote});
    EXPECT_EQ(roleOf(named("Se déconnecter")), QAccessible::Button);
    EXPECT_EQ(roleOf(named("Réactiver")), QAccessible::Button);
    everythingReachedIsNamed();
}

TEST_F(SettingsWordsTest, theBridgeTabBeforePairing) {
    open("bridge");
    EXPECT_EQ(headings(), words({"Bridge local", "Connexion", "Dossiers partagés"}));
    expectAll(seen(), {"Activer le pont local", pairFirst, "Non connecté", noFolder, "Ajouter un dossier…", sensitive});
    expectNone(seen(), {whatTheBridgeDoes, "Tâches exécutées", "Dernière activité"});
    EXPECT_EQ(roleOf(named("Activer le pont local")), QAccessible::CheckBox);
    EXPECT_EQ(roleOf(named("Non connecté")), QAccessible::Indicator);
    EXPECT_EQ(roleOf(named("Ajouter un dossier…")), QAccessible::Button);
    everythingReachedIsNamed();
}

TEST_F(SettingsWordsTest, theBridgeTabAtWork) {
    paired();
    shares();
    bridgeAtWork();
    open("bridge");
    ASSERT_TRUE(foldersFound());
    expectAll(seen(),
              {"Activer le pont local", whatTheBridgeDoes, "Connecté, en attente", "Tâches exécutées", "1",
               "Dernière activité", "il y a 3 minutes", "Documents", "~/Documents", "Ajouter un dossier…", sensitive});
    expectNone(seen(), {pairFirst, noFolder});
    expectAll(said(), {"Tâches exécutées : 1", "Dernière activité : il y a 3 minutes", "Documents, ~/Documents"});
    EXPECT_EQ(named("Retirer Documents")->property("help").toString(), QStringLiteral("Retirer"));
    EXPECT_EQ(named("Retirer Documents")->property("symbol").toString(), QStringLiteral("minus.circle.fill"));
    EXPECT_EQ(roleOf(named("Retirer Documents")), QAccessible::Button);
    everythingReachedIsNamed();
}

TEST_F(SettingsWordsTest, theTabOfTheLocalModelNamesThePackageManagersSite) {
    open("localLlm");
    for (const QStringList& lines : {seen(), said()})
        expectAll(lines,
                  {"Prérequis : Homebrew (https://paquets.test). Le reste (uv, mlx-lm, LaunchAgent) est géré par "
                   "ce bouton."});
}

TEST_F(SettingsWordsTest, theDotOfTheBridgeHasTheColourOfItsState) {
    const auto dot = [this] {
        return named(settings->bridge()->statusLabel().toUtf8().constData())->property("dot").value<QColor>();
    };
    open("bridge");
    const QColor gray = dot();
    world.service->start(SecretText{"token"});
    ASSERT_TRUE(
        waitUntil([this] { return settings->bridge()->statusLabel() == QStringLiteral("Connecté, en attente"); }));
    paint();
    const QColor green = dot();
    EXPECT_GT(green.green(), green.red() + 60);
    EXPECT_LT(std::abs(gray.green() - gray.red()), 20);
}

} // namespace
} // namespace vennic::test
