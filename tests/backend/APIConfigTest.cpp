#include "backend/APIConfig.h"

#include "fakes/KeyValueStoreFake.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

Deployment deployment() {
    return {.backendUrl = QStringLiteral("https://api.vennic.test"),
            .backendDomain = QStringLiteral("vennic.test"),
            .apiHost = QStringLiteral("api.vennic.test"),
            .pairingPage = QStringLiteral("https://www.vennic.test/appairage"),
            .packageManagerSite = QStringLiteral("https://brew.test")};
}

struct Config : testing::Test {
    test::KeyValueStoreFake store;
    APIConfig config{store, deployment()};

    void override(const char* url) { store.set(QStringLiteral("apiBaseURL"), QString::fromUtf8(url)); }
};

TEST_F(Config, theDeploymentsAddressIsTheDefault) {
    EXPECT_EQ(config.baseURL(), QStringLiteral("https://api.vennic.test"));
    EXPECT_EQ(config.apiRoot(), QStringLiteral("https://api.vennic.test/api/v1"));
}

TEST_F(Config, anOverrideCountsFromTheNextUseOn) {
    override("https://staging.vennic.test/");
    EXPECT_EQ(config.baseURL(), QStringLiteral("https://staging.vennic.test/"));
    EXPECT_EQ(config.apiRoot(), QStringLiteral("https://staging.vennic.test/api/v1"));
    store.remove(QStringLiteral("apiBaseURL"));
    EXPECT_EQ(config.baseURL(), QStringLiteral("https://api.vennic.test"));
}

TEST_F(Config, anUnsafeOverrideIsIgnored) {
    for (const char* url : {"http://api.vennic.test", "https://evil.test", "https://evilvennic.test", ""}) {
        override(url);
        EXPECT_EQ(config.baseURL(), QStringLiteral("https://api.vennic.test")) << url;
    }
}

TEST_F(Config, anOverrideOfAnotherTypeIsIgnored) {
    store.set(QStringLiteral("apiBaseURL"), qint64{5});
    EXPECT_EQ(config.baseURL(), QStringLiteral("https://api.vennic.test"));
    store.set(QStringLiteral("apiBaseURL"), QByteArray("https://staging.vennic.test"));
    EXPECT_EQ(config.baseURL(), QStringLiteral("https://api.vennic.test"));
}

TEST_F(Config, aRootThatEndsInTheSuffixIsNotDoubledAndUserAddressesKeepTheRawText) {
    override("https://api.vennic.test/api/v1/");
    EXPECT_EQ(config.apiRoot(), QStringLiteral("https://api.vennic.test/api/v1"));
    EXPECT_EQ(config.userURL(7).toString(), QStringLiteral("https://api.vennic.test/api/v1//users/7.json"));
}

TEST_F(Config, everySlashAtTheEndIsTrimmedFromTheRoot) {
    override("https://api.vennic.test/x///");
    EXPECT_EQ(config.apiRoot(), QStringLiteral("https://api.vennic.test/x/api/v1"));
}

TEST_F(Config, userAddressesStandOutsideTheRoot) {
    EXPECT_EQ(config.userURL(42).toString(), QStringLiteral("https://api.vennic.test/users/42.json"));
    EXPECT_EQ(config.userURL(-1).toString(), QStringLiteral("https://api.vennic.test/users/-1.json"));
}

TEST_F(Config, theWaitIsClampedIntoOneToThirty) {
    const auto url = [&](qint64 wait) { return config.bridgeNextTaskURL(wait).toString(); };
    const auto expected = QStringLiteral("https://api.vennic.test/api/v1/bridge/tasks/next?wait=%1");
    EXPECT_EQ(url(25), expected.arg(25));
    EXPECT_EQ(url(0), expected.arg(1));
    EXPECT_EQ(url(-5), expected.arg(1));
    EXPECT_EQ(url(30), expected.arg(30));
    EXPECT_EQ(url(31), expected.arg(30));
    EXPECT_EQ(url(100), expected.arg(30));
    EXPECT_EQ(url(std::numeric_limits<qint64>::max()), expected.arg(30));
}

TEST_F(Config, theLimitIsClampedIntoOneToTwenty) {
    const auto url = [&](qint64 limit) { return config.recentDiscussionsURL(limit).toString(); };
    const auto expected = QStringLiteral("https://api.vennic.test/api/v1/discussions.json?limit=%1");
    EXPECT_EQ(url(5), expected.arg(5));
    EXPECT_EQ(url(0), expected.arg(1));
    EXPECT_EQ(url(50), expected.arg(20));
}

TEST_F(Config, aTaskIdStandsInThePathAsItIs) {
    EXPECT_EQ(config.bridgeTaskURL(QStringLiteral("t-1_2.3~"))->toEncoded(),
              "https://api.vennic.test/api/v1/bridge/tasks/t-1_2.3~");
    EXPECT_EQ(config.bridgeTaskURL(QStringLiteral("a%2Fb"))->toEncoded(),
              "https://api.vennic.test/api/v1/bridge/tasks/a%2Fb");
    EXPECT_EQ(config.bridgeTaskURL(QString())->toEncoded(), "https://api.vennic.test/api/v1/bridge/tasks/");
}

TEST_F(Config, noTaskIdLeadsToAnotherOrigin) {
    for (const char* id : {"../../../../evil", "..", "//evil.test/", "@evil.test", ":80@evil.test/", "?x=1",
                           "?@evil.test", "#f", "https://evil.test/", "/../../@evil.test", "%2e%2e/%2e%2e", ";evil",
                           "a/b/c", "...", "é", "\xF0\x9F\x98\x80"}) {
        const auto url = config.bridgeTaskURL(QString::fromUtf8(id));
        ASSERT_TRUE(url) << id;
        EXPECT_EQ(url->scheme(), QStringLiteral("https")) << id;
        EXPECT_EQ(url->authority(), QStringLiteral("api.vennic.test")) << id;
        EXPECT_TRUE(url->toEncoded().startsWith("https://api.vennic.test/api/v1/bridge/tasks/")) << id;
    }
}

TEST_F(Config, aTaskIdThatCannotStandInAnAddressGivesNone) {
    for (const char* id :
         {"a b", "a\nb", "a\r\nX-Injected: yes", "\t", "a\\b", "%zz", "%", "<x>", "\"", "\x01", "\x7F"})
        EXPECT_FALSE(config.bridgeTaskURL(QString::fromUtf8(id))) << id;
    EXPECT_FALSE(config.bridgeTaskURL(QString(QChar(u'\0'))));
    EXPECT_FALSE(config.bridgeTaskURL(QString(1024 * 1024, QChar(u'a'))));
    EXPECT_TRUE(config.bridgeTaskURL(QString(60 * 1024, QChar(u'a'))));
}

} // namespace
} // namespace vennic
