#pragma once
#include "Bridge/BridgeWorld.h"
#include "Bridge/LocalLLMHandler.h"
#include "fakes/HttpStreamScript.h"
#include "support/Await.h"
#include "support/ChatChunks.h"

#include <QJsonArray>

#include <gtest/gtest.h>

namespace vennic::test {

inline const char* const anyBody = R"({"messages":[{"role":"user","content":"Bonjour"}]})";

/// The relay among doubles, and a local server that says what the test says.
struct LocalLLMHandlerFixture : testing::Test {
    BridgeWorld world;
    LocalLLMHandler handler{world.http, world.context, world.telemetry, world.clock};
    HttpStreamScript server;
    Scope jobs;
    Job job;

    LocalLLMHandlerFixture() { serve(server); }

    void serve(const HttpStreamScript& script) {
        world.backend.localServer = [script] { return script.stream(); };
    }
    void start(const char* body = anyBody) { start(QString::fromUtf8(body)); }
    void start(const QString& body) {
        const BridgeTask task{.id = QStringLiteral("t1"), .kind = BridgeTaskKind::llmInfer, .args = {}};
        job = jobs.start(handler.handle(task, LLMInferArgs{.openaiBodyJson = body}, world.api()));
    }
    bool ended() {
        return waitUntil([this] { return jobs.size() == 0; });
    }
    /// Whether all that was said has been read.
    bool readUp() const {
        return waitUntil([this] { return server.isAwaited(); });
    }
    void say(const QByteArray& bytes) {
        server.say(bytes);
        ASSERT_TRUE(readUp());
    }
    QJsonObject update(std::size_t at) const { return world.backend.updates.at(at).body; }
    std::size_t updates() const { return world.backend.updates.size(); }
    std::vector<std::string> deltas() const {
        std::vector<std::string> deltas;
        for (const auto& sent : world.backend.updates)
            if (sent.body.value(QLatin1String("status")) == QLatin1String("streaming"))
                deltas.push_back(sent.body.value(QLatin1String("delta")).toString().toStdString());
        return deltas;
    }
    QJsonObject result() const {
        const QJsonObject last = world.backend.updates.back().body;
        EXPECT_EQ(last.value(QLatin1String("status")), QLatin1String("done"));
        return last.value(QLatin1String("result")).toObject();
    }
    QJsonObject response() const {
        return QJsonDocument::fromJson(result().value(QLatin1String("response_json")).toString().toUtf8()).object();
    }
    QJsonObject choice() const { return response().value(QLatin1String("choices")).toArray().at(0).toObject(); }
    QJsonObject message() const { return choice().value(QLatin1String("message")).toObject(); }
    /// The sentence of the failure that ended the task, without any other answer after the streamed text.
    std::string failure() {
        EXPECT_TRUE(ended());
        for (std::size_t at = 0; at + 1 < updates(); ++at)
            EXPECT_EQ(update(at).value(QLatin1String("status")), QLatin1String("streaming"));
        const QJsonObject last = update(updates() - 1);
        EXPECT_EQ(last.value(QLatin1String("status")), QLatin1String("error"));
        return last.value(QLatin1String("error_message")).toString().toStdString();
    }
    std::string modelFor(const char* body) {
        server = HttpStreamScript();
        serve(server);
        server.end();
        start(body);
        EXPECT_TRUE(ended());
        const QJsonObject sent = QJsonDocument::fromJson(*world.backend.opened.back().body).object();
        EXPECT_EQ(sent.value(QLatin1String("model")), result().value(QLatin1String("model_used")));
        EXPECT_EQ(sent.value(QLatin1String("model")), response().value(QLatin1String("model")));
        return result().value(QLatin1String("model_used")).toString().toStdString();
    }
};

} // namespace vennic::test
