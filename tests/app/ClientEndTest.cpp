#include "app/ClientWorld.h"
#include "support/Await.h"

#include <QElapsedTimer>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

struct ClientEndTest : test::ClientWorld {
    int quits = 0;

    void end() {
        client().end([this] { ++quits; });
    }
    /// Signs in, and out again.
    void signOut() {
        client().session().setToken(SecretText("jeton"));
        client().session().setToken(SecretText());
    }
};

} // namespace

TEST_F(ClientEndTest, withoutASignOutItEndsAtOnce) {
    end();
    EXPECT_EQ(quits, 1);
}

TEST_F(ClientEndTest, aSignOutReachesTheBackendFirst) {
    server.onRequest(test::answers::plain(204));
    signOut();
    end();
    EXPECT_EQ(quits, 0);
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
    EXPECT_EQ(server.count("DELETE", "/api/v1/session"), 1);
}

TEST_F(ClientEndTest, aBackendThatRefusesHoldsUpNothing) {
    server.onRequest(test::answers::plain(500));
    signOut();
    end();
    ASSERT_TRUE(test::waitUntil([&] { return quits == 1; }));
}

TEST_F(ClientEndTest, whoAsksTwiceDoesNotWait) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest&) { wire.hold(); });
    signOut();
    end();
    EXPECT_EQ(quits, 0);
    end();
    EXPECT_EQ(quits, 1);
}

TEST_F(ClientEndTest, aBackendThatNeverAnswersIsGivenUpLongBeforeItsTimeOut) {
    server.onRequest([](test::Wire& wire, const test::ReceivedRequest&) { wire.hold(); });
    signOut();
    end();
    EXPECT_TRUE(test::waitUntil([&] { return quits == 1; }, 10s)); // the call itself may take 15
}
