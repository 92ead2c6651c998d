#include "server/ModelAnswering.h"

#include "server/Accounts.h"
#include "server/Database.h"
#include "server/Handle.h"
#include "server/MachineModel.h"
#include "server/Schema.h"
#include "server/TurnedTime.h"

#include <QJsonDocument>

#include <deque>
#include <gtest/gtest.h>
#include <memory>

using namespace std::chrono_literals;

namespace vennic::server::test {

namespace {
/// A model that says what a test tells it to.
class ScriptedModel final : public ModelSource {
public:
    struct Round {
        RoundListener listener;
        ModelRequest request;
        bool abandoned = false;
        void abandon() { abandoned = true; }
    };
    std::shared_ptr<void> infer(const ModelRequest& request, RoundListener listener) override {
        rounds.push_back(std::make_shared<Round>(Round{std::move(listener), request}));
        return handleOf(rounds.back());
    }
    Round& last() { return *rounds.back(); }
    std::deque<std::shared_ptr<Round>> rounds;
};

ModelRound saying(const char* text, QList<ToolCall> calls = {}) { return {QString::fromUtf8(text), std::move(calls)}; }
ToolCall tool(const char* name, const char* arguments) {
    return {QStringLiteral("c1"), QString::fromUtf8(name), QString::fromUtf8(arguments)};
}

struct Prepared : Database {
    Prepared() : Database(QStringLiteral(":memory:")) {
        prepareSchema(*this);
        Accounts(*this).ensureOwner(QStringLiteral("a@b"));
    }
};

struct ModelAnsweringTest : ::testing::Test {
    ModelAnsweringTest() { machines.seen({key, QStringLiteral("Portable"), {}, time.wallMs(), 1}); }
    void ask(const char* text = "Où est ma facture ?") {
        question.account = 1;
        question.text = QString::fromUtf8(text);
        begin(answering);
    }
    void begin(Answering& by) {
        handle = by.answer(question, {[this](const QString& delta) {
                                          streamed += delta;
                                          if (leavesAtFirstWord)
                                              handle.reset();
                                      },
                                      [this](const Reply& reply) {
                                          whole = reply.text;
                                          handle.reset();
                                      }});
        turn();
    }
    void turn() {
        for (int i = 0; i < 10; ++i)
            time.advance(0ms);
    }
    void says(const ModelRound& round) {
        const auto current = model.rounds.back();
        if (!round.text.isEmpty())
            current->listener.said(round.text);
        if (!current->abandoned)
            current->listener.done(round);
        turn();
    }
    /// The task that the machine gets, answered with `result`.
    TaskRecord serve(const QByteArray& result) {
        TaskRecord task = poll();
        if (!task.id.isEmpty())
            desk.succeeded(key, task.id, result, {});
        turn();
        return task;
    }
    TaskRecord poll() {
        // A poll that finds nothing stands until a later task ends it.
        auto task = std::make_shared<TaskRecord>();
        desk.poll(key, 1, 25s, [task](const PollEnd& end) { *task = end.task; });
        return *task;
    }
    QJsonObject lastMessage() { return model.last().request.messages.last().toObject(); }
    QString toldToModel() { return lastMessage().value(QLatin1String("content")).toString(); }

