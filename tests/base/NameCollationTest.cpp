#include "base/NameCollation.h"

#include <QStringList>

#include <algorithm>
#include <clocale>
#include <gtest/gtest.h>
#include <locale>

using namespace vennic;

namespace {

QStringList sorted(QStringList names) {
    const NameCollation collation;
    std::ranges::sort(names, [&](const QString& a, const QString& b) { return collation.key(a) < collation.key(b); });
    return names;
}

int compared(const QString& a, const QString& b) {
    const NameCollation collation;
    return collation.key(a).compare(collation.key(b));
}

} // namespace

TEST(NameCollationTest, lettersComeBeforeAccentsAndCaseDoesNotCount) {
    const QStringList expected{QStringLiteral("1"),     QStringLiteral("a"),     QStringLiteral("B"),
                               QStringLiteral("cote"),  QStringLiteral("coté"),  QStringLiteral("côte"),
                               QStringLiteral("Côté"),  QStringLiteral("écart"), QStringLiteral("Edf"),
                               QStringLiteral("été"),   QStringLiteral("OEIL"),  QStringLiteral("œuf"),
                               QStringLiteral("oncle"), QStringLiteral("Zèbre")};
    for (QStringList names = expected; std::next_permutation(names.begin(), names.begin() + 5);)
        ASSERT_EQ(sorted(names), expected);
    QStringList backwards = expected;
    std::ranges::reverse(backwards);
    EXPECT_EQ(sorted(backwards), expected);
}

TEST(NameCollationTest, namesThatDifferInCaseOrCompositionAloneAreEqual) {
    EXPECT_EQ(compared(QStringLiteral("Été.PDF"), QStringLiteral("éTÉ.pdf")), 0);
    EXPECT_EQ(compared(QStringLiteral("été"), QStringLiteral("e\u0301te\u0301")), 0);
    EXPECT_NE(compared(QStringLiteral("été"), QStringLiteral("ete")), 0);
    EXPECT_LT(compared(QStringLiteral("ete"), QStringLiteral("été")), 0);
    EXPECT_LT(compared(QStringLiteral("été"), QStringLiteral("etf")), 0);
}

TEST(NameCollationTest, figuresAreComparedOneByOne) {
    EXPECT_LT(compared(QStringLiteral("fichier 10"), QStringLiteral("fichier 2")), 0);
}

TEST(NameCollationTest, signsAndSpacesCount) {
    EXPECT_EQ(sorted({QStringLiteral("ab"), QStringLiteral("a-b"), QStringLiteral("a b"), QStringLiteral("a_b")}),
              (QStringList{QStringLiteral("a b"), QStringLiteral("a_b"), QStringLiteral("a-b"), QStringLiteral("ab")}));
}

TEST(NameCollationTest, theLocaleOfTheProcessHasNoSay) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    EXPECT_LT(compared(QStringLiteral("écart"), QStringLiteral("Edf")), 0);
    EXPECT_LT(compared(QStringLiteral("a"), QStringLiteral("B")), 0);
    std::setlocale(LC_ALL, before.c_str());
}

TEST(NameCollationTest, textOfAnyKindHasAKey) {
    EXPECT_EQ(compared({}, {}), 0);
    EXPECT_LT(compared({}, QStringLiteral("a")), 0);
    EXPECT_EQ(compared(QString(QChar(0xd800)), QString(QChar(0xd800))), 0);
    EXPECT_NE(compared(QStringLiteral("🎉"), QStringLiteral("日本")), 0);
    EXPECT_EQ(compared(QString(100'000, u'é'), QString(100'000, u'É')), 0);
}
