#include "server/JsonText.h"

#include "server/HttpError.h"

#include <gtest/gtest.h>

namespace vennic::server::test {

TEST(JsonTextTest, readsObjectsOnly) {
    EXPECT_EQ(jsonObject(R"({"a":9007199254740993})").value(QLatin1String("a")).toInteger(), 9007199254740993);
    for (const char* body : {"", "[]", "3", "{", "{\"a\":}", "\xff", "{\"a\":\"\xff\"}", "null", "{} {}"})
        EXPECT_THROW(jsonObject(body), HttpError) << body;
}

TEST(JsonTextTest, readsSixtyFourLevelsAndNotOneMore) {
    const auto nested = [](std::size_t depth) {
        return "{\"a\":" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + "}";
    };
    EXPECT_NO_THROW(jsonObject(nested(64)));
    EXPECT_THROW(jsonObject(nested(65)), HttpError);
    EXPECT_THROW(jsonObject(std::string(1'000'000, '[')), HttpError);
    EXPECT_NO_THROW(jsonObject("{\"a\":\"" + std::string(100, '[') + "\\\"" + std::string(100, '{') + "\"}"));
}

TEST(JsonTextTest, writesTextsAsLiterals) {
    EXPECT_EQ(jsonLiteral(QStringLiteral("a\"\n\u00e9")), QByteArray("\"a\\\"\\n\u00e9\""));
}

} // namespace vennic::server::test
