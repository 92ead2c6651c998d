#include "base/Identifier.h"

#include <gtest/gtest.h>

using namespace vennic;

TEST(IdentifierTest, aNewIdentifierIsAUuidInCapitalsAndReadsBack) {
    const QString made = newIdentifier();
    EXPECT_EQ(made.size(), 36);
    EXPECT_EQ(made, made.toUpper());
    EXPECT_NE(made, newIdentifier());
    const auto read = uuidFromText(made);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->toString(QUuid::WithoutBraces).toUpper(), made);
}

TEST(IdentifierTest, aUuidIsReadInAnyCaseAlsoTheOneOfZeros) {
    const QString text = QStringLiteral("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    EXPECT_EQ(uuidFromText(text), uuidFromText(text.toLower()));
    EXPECT_NE(uuidFromText(text), std::nullopt);
    EXPECT_EQ(uuidFromText(QStringLiteral("00000000-0000-0000-0000-000000000000")), QUuid());
}

TEST(IdentifierTest, nothingElseIsAUuid) {
    const QString text = QStringLiteral("3F2504E0-4F89-41D3-9A0C-0305E82C3301");
    for (const QString& other :
         {QString(), QStringLiteral("x"), u'{' + text + u'}', u'{' + text, text + u'0', text.chopped(1), text + u' ',
          u' ' + text, QString(text).remove(u'-'), QString(text).replace(u'-', u'_'), QString(text).replace(0, 1, u'G'),
          QString(text).replace(1, 1, u'-'), QString(text).replace(0, 1, QChar(0xff26)), text + QChar::Null})
        EXPECT_EQ(uuidFromText(other), std::nullopt) << other.toStdString();
}
