#include "server/ModelTools.h"

#include "server/TaskKind.h"

#include <gtest/gtest.h>

namespace vennic::server {
namespace {
QString refusal(const char* name, const char* arguments) {
    try {
        toolArguments({{}, QString::fromUtf8(name), QString::fromUtf8(arguments)});
    } catch (const LocalizedError& error) {
        return error.errorDescription();
    }
    return {};
}
QJsonObject taken(const char* name, const char* arguments) {
    return toolArguments({{}, QString::fromUtf8(name), QString::fromUtf8(arguments)});
}
} // namespace

TEST(ModelTools, everyToolIsATaskThatAMachineKnows) {
    const QJsonArray tools = modelTools();
    EXPECT_EQ(tools.size(), 11);
    for (const QJsonValue tool : tools) {
        const QJsonValue function = tool[QLatin1String("function")];
        EXPECT_TRUE(isTaskKind(function[QLatin1String("name")].toString()));
        EXPECT_FALSE(function[QLatin1String("description")].toString().isEmpty());
        EXPECT_EQ(function[QLatin1String("parameters")][QLatin1String("type")], QStringLiteral("object"));
    }
}

TEST(ModelTools, argumentsGoToTheMachineWithoutWhatItDoesNotKnow) {
    EXPECT_EQ(taken("search", R"({"query":"a b","folder_hints":["c"],"limit":3,"other":1})"),
              (QJsonObject{{QStringLiteral("query"), QStringLiteral("a b")},
                           {QStringLiteral("folder_hints"), QJsonArray{QStringLiteral("c")}},
                           {QStringLiteral("limit"), 3}}));
    EXPECT_EQ(taken("list_folders", ""), QJsonObject());
    EXPECT_EQ(taken("photos_recent", R"({"limit":null})"), QJsonObject());
}

TEST(ModelTools, whatAMachineWouldNotAnswerIsToldToTheModel) {
    EXPECT_EQ(refusal("rm", "{}"), QStringLiteral("There is no tool of that name."));
    EXPECT_EQ(refusal("llm_infer", R"({"openai_body_json":"{}"})"), QStringLiteral("There is no tool of that name."));
    EXPECT_EQ(refusal("search", "[1"), QStringLiteral("The arguments are not a JSON object."));
    EXPECT_EQ(refusal("search", "[]"), QStringLiteral("The arguments are not a JSON object."));
    EXPECT_EQ(refusal("search", "{}"), QStringLiteral("The argument \"query\" is missing."));
    EXPECT_EQ(refusal("search", R"({"query":7})"), QStringLiteral("The argument \"query\" is of the wrong type."));
    for (const char* limit : {"1.5", "\"3\"", "1e300", "[]", "true"})
        EXPECT_EQ(refusal("photos_recent", (QByteArray("{\"limit\":") + limit + '}').constData()),
                  QStringLiteral("The argument \"limit\" is of the wrong type."))
            << limit;
    EXPECT_EQ(refusal("search", R"({"query":"a","folder_hints":["a",1]})"),
              QStringLiteral("The argument \"folder_hints\" is of the wrong type."));
}

TEST(ModelTools, aLongResultIsCutAndSaysSo) {
    const QJsonObject result{{QStringLiteral("content"), QString(500, u'x')}};
    EXPECT_EQ(toolText(result, 1000).size(), 514);
    EXPECT_EQ(toolText(result, 100), QStringLiteral(R"({"content":")") + QString(88, u'x') +
                                         QStringLiteral("… [cut: the result has 514 characters]"));
}

} // namespace vennic::server
