#include "app/screen/FrenchSpacing.h"

#include "screen/ScreenFixture.h"

#include <QQmlComponent>

namespace vennic {
namespace {

/// With a low line for each blank at which no line ends.
std::string spaced(const char* text) {
    return withFrenchSpacing(QString::fromUtf8(text)).replace(QChar::Nbsp, u'_').toStdString();
}

struct Spacing {
    const char* written;
    const char* shown;
};

constexpr Spacing spacings[] = {
    // marks keep to the word before them
    {"Voici : tu dois 42 € !", "Voici_: tu dois 42_€_!"},
    {"Vraiment ? Oui ; 3 %, donc.", "Vraiment_? Oui_; 3_%, donc."},
    {"Hein ?!", "Hein_?!"},
    {"Hors ligne : HTTP 503", "Hors ligne_: HTTP 503"},
    {"Qwen3 · 8B · installé", "Qwen3_· 8B_· installé"},
    {"Vennic — ton assistant — répond", "Vennic_— ton assistant_— répond"},
    // quotation marks keep to what they quote
    {"Dis « lis le premier » et je lis.", "Dis «_lis le premier_» et je lis."},
    {"« facture » :", "«_facture_»_:"},
    {"« ", "«_"},
    // a unit keeps to its number
    {"4,6 GB sur 16 GB · 812 MB.", "4,6_GB sur 16_GB_· 812_MB."},
    {"en 340 ms, à 31 tok/s (2 s)", "en 340_ms, à 31_tok/s (2_s)"},
    {"il y a 5 min", "il y a 5_min"},
    // everything else is left alone
    {"", ""},
    {" ", " "},
    {"a b", "a b"},
    {"a: b", "a: b"},
    {" : b", " : b"},
    {"  : b", "  : b"},
    {"voir :-) et :/tmp", "voir :-) et :/tmp"},
    {"a :b", "a :b"},
    {"a ·b —c", "a ·b —c"},
    {"— Oui", "— Oui"},
    {"un  ; deux", "un  ; deux"},
    {"a\n: b", "a\n: b"},
    {"%20 %s", "%20 %s"},
    {"3 minutes, 2 sœurs, 4 semaines, 1 s2", "3 minutes, 2 sœurs, 4 semaines, 1 s2"},
    {"les s et les GB", "les s et les GB"},
    {" s", " s"},
};

} // namespace

TEST(FrenchSpacing, holdsTogetherWhatNoLineMayPart) {
    for (const auto& [written, shown] : spacings)
        EXPECT_EQ(spaced(written), shown);
}

TEST(FrenchSpacing, keepsEveryCharacterInItsPlace) {
    for (const auto& [written, shown] : spacings) {
        const QString text = QString::fromUtf8(written);
        QString back = withFrenchSpacing(text);
        ASSERT_EQ(back.size(), text.size());
        EXPECT_EQ(back.replace(QChar::Nbsp, u' '), text);
    }
    EXPECT_EQ(withFrenchSpacing(QStringLiteral("« é » : 👍 ! ?")).size(), QStringLiteral("« é » : 👍 ! ?").size());
}

struct FrenchSpacingInQml : test::ScreenFixture {};

TEST_F(FrenchSpacingInQml, isTheSame) {
    QQmlComponent component(&screen().engine());
    component.setData("import QtQml\nimport Vennic\n"
                      "QtObject { property string written; property string shown: FrenchSpacing.typeset(written) }",
                      QUrl(QStringLiteral("qrc:/Vennic/Asking.qml")));
    const std::unique_ptr<QObject> qml(component.create());
    ASSERT_TRUE(qml) << component.errorString().toStdString();
    for (const auto& [written, shown] : spacings) {
        qml->setProperty("written", QString::fromUtf8(written));
        EXPECT_EQ(qml->property("shown").toString().replace(QChar::Nbsp, u'_').toStdString(), shown);
    }
}

} // namespace vennic
