#include "app/CommandClient.h"

#include "app/CommandMessage.h"
#include "fakes/InstanceFake.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace vennic;
using namespace std::chrono_literals;

namespace {

struct CommandClientTest : ::testing::Test {
    test::InstanceFake instance;
    Paths paths;
    QString output;
    QString errors;

    ExitStatus run(const QStringList& arguments) {
        const ParsedCommandLine parsed = parseCommandLine(arguments);
        EXPECT_FALSE(parsed.error) << parsed.error.value_or(QString()).toStdString();
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const ExitStatus status = runVerb(parsed.line, paths, instance);
        output = QString::fromStdString(testing::internal::GetCapturedStdout());
        errors = QString::fromStdString(testing::internal::GetCapturedStderr());
        return status;
    }
    void answerWith(const CommandAnswer& answer) { instance.answer = encodeCommandAnswer(answer); }
    CommandRequest asked() const {
        return decodeCommandRequest(instance.asked.at(0).request).value_or(CommandRequest{});
    }
};

} // namespace

TEST_F(CommandClientTest, aVerbAndItsArgumentsReachTheRunningClient) {
    answerWith({});
    EXPECT_EQ(run({QStringLiteral("search"), QStringLiteral("é"), QStringLiteral("deux mots")}), ExitStatus::done);
    EXPECT_EQ(asked(),
              (CommandRequest{QStringLiteral("search"), {QStringLiteral("é"), QStringLiteral("deux mots")}, {}}));
}

TEST_F(CommandClientTest, aQuestionForTheLocalModelIsMarkedAsOne) {
    answerWith({});
    run({QStringLiteral("ask"), QStringLiteral("--local"), QStringLiteral("q")});
    EXPECT_EQ(asked(), (CommandRequest{QStringLiteral("ask"), {QStringLiteral("q")}, {}, true}));
}

TEST_F(CommandClientTest, withoutARunningClientItSaysSo) {
    EXPECT_EQ(run({QStringLiteral("shares")}), ExitStatus::noClient);
    EXPECT_EQ(output, QString());
    EXPECT_EQ(errors, QStringLiteral("Vennic ne tourne pas. Lance « vennic » d'abord.\n"));
}

TEST_F(CommandClientTest, foldersAreNamedFromWhereTheUserStands) {
    answerWith({});
    run({QStringLiteral("share"), QStringLiteral("a/../b"), QStringLiteral("/c/./d")});
    EXPECT_EQ(asked().arguments, QStringList({QDir::currentPath() + QStringLiteral("/b"), QStringLiteral("/c/d")}));
}

TEST_F(CommandClientTest, whatWasDoneAndWhatWasNotAreToldApart) {
    answerWith({ExitStatus::failed, QStringLiteral("a est partagé."), {}, QStringLiteral("b : refusé.")});
    EXPECT_EQ(run({QStringLiteral("share"), QStringLiteral("a"), QStringLiteral("b")}), ExitStatus::failed);
    EXPECT_EQ(output, QStringLiteral("a est partagé.\n"));
    EXPECT_EQ(errors, QStringLiteral("b : refusé.\n"));
}

TEST_F(CommandClientTest, dataIsPrintedForProgramsOrTextForPeople) {
    answerWith({ExitStatus::done, QStringLiteral("Deux dossiers."), {{QStringLiteral("n"), 2}}});
    EXPECT_EQ(run({QStringLiteral("shares")}), ExitStatus::done);
    EXPECT_EQ(output, QStringLiteral("Deux dossiers.\n"));
    EXPECT_EQ(run({QStringLiteral("shares"), QStringLiteral("--json")}), ExitStatus::done);
    EXPECT_EQ(output, QStringLiteral("{\n    \"n\": 2\n}\n"));
}

TEST_F(CommandClientTest, anAnswerWithoutTextPrintsNothing) {
    answerWith({});
    EXPECT_EQ(run({QStringLiteral("quit")}), ExitStatus::done);
    EXPECT_EQ(output + errors, QString());
}

TEST_F(CommandClientTest, aVerbThatMayPromptForTheKeyringWaitsForItsUser) {
    answerWith({});
    // A pairing call of 80 seconds, and two prompts of two minutes.
    run({QStringLiteral("pair"), QStringLiteral("ABCDEFGH")});
    run({QStringLiteral("sign-out")});
    run({QStringLiteral("status")});
    ASSERT_EQ(instance.asked.size(), 3U);
    EXPECT_GE(instance.asked[0].limit, 320s);
    EXPECT_GE(instance.asked[1].limit, 120s);
    EXPECT_EQ(instance.asked[2].limit, 90s);
}

TEST_F(CommandClientTest, aClientThatDoesNotAnswerIsAFailureWithItsWords) {
    instance.silent = true;
    EXPECT_EQ(run({QStringLiteral("status")}), ExitStatus::failed);
    EXPECT_EQ(errors, QStringLiteral("Vennic tourne, mais n'a pas répondu à temps.\n"));
}

TEST_F(CommandClientTest, anAnswerThatIsNoneIsAFailureWithItsWords) {
    for (const char* nonsense : {"", "{}", "[1]", "{\"status\":7,\"text\":\"\",\"data\":{},\"reason\":\"\"}"}) {
        instance.answer = nonsense;
        EXPECT_EQ(run({QStringLiteral("status")}), ExitStatus::failed);
        EXPECT_EQ(errors, QStringLiteral("Vennic a donné une réponse incompréhensible.\n"));
    }
}

TEST_F(CommandClientTest, aLineThatTheClientWouldNotReadIsNotSent) {
    EXPECT_EQ(run({QStringLiteral("search"), QString(60'000, u'é')}), ExitStatus::usage);
    EXPECT_EQ(errors, QStringLiteral("La ligne de commande est trop longue.\n"));
    EXPECT_TRUE(instance.asked.empty());
}
