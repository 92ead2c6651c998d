#include "app/CommandMessage.h"

#include <gtest/gtest.h>

using namespace vennic;

TEST(CommandMessage, aRequestComesBackAsItWas) {
    const CommandRequest request{QStringLiteral("search"), {QStringLiteral("é\n\""), QString()}, QStringLiteral("s")};
    const QByteArray line = encodeCommandRequest(request);
    EXPECT_FALSE(line.contains('\n'));
    EXPECT_EQ(decodeCommandRequest(line), request);
    CommandRequest local = request;
    local.local = true;
    EXPECT_EQ(decodeCommandRequest(encodeCommandRequest(local)), local);
}

TEST(CommandMessage, anAnswerComesBackAsItWas) {
    const CommandAnswer answer{
        ExitStatus::failed, QStringLiteral("à\nb"), {{QStringLiteral("n"), 3}}, QStringLiteral("c")};
    EXPECT_EQ(decodeCommandAnswer(encodeCommandAnswer(answer)), answer);
}

TEST(CommandMessage, whatIsNotAMessageIsNone) {
    for (const char* bad :
         {"", "{", "[]", "null", "{\"verb\":1}", "{\"verb\":\"a\",\"arguments\":{}}",
          "{\"verb\":\"a\",\"arguments\":[1]}", "{\"status\":9,\"text\":\"\",\"data\":{}}", "\xff\xfe"}) {
        EXPECT_FALSE(decodeCommandRequest(bad)) << bad;
        EXPECT_FALSE(decodeCommandAnswer(bad)) << bad;
    }
}
