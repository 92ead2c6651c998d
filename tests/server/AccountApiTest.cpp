#include "server/RunningServer.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
struct AccountApiTest : ::testing::Test {
    Answer claim(const QByteArray& body) {
        return server.connect().request("POST", "/api/v1/pairings/claim", {}, body);
    }
    QByteArray newCode() { return server.owner("POST", "/owner/pairings").text("code"); }
    static QByteArray claimBody(const QByteArray& code) {
        return R"({"client_kind":"mac","pairing_code":")" + code + R"("})";
    }
    RunningServer server;
};
} // namespace

TEST_F(AccountApiTest, aCodeGivesATokenOnce) {
    const QByteArray code = newCode();
    const Answer first = claim(claimBody(code));
    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.json().value(QLatin1String("email")), QStringLiteral("proprietaire@localhost"));
    EXPECT_EQ(first.json().value(QLatin1String("user_token")).toString().size(), 43);
    const Answer second = claim(claimBody(code));
    EXPECT_EQ(second.status, 422);
    EXPECT_EQ(second.error(), QStringLiteral("code déjà utilisé"));
}

TEST_F(AccountApiTest, anExpiredCodeIsRefused) {
    const QByteArray code = newCode();
    server.moveDate(10min);
    const Answer answer = claim(claimBody(code));
    EXPECT_EQ(answer.status, 422);
    EXPECT_EQ(answer.error(), QStringLiteral("code expiré"));
}

TEST_F(AccountApiTest, guessingIsStopped) {
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(claim(claimBody("AAAAAAAA")).status, 401);
    const Answer answer = claim(claimBody("AAAAAAAA"));
    EXPECT_EQ(answer.status, 429);
    EXPECT_TRUE(answer.head.contains("Retry-After: 60\r\n"));
}

TEST_F(AccountApiTest, refusesClaimsThatDoNotFit) {
    EXPECT_EQ(claim("{").status, 400);
    for (const char* body : {"{}", R"({"pairing_code":"AAAAAAAA"})", R"({"pairing_code":7,"client_kind":"mac"})",
                             R"({"pairing_code":"","client_kind":"mac"})"})
        EXPECT_EQ(claim(body).status, 422) << body;
    EXPECT_EQ(claim(QByteArray(17'000, ' ')).status, 413);
}

TEST_F(AccountApiTest, preferencesAreSharedAndWhatWasNeverSetIsAbsent) {
    const QByteArray token = server.pair();
    const auto me = [&] { return server.connect().request("GET", "/api/v1/me.json", clientFields(token)).json(); };
    EXPECT_EQ(me().keys(), (QStringList{QStringLiteral("email"), QStringLiteral("id")}));
    const auto patch = [&](const QByteArray& target, const QByteArray& body) {
        return server.connect().request("PATCH", target, clientFields(token), body).status;
    };
    EXPECT_EQ(patch("/users/1.json", R"({"user":{"default_voice_mode":"ptt","transcribe_audio":false}})"), 200);
    EXPECT_EQ(patch("/api/v1/users/1.json", R"({"user":{"default_provider":"local","default_audio_voice":"Léa"}})"),
              200);
    EXPECT_EQ(patch("/users/1.json", R"({"user":{}})"), 200);
    const QJsonObject now = me();
    EXPECT_EQ(now.value(QLatin1String("default_voice_mode")), QStringLiteral("ptt"));
    EXPECT_EQ(now.value(QLatin1String("transcribe_audio")), false);
    EXPECT_EQ(now.value(QLatin1String("default_provider")), QStringLiteral("local"));
    EXPECT_EQ(now.value(QLatin1String("default_audio_voice")), QStringLiteral("Léa"));
    EXPECT_EQ(patch("/users/2.json", R"({"user":{}})"), 403);
    EXPECT_EQ(patch("/users/.json", R"({"user":{}})"), 404);
    for (const char* body : {"{}", R"({"user":3})", R"({"user":{"default_voice_mode":"loud"}})",
                             R"({"user":{"audio_output":"yes"}})", R"({"user":{"default_provider":null}})"})
        EXPECT_EQ(patch("/users/1.json", body), 422) << body;
}

TEST_F(AccountApiTest, accountCallsWantAToken) {
    for (const auto& [method, target] : {std::pair("GET", "/api/v1/me.json"), std::pair("PATCH", "/users/1.json"),
                                         std::pair("DELETE", "/api/v1/session")}) {
        const Answer answer = server.connect().request(method, target, "X-User-Token: \r\n");
        EXPECT_EQ(answer.status, 401) << target;
        EXPECT_FALSE(answer.error().isEmpty()) << target;
    }
}

} // namespace vennic::server::test
