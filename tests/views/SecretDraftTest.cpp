#include "settings/SecretDraft.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

struct SecretDraftTest : testing::Test {
    SecretDraft draft;
    QString content() const { return QString::fromUtf8(draft.secret().reveal()); }
};

TEST_F(SecretDraftTest, whatIsTypedStandsAtTheEnd) {
    draft.set(SecretText{"ab"});
    draft.insert(QStringLiteral("c"));
    draft.insert(QStringLiteral("é€😀"));
    EXPECT_EQ(content(), QStringLiteral("abcé€😀"));
    EXPECT_EQ(draft.length(), 6);
}

TEST_F(SecretDraftTest, theLastCharacterIsTakenAwayWhole) {
    draft.set(SecretText{"a\xC3\xA9\xF0\x9F\x98\x80"});
    draft.erase();
    EXPECT_EQ(content(), QStringLiteral("aé"));
    draft.erase();
    EXPECT_EQ(content(), QStringLiteral("a"));
    draft.erase();
    draft.erase();
    EXPECT_EQ(draft.length(), 0);
    EXPECT_TRUE(draft.secret().isEmpty());
}

TEST_F(SecretDraftTest, whatIsSelectedIsReplacedOrTakenAway) {
    draft.set(SecretText{"old"});
    draft.selectAll();
    EXPECT_TRUE(draft.isSelected());
    draft.insert(QStringLiteral("new"));
    EXPECT_EQ(content(), QStringLiteral("new"));
    EXPECT_FALSE(draft.isSelected());
    draft.selectAll();
    draft.erase();
    EXPECT_EQ(draft.length(), 0);
    draft.selectAll();
    EXPECT_FALSE(draft.isSelected()) << "there is nothing to select";
    draft.insert(QStringLiteral("x"));
    draft.selectAll();
    draft.deselect();
    draft.insert(QStringLiteral("y"));
    EXPECT_EQ(content(), QStringLiteral("xy"));
}

TEST_F(SecretDraftTest, nothingIsTrimmedOrFiltered) {
    draft.insert(QStringLiteral("  a b\n"));
    EXPECT_EQ(content(), QStringLiteral("  a b\n"));
}

TEST_F(SecretDraftTest, moreThanATokenCanHaveIsRefusedAsAWhole) {
    draft.insert(QString(SecretDraft::mostBytes - 1, u'a'));
    EXPECT_EQ(draft.length(), SecretDraft::mostBytes - 1);
    draft.insert(QStringLiteral("é"));
    EXPECT_EQ(draft.length(), SecretDraft::mostBytes - 1);
    draft.insert(QStringLiteral("b"));
    EXPECT_EQ(draft.length(), SecretDraft::mostBytes);
    draft.selectAll();
    draft.insert(QString(SecretDraft::mostBytes + 1, u'a'));
    EXPECT_EQ(draft.length(), SecretDraft::mostBytes) << "what was selected stays";
}

TEST_F(SecretDraftTest, scrubbingOverwritesEachCharacterWithAZeroFirst) {
    draft.set(SecretText{"s\xC3\xA9"
                         "cret"});
    QStringList seen;
    QObject::connect(&draft, &SecretDraft::changed, [&] { seen.append(content()); });
    draft.scrub();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("000000"), QString()}));
}

} // namespace
} // namespace vennic
