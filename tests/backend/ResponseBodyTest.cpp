#include "backend/ResponseBody.h"

#include <gtest/gtest.h>

namespace vennic {
namespace {

TEST(ResponseBody, validTextIsText) {
    EXPECT_EQ(utf8Text("h\xC3\xA9"), QStringLiteral("hé"));
    EXPECT_EQ(utf8Text({}), QString());
}

TEST(ResponseBody, bytesThatAreNotUtf8GiveNone) {
    for (const QByteArray bytes : {"\xff", "\xC3", "\xED\xA0\x80", "\xC0\x80", "ok\xFE"})
        EXPECT_EQ(utf8Text(bytes), std::nullopt) << bytes.toHex().constData();
}

TEST(ParsedErrorBody, emptyDataGivesNone) { EXPECT_EQ(parsedErrorBody({}), std::nullopt); }

TEST(ParsedErrorBody, theMessageComesBeforeTheError) {
    EXPECT_EQ(parsedErrorBody(R"({"error":"e","message":"m"})"), QStringLiteral("m"));
    EXPECT_EQ(parsedErrorBody(R"({"error":"e"})"), QStringLiteral("e"));
    EXPECT_EQ(parsedErrorBody(R"({"error":"e","message":""})"), QStringLiteral("e"));
    EXPECT_EQ(parsedErrorBody(R"({"error":"e","message":5})"), QStringLiteral("e"));
}

TEST(ParsedErrorBody, anythingElseIsTheTextItself) {
    for (const QByteArray body : {R"({"error":"","message":""})", R"({"error":{"message":"x"}})", R"(["message"])",
                                  "<html>", "{\"message\":", "5"})
        EXPECT_EQ(parsedErrorBody(body), QString::fromUtf8(body));
    EXPECT_EQ(parsedErrorBody("\xff\xfe"), std::nullopt);
}

TEST(PairingErrorBody, theErrorCountsEvenWhenItIsEmpty) {
    EXPECT_EQ(pairingErrorBody(R"({"error":"code expiré"})"), QStringLiteral("code expiré"));
    EXPECT_EQ(pairingErrorBody(R"({"error":""})"), QString());
}

TEST(PairingErrorBody, anythingElseIsTheTextItself) {
    for (const QByteArray body : {R"({"message":"m"})", R"({"error":5})", "<html>Erreur</html>", "[1]"})
        EXPECT_EQ(pairingErrorBody(body), QString::fromUtf8(body));
    EXPECT_EQ(pairingErrorBody("\xff"), std::nullopt);
}

} // namespace
} // namespace vennic
