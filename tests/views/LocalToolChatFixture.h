#pragma once
#include "Bridge/LocalToolWorld.h"
#include "backend/ChatView.h"
#include "backend/LocalToolChat.h"
#include "core/SessionFixture.h"
#include "fakes/HttpStreamScript.h"
#include "support/ChatChunks.h"

namespace vennic::test {

inline const QString localModel = QStringLiteral("Qwen/Qwen3-8B");

/// A session and the tools, and a local server that streams what it was given.
struct LocalToolChatFixture : SessionFixture {
    LocalToolWorld world;
    std::unique_ptr<LocalToolChat> chat;
    std::unique_ptr<ChatView> view_;
    std::deque<HttpStreamScript> rounds; // what the local server says, round by round
    std::vector<QJsonObject> asked;      // the bodies of the rounds
    std::vector<QUrl> askedWhere;
    std::vector<QJsonObject> imported;
    int imports = 0;
    QByteArray importAnswer = R"({"discussion_id":7})";
    int importStatus = 201;
    std::unique_ptr<Event<>> importHeld; // none: the backend answers at once
    bool alive = true;                   // the local server

    /// The wire: the local server's streams, its list of models, and the backend's import.
    struct Wire final : HttpTransport {
        explicit Wire(LocalToolChatFixture* test) : test_(test) {}
        Task<HttpResponse> send(HttpRequest request) override {
            if (request.url.path().endsWith(QStringLiteral("/models"))) {
                if (!test_->alive)
                    throw TransportError(TransportFault::refused);
                co_return HttpResponse{.status = 200, .headers = {}, .body = "{}"};
            }
            EXPECT_TRUE(request.url.path().endsWith(QStringLiteral("/queries/import.json")))
                << request.url.toString().toStdString();
            ++test_->imports;
            test_->imported.push_back(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object());
            if (test_->importHeld)
                co_await *test_->importHeld;
            co_return HttpResponse{.status = test_->importStatus, .headers = {}, .body = test_->importAnswer};
        }
        Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override {
            test_->askedWhere.push_back(request.url);
            test_->asked.push_back(QJsonDocument::fromJson(request.body.value_or(QByteArray())).object());
            EXPECT_TRUE(request.secretHeaders.empty()) << "the local server gets no token";
            if (test_->rounds.empty())
                throw TransportError(TransportFault::refused);
            HttpStreamScript script = test_->rounds.front();
            test_->rounds.pop_front();
            co_return script.stream();
        }

    private:
        LocalToolChatFixture* test_;
    };
    Wire wire{this};
    VennicHTTP localHttp{wire, QStringLiteral("api.vennic.test"), nullptr};

    void SetUp() override {
        signedIn();
        session().setProvider(Provider::local);
        session().setLocalLLMModel(localModel);
        chat = std::make_unique<LocalToolChat>(
            LocalToolChat::Surroundings{session(), world.tools, localHttp, config, world.clock});
        view_ = std::make_unique<ChatView>(ChatView::Surroundings{session(), localHttp, config, world.clock, *chat});
    }

    /// One more round, which says `bytes` and ends.
    void round(const QByteArray& bytes) {
        HttpStreamScript script;
        script.say(bytes);
        script.end();
        rounds.push_back(script);
    }
    /// One whose course the test decides.
    HttpStreamScript openRound() {
        rounds.emplace_back();
        return rounds.back();
    }
    static QByteArray call(const QByteArray& name, const QByteArray& arguments = "{}", int index = 0) {
        const QByteArray text = QJsonDocument(QJsonArray{QString::fromUtf8(arguments)}).toJson(QJsonDocument::Compact);
        return chunks::calls(R"({"index":)" + QByteArray::number(index) + R"(,"id":"c)" + QByteArray::number(index) +
                             R"(","function":{"name":")" + name + R"(","arguments":)" + text.chopped(1).sliced(1) +
                             "}}");
    }
    void send(const QString& text = QStringLiteral("Bonjour")) {
        view_->setDraft(text);
        view_->send();
    }
    bool ended() {
        return waitUntil([this] { return !session().isStreaming(); });
    }
    static Task<> run(LocalToolChat* chat) { co_await chat->runDirectLocal(QStringLiteral("x")); }
    void turn(const QString& text = QStringLiteral("Bonjour")) {
        send(text);
        ASSERT_TRUE(ended());
        settle();
    }
    QString last() { return session().messages().back().content; }
    bool shows(const QString& text) {
        return waitUntil([&] { return !session().messages().empty() && last() == text; });
    }
    QJsonArray sentMessages(std::size_t round) { return asked.at(round)[QLatin1String("messages")].toArray(); }
    QStringList storedTexts() {
        const auto bytes = storedAs<QByteArray>(store, PreferenceKey::chatMessages).value_or(QByteArray());
        QStringList texts;
        for (const ChatMessage& message : decodeConversation(bytes))
            texts.append(message.content);
        return texts;
    }
    static QJsonObject message(const char* role, const char* content) {
        return {{QStringLiteral("role"), QString::fromUtf8(role)},
                {QStringLiteral("content"), QString::fromUtf8(content)}};
    }
};

} // namespace vennic::test
