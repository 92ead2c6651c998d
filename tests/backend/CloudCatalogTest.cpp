#include "backend/CloudCatalog.h"

#include "support/Await.h"
#include "support/ScriptedBackend.h"
#include "support/TestClock.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

using namespace std::chrono_literals;

const QByteArray oneProvider = R"([{"id":1,"slug":"openai","name":"OpenAI","models":[{"id":2,"slug":"m"}]}])";

struct CloudCatalogTest : testing::Test, test::ScriptedBackend {
    test::TestClock clock;
    CloudCatalog catalog{http, config, clock};
    int changes = 0;

    CloudCatalogTest() {
        QObject::connect(&catalog, &CloudCatalog::providersChanged, [this] { ++changes; });
    }
    void refreshIfStale() { test::await(catalog.refreshIfStale()); }
};

TEST_F(CloudCatalogTest, theListIsFetchedWithoutATokenOutsideThePinnedSession) {
    transport.answerWith(200, oneProvider);
    refreshIfStale();
    ASSERT_EQ(catalog.providers().size(), 1u);
    EXPECT_EQ(catalog.providers()[0].models.at(0).slug, QStringLiteral("m"));
    const HttpRequest& request = transport.requests.at(0);
    EXPECT_EQ(request.url.toString(), QStringLiteral("https://api.vennic.test/api/v1/providers.json"));
    EXPECT_EQ(request.method, "GET");
    EXPECT_TRUE(request.headers.empty());
    EXPECT_TRUE(request.secretHeaders.empty());
    EXPECT_EQ(request.anchors, nullptr);
    EXPECT_EQ(request.timeout, 8s);
    EXPECT_EQ(request.maxAnswerBytes, 1 << 20);
    EXPECT_EQ(changes, 1);
}

TEST_F(CloudCatalogTest, everyFieldIsCarried) {
    transport.answerWith(200, R"([{"id":1,"slug":"s","name":"n","display_name":"d","models":[{"id":2,"slug":"m",
        "display_name":"M","kind":"image","tier":"t","status":"beta","context_window":4096,"supports_tools":true,
        "supports_streaming":false,"supports_audio_input":true,"supports_image_input":false,
        "supports_file_input":true}]}])");
    refreshIfStale();
    const CloudModel expected{.id = 2,
                              .slug = QStringLiteral("m"),
                              .display_name = QStringLiteral("M"),
                              .kind = QStringLiteral("image"),
                              .tier = QStringLiteral("t"),
                              .status = QStringLiteral("beta"),
                              .context_window = 4096,
                              .supports_tools = true,
                              .supports_streaming = false,
                              .supports_audio_input = true,
                              .supports_image_input = false,
                              .supports_file_input = true};
    ASSERT_EQ(catalog.providers().size(), 1u);
    EXPECT_EQ(catalog.providers()[0].models.at(0), expected);
    EXPECT_EQ(catalog.providers()[0].label(), QStringLiteral("d"));
}

TEST_F(CloudCatalogTest, withinHalfAMinuteOfAGoodAnswerNothingIsAsked) {
    transport.answerWith(200, oneProvider);
    refreshIfStale();
    clock.advance(29'999ms);
    refreshIfStale();
    EXPECT_EQ(transport.requests.size(), 1u);
    clock.advance(1ms);
    transport.answerWith(200, "[]");
    refreshIfStale();
    EXPECT_EQ(transport.requests.size(), 2u);
    EXPECT_TRUE(catalog.providers().empty());
}

TEST_F(CloudCatalogTest, aFailureIsNotRememberedAndLeavesTheList) {
    transport.answerWith(200, oneProvider);
    refreshIfStale();
    clock.advance(31s);
    const auto before = catalog.providers();
    const std::vector<test::HttpTransportFake::Outcome> failures{
        TransportFault::timedOut,
        HttpResponse{std::nullopt, {}, oneProvider},
        HttpResponse{500, {}, oneProvider},
        HttpResponse{304, {}, {}},
        HttpResponse{200, {}, "{}"},
        HttpResponse{200, {}, R"([{"id":1,"slug":"a","name":"A","models":[]},{"id":2}])"},
        HttpResponse{200, {}, R"([{"id":1,"slug":"a","name":"A","models":[{"id":1,"slug":"a"},{"id":"2"}]}])"},
    };
    for (const auto& failure : failures) {
        transport.responder = [&](const HttpRequest&) { return failure; };
        refreshIfStale();
        EXPECT_EQ(catalog.providers(), before);
    }
    EXPECT_EQ(transport.requests.size(), 1 + failures.size());
    EXPECT_EQ(changes, 1);
}

TEST(CloudModel, countsAsAnActiveChatModelUntilItSaysOtherwise) {
    EXPECT_TRUE(CloudModel{}.isOffered());
    EXPECT_TRUE((CloudModel{.kind = QStringLiteral("chat"), .status = QStringLiteral("active")}.isOffered()));
    EXPECT_FALSE((CloudModel{.kind = QStringLiteral("image")}.isOffered()));
    EXPECT_FALSE((CloudModel{.status = QStringLiteral("retired")}.isOffered()));
}

TEST(CloudModel, isLabelledByItsDisplayNameElseItsSlug) {
    EXPECT_EQ((CloudModel{.slug = QStringLiteral("m")}.label()), QStringLiteral("m"));
    EXPECT_EQ((CloudModel{.slug = QStringLiteral("m"), .display_name = QStringLiteral("M")}.label()),
              QStringLiteral("M"));
}

TEST(CloudCatalog, eachProviderHasItsSymbol) {
    EXPECT_EQ(CloudCatalog::iconFor(u"openai"), QLatin1String("sparkles"));
    EXPECT_EQ(CloudCatalog::iconFor(u"anthropic"), QLatin1String("a.circle"));
    EXPECT_EQ(CloudCatalog::iconFor(u"gemini"), QLatin1String("g.circle"));
    EXPECT_EQ(CloudCatalog::iconFor(u"mistral"), QLatin1String("m.circle"));
    EXPECT_EQ(CloudCatalog::iconFor(u"deepseek"), QLatin1String("d.circle"));
    for (const char16_t* other : {u"", u"OpenAI", u"local", u"cube"})
        EXPECT_EQ(CloudCatalog::iconFor(other), QLatin1String("cube"));
}

} // namespace
} // namespace vennic
