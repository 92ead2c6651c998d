#include "server/PairingDesk.h"

#include "server/Database.h"
#include "server/HttpError.h"
#include "server/Schema.h"
#include "server/TurnedTime.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
struct PairingDeskTest : ::testing::Test {
    PairingDeskTest() {
        prepareSchema(database);
        accounts.ensureOwner(QStringLiteral("moi@maison"));
    }
    int claim(const QString& code, const char* address = "10.0.0.1") {
        try {
            claimed = desk.claim(code, QStringLiteral("mac"), QString::fromLatin1(address));
            return 200;
        } catch (const HttpError& error) {
            sentence = error.errorDescription();
            return error.status;
        }
    }
    TurnedTime time;
    Database database{QStringLiteral(":memory:")};
    Accounts accounts{database};
    PairingDesk desk{database, accounts, time};
    ClaimedPairing claimed;
    QString sentence;
};
} // namespace

TEST_F(PairingDeskTest, aCodeHasEightUnambiguousCharactersAndGivesAToken) {
    const Pairing pairing = desk.open(1);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^[A-HJKMNP-Z2-9]{8}$")).match(pairing.code).hasMatch());
    EXPECT_EQ(pairing.expiresAt, time.wallMs() + 600'000);
    ASSERT_EQ(claim(pairing.code), 200);
    EXPECT_EQ(claimed.email, QStringLiteral("moi@maison"));
    EXPECT_EQ(accounts.holder(claimed.token)->account, 1);
    EXPECT_FALSE(accounts.holder("x" + claimed.token));
    EXPECT_FALSE(accounts.holder({}));
}

TEST_F(PairingDeskTest, neitherTokenNorCodeStandsInTheDatabase) {
    const Pairing pairing = desk.open(1);
    ASSERT_EQ(claim(pairing.code), 200);
    Query tokens = database.query("SELECT count(*) FROM tokens WHERE instr(hash, ?) > 0", claimed.token);
    ASSERT_TRUE(tokens.next());
    EXPECT_EQ(tokens.integer(0), 0);
    Query codes = database.query("SELECT hash FROM pairings");
    ASSERT_TRUE(codes.next());
    EXPECT_EQ(codes.bytes(0).size(), 32);
}

TEST_F(PairingDeskTest, aCodeWorksOnce) {
    const Pairing pairing = desk.open(1);
    EXPECT_EQ(desk.state(1, pairing.code), PairingState::Waiting);
    EXPECT_EQ(claim(pairing.code), 200);
    EXPECT_EQ(desk.state(1, pairing.code), PairingState::Claimed);
    EXPECT_EQ(claim(pairing.code), 422);
    EXPECT_EQ(sentence, QStringLiteral("code déjà utilisé"));
}

TEST_F(PairingDeskTest, aCodeExpiresAfterTenMinutes) {
    const Pairing early = desk.open(1);
    const Pairing late = desk.open(1);
    time.advance(10min - 1ms);
    EXPECT_EQ(claim(early.code), 200);
    time.advance(1ms);
    EXPECT_EQ(claim(late.code), 422);
    EXPECT_EQ(sentence, QStringLiteral("code expiré"));
    EXPECT_EQ(desk.state(1, late.code), PairingState::Expired);
}

TEST_F(PairingDeskTest, aCodeMayBeTypedInLowerCaseWithAGap) {
    const QString code = desk.open(1).code.toLower();
    EXPECT_EQ(claim(code.left(4) + QStringLiteral(" ") + code.mid(4) + QStringLiteral("\n")), 200);
}

TEST_F(PairingDeskTest, wrongCodesAreCountedByAddressForAMinute) {
    const Pairing pairing = desk.open(1);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(claim(QStringLiteral("WRONG234")), 401);
    EXPECT_EQ(claim(pairing.code), 429);
    EXPECT_EQ(claim(QStringLiteral("WRONG234"), "10.0.0.2"), 401);
    time.advance(1min);
    EXPECT_EQ(claim(pairing.code), 200);
}

TEST_F(PairingDeskTest, manyAddressesTogetherAreLimitedToo) {
    const Pairing pairing = desk.open(1);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(claim(QStringLiteral("WRONG234"), qPrintable(QStringLiteral("10.0.1.%1").arg(i / 5))), 401);
    EXPECT_EQ(claim(pairing.code, "10.9.9.9"), 429);
}

TEST_F(PairingDeskTest, atMostTwentyCodesWait) {
    for (int i = 0; i < 20; ++i)
        desk.open(1);
    EXPECT_THROW(desk.open(1), HttpError);
    time.advance(10min);
    EXPECT_NO_THROW(desk.open(1));
}

} // namespace vennic::server::test
