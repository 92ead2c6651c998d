#include "server/RunningServer.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace vennic::server::test {

namespace {
struct DiscussionsApiTest : ::testing::Test {
    RunningServer server;
    QByteArray token = server.pair();
    void import(const QByteArray& body) {
        server.connect().request("POST", "/api/v1/queries/import.json", clientFields(token), body);
    }
};
} // namespace

TEST_F(DiscussionsApiTest, theOwnerSeesTheDiscussionsNewestFirst) {
    import(R"({"text":"première","response_text":"a"})");
    server.moveDate(std::chrono::seconds{5});
    import(R"({"text":"<b>seconde</b>","response_text":"b"})");
    const QJsonArray all = QJsonDocument::fromJson(server.owner("GET", "/owner/discussions").body).array();
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all.at(0)[QLatin1String("name")], QStringLiteral("<b>seconde</b>"));
    EXPECT_EQ(all.at(1)[QLatin1String("queries_count")], 1);
    EXPECT_EQ(QJsonDocument::fromJson(server.owner("GET", "/owner/discussions?limit=1").body).array().size(), 1);
}

TEST_F(DiscussionsApiTest, aDiscussionIsShownWithItsTurnsOldestFirst) {
    import(R"({"text":"q1","response_text":"r1","model":"m"})");
    import(R"({"text":"q2","response_text":"r2","discussion_id":1})");
    const QJsonObject discussion = server.owner("GET", "/owner/discussions/1").json();
    EXPECT_EQ(discussion.value(QLatin1String("name")), QStringLiteral("q1"));
    const QJsonArray turns = discussion.value(QLatin1String("turns")).toArray();
    ASSERT_EQ(turns.size(), 2);
    EXPECT_EQ(turns.at(0)[QLatin1String("model")], QStringLiteral("m"));
    EXPECT_EQ(turns.at(1)[QLatin1String("reply")], QStringLiteral("r2"));
}

TEST_F(DiscussionsApiTest, whatIsNoDiscussionIsNotFound) {
    for (const char* id : {"1", "0", "-1", "x", "99999999999999999999", "1%20"})
        EXPECT_EQ(server.owner("GET", QByteArray("/owner/discussions/") + id).status, 404) << id;
}

TEST_F(DiscussionsApiTest, onlyTheOwnerSeesThem) {
    EXPECT_EQ(server.connect().request("GET", "/owner/discussions").status, 401);
    EXPECT_EQ(server.connect().request("GET", "/owner/discussions", clientFields(token)).status, 401);
    EXPECT_EQ(server.connect().request("GET", "/owner/discussions/1", clientFields(token)).status, 401);
}

TEST_F(DiscussionsApiTest, theirPageIsGuardedLikeTheConsole) {
    for (const char* path : {"/discussions", "/discussions/1"}) {
        const Answer page = server.connect().request("GET", path);
        EXPECT_EQ(page.status, 200);
        EXPECT_TRUE(page.head.contains("require-trusted-types-for 'script'")) << path;
        EXPECT_TRUE(page.body.contains("<html lang=\"fr\">"));
    }
}

} // namespace vennic::server::test
