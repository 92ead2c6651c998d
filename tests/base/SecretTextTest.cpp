#include "base/SecretText.h"

#include <gtest/gtest.h>

using namespace vennic;

TEST(SecretText, printsAsDots) {
    QString out;
    QDebug(&out) << SecretText("jeton");
    EXPECT_TRUE(out.contains(QStringLiteral("•••")));
    EXPECT_FALSE(out.contains(QStringLiteral("jeton")));
}

TEST(SecretText, trimsWhiteSpaceAndNewlinesAtBothEnds) {
    EXPECT_EQ(SecretText(" \n a b\t\r\n").trimmed().reveal(), QByteArrayView("a b"));
    EXPECT_TRUE(SecretText(" \n\u00a0").trimmed().isEmpty());
}

TEST(SecretText, comparesByContent) {
    EXPECT_EQ(SecretText("a"), SecretText("a"));
    EXPECT_FALSE(SecretText("a") == SecretText("b"));
    EXPECT_FALSE(SecretText("a") == SecretText("ab"));
    EXPECT_EQ(SecretText(), SecretText(""));
}

TEST(SecretText, hasNoImplicitConversion) {
    static_assert(!std::is_convertible_v<SecretText, QString>);
    static_assert(!std::is_convertible_v<SecretText, QByteArray>);
    static_assert(!std::is_convertible_v<QByteArray, SecretText>);
}
