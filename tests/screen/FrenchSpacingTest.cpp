#include "app/screen/FrenchSpacing.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

/// With a low line for each blank at which no line ends.
std::string spaced(const char* text) {
    return withFrenchSpacing(QString::fromUtf8(text)).replace(QChar::Nbsp, u'_').toStdString();
}

} // namespace

TEST(FrenchSpacing, holdsMarksToTheirWord) {
    EXPECT_EQ(spaced("Voici : tu dois 42 € !"), "Voici_: tu dois 42_€_!");
    EXPECT_EQ(spaced("Vraiment ? Oui ; 3 %, donc."), "Vraiment_? Oui_; 3_%, donc.");
    EXPECT_EQ(spaced("Hein ?!"), "Hein_?!");
}

TEST(FrenchSpacing, holdsQuotationMarksToWhatTheyQuote) {
    EXPECT_EQ(spaced("Dis « lis le premier » et je lis."), "Dis «_lis le premier_» et je lis.");
    EXPECT_EQ(spaced("« facture » :"), "«_facture_»_:");
    EXPECT_EQ(spaced("« "), "«_");
}

TEST(FrenchSpacing, leavesEverythingElseAlone) {
    for (const char* text :
         {"", " ", "a b", "a: b", " : b", "  : b", "voir :-) et :/tmp", "a :b", "un  ; deux", "a\n: b", "%20 %s"})
        EXPECT_EQ(spaced(text), text);
}

TEST(FrenchSpacing, keepsEveryCharacterInItsPlace) {
    const QString text = QStringLiteral("« é » : 👍 ! ?");
    const QString shown = withFrenchSpacing(text);
    ASSERT_EQ(shown.size(), text.size());
    QString back = shown;
    EXPECT_EQ(back.replace(QChar::Nbsp, u' '), text);
}

} // namespace vennic