    const DeviceKey key{1, QStringLiteral("A")};
    TurnedTime time;
    Prepared database;
    Machines machines{database};
    TaskStore store{database};
    TaskDesk desk{store, time, 60s};
    MachineTasks tasks{machines, desk, store, time};
    ScriptedModel model;
    ModelAnswering answering{model, tasks, time};
    Question question;
    bool leavesAtFirstWord = false;
    QString streamed;
    std::optional<QString> whole;
    std::shared_ptr<void> handle;
};
} // namespace

TEST_F(ModelAnsweringTest, textStreamsAsItComesAndEndsTheAnswer) {
    ask();
    model.last().listener.said(QStringLiteral("Bon"));
    EXPECT_EQ(streamed, QStringLiteral("Bon"));
    model.last().listener.said(QStringLiteral("jour"));
    EXPECT_FALSE(whole);
    model.last().listener.done(saying("Bonjour"));
    EXPECT_EQ(whole, QStringLiteral("Bonjour"));
    EXPECT_TRUE(model.last().abandoned);
}

TEST_F(ModelAnsweringTest, theModelIsToldHowToLinkAndWhatWasSaidBefore) {
    question.earlier = {{0, 0, 0, QStringLiteral("q1"), QStringLiteral("r1"), {}, {}, {}, {}}};
    ask("q2");
    const QJsonArray messages = model.last().request.messages;
    ASSERT_EQ(messages.size(), 4);
    EXPECT_EQ(messages.at(0)[QLatin1String("role")], QStringLiteral("system"));
    EXPECT_TRUE(
        messages.at(0)[QLatin1String("content")].toString().contains(QStringLiteral("(vennic://local_file/open/ID)")));
    EXPECT_EQ(messages.at(1)[QLatin1String("content")], QStringLiteral("q1"));
    EXPECT_EQ(messages.at(2)[QLatin1String("content")], QStringLiteral("r1"));
    EXPECT_EQ(messages.at(3)[QLatin1String("content")], QStringLiteral("q2"));
    EXPECT_EQ(model.last().request.tools.size(), 11);
}

TEST_F(ModelAnsweringTest, aLongHistoryIsLeftOutFromItsBeginning) {
    for (int i = 0; i < 20; ++i)
        question.earlier.append({0, 0, 0, QString::number(i), QString(20'000, u'x'), {}, {}, {}, {}});
    ask();
    const QJsonArray messages = model.last().request.messages;
    ASSERT_EQ(messages.size(), 6);
    EXPECT_EQ(messages.at(1)[QLatin1String("content")], QStringLiteral("18"));
}

TEST_F(ModelAnsweringTest, aToolIsATaskOfTheMachineAndItsResultGoesToTheModel) {
    ask();
    says(saying("Je cherche.", {tool("search", R"({"query":"facture"})")}));
    const TaskRecord task = serve(R"({"items":[]})");
    EXPECT_EQ(task.kind, QStringLiteral("search"));
    EXPECT_EQ(task.args, QByteArray(R"({"query":"facture"})"));
    ASSERT_EQ(model.rounds.size(), 2U);
    EXPECT_EQ(lastMessage(), (QJsonObject{{QStringLiteral("role"), QStringLiteral("tool")},
                                          {QStringLiteral("tool_call_id"), QStringLiteral("c1")},
                                          {QStringLiteral("content"), QStringLiteral(R"({"items":[]})")}}));
    says(saying("Rien."));
    EXPECT_EQ(whole, QStringLiteral("Je cherche.\n\nRien."));
    EXPECT_EQ(streamed, *whole);
}

TEST_F(ModelAnsweringTest, whatGoesWrongInAToolIsTextForTheModel) {
    ask();
    says(saying("", {tool("search", "{}"), tool("rm", "{}"), tool("read", R"({"document_id":"A"})")}));
    const TaskRecord task = poll();
    desk.failed(key, task.id, QStringLiteral("Document inconnu."), {});
    turn();
    ASSERT_EQ(model.rounds.size(), 2U);
    const QJsonArray messages = model.last().request.messages;
    const qsizetype count = messages.size();
    EXPECT_EQ(messages.at(count - 3)[QLatin1String("content")],
              QStringLiteral("Failed: The argument \"query\" is missing."));
    EXPECT_EQ(messages.at(count - 2)[QLatin1String("content")],
              QStringLiteral("Failed: There is no tool of that name."));
    EXPECT_EQ(messages.at(count - 1)[QLatin1String("content")], QStringLiteral("Failed: Document inconnu."));
}

TEST_F(ModelAnsweringTest, aLongResultIsCut) {
    ask();
    says(saying("", {tool("read", R"({"document_id":"A"})")}));
    serve(R"({"content":")" + QByteArray(50'000, 'x') + "\"}");
    EXPECT_LT(toldToModel().size(), 12'100);
    EXPECT_TRUE(toldToModel().endsWith(QStringLiteral("… [cut: the result has 50014 characters]")));
}

TEST_F(ModelAnsweringTest, theRoundsAreBoundedAndTheLastHasNoTools) {
    ask();
    for (int i = 0; i < 20 && !whole; ++i) {
        says(saying("", {tool("rm", "{}")}));
    }
    EXPECT_EQ(model.rounds.size(), 8U);
    EXPECT_TRUE(model.last().request.tools.isEmpty());
    EXPECT_EQ(whole, QStringLiteral("⚠️ Le modèle n'a rien répondu."));
}

TEST_F(ModelAnsweringTest, theResultsOfAllToolsTogetherAreBounded) {
    ask();
    QList<ToolCall> calls;
    for (int i = 0; i < 40; ++i)
        calls.append(tool("read", R"({"document_id":"A"})"));
    int served = 0;
    while (!whole && model.rounds.size() < 8) {
        says(saying("", calls));
        while (!serve(R"({"content":")" + QByteArray(50'000, 'x') + "\"}").id.isEmpty())
            ++served;
    }
    EXPECT_EQ(served, 17); // of 12,000 characters each
    EXPECT_EQ(toldToModel(), QStringLiteral("No more tools: answer with what you have."));
}

TEST_F(ModelAnsweringTest, aMachineThatDoesNotComeIsAFailedToolAndTheTaskIsWithdrawn) {
    ask();
    says(saying("", {tool("app_open", R"({"name":"Notes"})")}));
    time.advance(61s);
    turn();
    EXPECT_EQ(toldToModel(), QStringLiteral("Failed: La machine n'était pas connectée."));
    EXPECT_TRUE(poll().id.isEmpty());
}

TEST_F(ModelAnsweringTest, whoLeavesEndsTheModelsRoundAndTheWaitingTask) {
    ask();
    handle.reset();
    EXPECT_TRUE(model.last().abandoned);

    ask();
    says(saying("", {tool("app_open", R"({"name":"Notes"})")}));
    handle.reset();
    EXPECT_TRUE(poll().id.isEmpty());
    EXPECT_FALSE(whole);
}

TEST_F(ModelAnsweringTest, whoLeavesInTheMiddleOfAWordHearsNothingMore) {
    leavesAtFirstWord = true;
    ask();
    says(saying("Bonjour"));
    EXPECT_TRUE(model.last().abandoned);
    EXPECT_FALSE(whole);
}

TEST_F(ModelAnsweringTest, aFailureIsSaidBehindWhatCameBefore) {
    ask();
    model.last().listener.said(QStringLiteral("Il é"));
    model.last().listener.failed(ModelError(QStringLiteral("Coupé.")));
    EXPECT_EQ(whole, QStringLiteral("Il é\n\n⚠️ Coupé."));
    EXPECT_EQ(streamed, *whole);
}

TEST_F(ModelAnsweringTest, aModelThatKnowsNoToolsIsAskedAgainWithout) {
    ask();
    model.last().listener.failed(ModelError(QStringLiteral("Refusé."), true));
    turn();
    ASSERT_EQ(model.rounds.size(), 2U);
    EXPECT_TRUE(model.last().request.tools.isEmpty());
    model.last().listener.failed(ModelError(QStringLiteral("Refusé."), true));
    EXPECT_EQ(whole, QStringLiteral("⚠️ Refusé."));
}

TEST_F(ModelAnsweringTest, anAnswerHasItsTime) {
    ask();
    time.advance(16min);
    EXPECT_EQ(whole, QStringLiteral("⚠️ La réponse a pris trop de temps."));
    EXPECT_TRUE(model.last().abandoned);
}

TEST_F(ModelAnsweringTest, aModelThatNeverStopsIsStopped) {
    ask();
    for (int i = 0; i < 3; ++i) {
        const auto current = model.rounds.back();
        if (!current->abandoned)
            current->listener.said(QString(100'000, u'x'));
    }
    ASSERT_TRUE(whole);
    EXPECT_TRUE(whole->endsWith(QStringLiteral("\n\n⚠️ La réponse du modèle est trop longue.")));
    EXPECT_LT(whole->size(), 300'000);
}

TEST_F(ModelAnsweringTest, theMachinesOwnModelUsesTheSameTools) {
    MachineModel local(tasks);
    ModelAnswering byMachine(local, tasks, time);
    question.account = 1;
    question.text = QStringLiteral("Bonjour");
    question.model = QStringLiteral("a/b");
    begin(byMachine);
    const auto responding = [](const QJsonObject& message) {
        const QJsonObject response{
            {QStringLiteral("choices"), QJsonArray{QJsonObject{{QStringLiteral("message"), message}}}}};
        return QJsonDocument(
                   QJsonObject{{QStringLiteral("response_json"), QString::fromUtf8(QJsonDocument(response).toJson())}})
            .toJson();
    };
    const QJsonObject function{{QStringLiteral("name"), QStringLiteral("list_folders")},
                               {QStringLiteral("arguments"), QStringLiteral("{}")}};
    const TaskRecord first = serve(
        responding({{QStringLiteral("content"), QString()},
                    {QStringLiteral("tool_calls"), QJsonArray{QJsonObject{{QStringLiteral("id"), QStringLiteral("c")},
                                                                          {QStringLiteral("function"), function}}}}}));
    EXPECT_EQ(first.kind, QStringLiteral("llm_infer"));
    const QJsonObject body =
        QJsonDocument::fromJson(
            QJsonDocument::fromJson(first.args)[QLatin1String("openai_body_json")].toString().toUtf8())
            .object();
    EXPECT_EQ(body.value(QLatin1String("model")), QStringLiteral("a/b"));
    EXPECT_EQ(body.value(QLatin1String("tools")).toArray().size(), 11);
    EXPECT_EQ(serve(R"({"folders":[]})").kind, QStringLiteral("list_folders"));
    const TaskRecord last = poll();
    EXPECT_EQ(last.kind, QStringLiteral("llm_infer"));
    desk.streamed(key, last.id, QStringLiteral("Au"));
    EXPECT_EQ(streamed, QStringLiteral("Au"));
    desk.succeeded(key, last.id, responding({{QStringLiteral("content"), QStringLiteral("Aucun.")}}), {});
    turn();
    EXPECT_EQ(streamed, QStringLiteral("Aucun."));
    EXPECT_EQ(whole, QStringLiteral("Aucun."));
}

TEST_F(ModelAnsweringTest, theMachinesRefusalIsSaidInItsWords) {
    MachineModel local(tasks);
    ModelAnswering byMachine(local, tasks, time);
    question.account = 1;
    question.text = QStringLiteral("Bonjour");
    begin(byMachine);
    desk.failed(key, poll().id, QStringLiteral("Le LLM local est désactivé dans les Réglages du Mac."), {});
    turn();
    EXPECT_EQ(whole, QStringLiteral(
                         "⚠️ Le modèle du Mac n'a pas répondu : Le LLM local est désactivé dans les Réglages du Mac."));
    for (const char* result : {R"({})", R"({"response_json":"{"})", R"({"response_json":"{\"choices\":[]}"})"}) {
        whole.reset();
        begin(byMachine);
        serve(result);
        EXPECT_EQ(whole, QStringLiteral("⚠️ La réponse du modèle du Mac n'est pas lisible.")) << result;
    }
}

} // namespace vennic::server::test
