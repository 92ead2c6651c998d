#include "server/OwnerGate.h"

#include "server/HttpError.h"
#include "server/TurnedTime.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
struct OwnerGateTest : ::testing::Test {
    int admit(const QByteArray& method, const HttpFields& fields) {
        RequestHead head;
        head.method = method;
        head.fields = fields;
        try {
            gate.admit(head);
        } catch (const HttpError& error) {
            return error.status;
        }
        return 200;
    }
    QByteArray session() { return gate.openSession().split(';').constFirst(); }
    TurnedTime time;
    OwnerGate gate{"secret", time};
};
} // namespace

TEST_F(OwnerGateTest, theKeyOpensAndAnythingElseDoesNot) {
    EXPECT_EQ(admit("POST", {{"x-owner-key", "secret"}}), 200);
    EXPECT_EQ(admit("GET", {{"x-owner-key", "secre"}}), 401);
    EXPECT_EQ(admit("GET", {{"x-owner-key", ""}}), 401);
    EXPECT_EQ(admit("GET", {}), 401);
}

TEST_F(OwnerGateTest, theCookieIsOutOfReachOfScriptsAndOtherSites) {
    const QByteArray cookie = gate.openSession();
    EXPECT_TRUE(cookie.startsWith("__Host-vennic="));
    for (const char* word : {"; Secure", "; HttpOnly", "; SameSite=Strict", "; Path=/"})
        EXPECT_TRUE(cookie.contains(word)) << word;
}

TEST_F(OwnerGateTest, aSessionReadsFreelyAndWritesOnlyFromTheConsole) {
    const QByteArray cookie = "other=1; " + session();
    EXPECT_EQ(admit("GET", {{"cookie", cookie}}), 200);
    EXPECT_EQ(admit("POST", {{"cookie", cookie}}), 403);
    const HttpFields console{{"cookie", cookie}, {"x-vennic-console", "1"}, {"host", "localhost:1"}};
    EXPECT_EQ(admit("POST", console), 200);
    EXPECT_EQ(admit("POST", console + HttpFields{{"origin", "https://localhost:1"}}), 200);
    EXPECT_EQ(admit("DELETE", console + HttpFields{{"origin", "https://evil.example"}}), 403);
    EXPECT_EQ(admit("GET", {{"cookie", "__Host-vennic=guess"}}), 401);
}

TEST_F(OwnerGateTest, aSessionEndsByTimeAndByLeaving) {
    const QByteArray one = session();
    const QByteArray two = session();
    RequestHead head;
    head.fields = {{"cookie", one}};
    EXPECT_TRUE(gate.closeSession(head).contains("Max-Age=0"));
    EXPECT_EQ(admit("GET", {{"cookie", one}}), 401);
    EXPECT_EQ(admit("GET", {{"cookie", two}}), 200);
    time.advance(12h);
    EXPECT_EQ(admit("GET", {{"cookie", two}}), 401);
}

} // namespace vennic::server::test
