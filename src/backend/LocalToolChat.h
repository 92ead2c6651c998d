#pragma once
#include "Bridge/LocalToolRegistry.h"
#include "backend/APIService.h"
#include "backend/DirectLocalChat.h"
#include "backend/LocalTurn.h"
#include "core/AppSession.h"
#include "localllm/LocalChatRequest.h"

#include <deque>

namespace vennic {

/// Answers turns by the local model: streams its answer into the conversation, runs the tools that it calls, and lets
/// it go on, for five rounds at most. A finished turn is then filed with the backend. Main thread only.
class LocalToolChat final : public DirectLocalChat {
public:
    /// Each outlives the chat.
    struct Surroundings {
        AppSession& session;
        LocalToolRegistry& tools;
        VennicHTTP& http;
        const APIConfig& config;
        Clock& clock;
    };

    explicit LocalToolChat(Surroundings surroundings) : with_(surroundings) {}

    Task<bool> isReachable(QString endpoint, std::chrono::milliseconds timeout) override;
    /// A failure, a cancellation included, becomes the message and the session's `lastError`. Never fails.
    Task<TurnEnd> runDirectLocal(QString prompt) override;
    bool isFiling() const override { return !filings_.empty(); }
    Task<> filed(std::chrono::milliseconds limit) override;

    /// What the user reads while a tool runs; a name that is no tool's is its own label.
    static QString toolLabel(const QString& tool);

private:
    class Writing;
    /// A finished turn on its way to the backend.
    struct Filing {
        LocalTurn turn;
        SecretText token;
        QUuid conversation; // the id of its first message
    };

    /// The text of the last round; empty when the model still called tools in it.
    Task<QString> converse(LocalChatRequest* request, bool hasTools, Writing* writing);
    Task<> runTools(QJsonArray calls, LocalChatRequest* request, Writing* writing);
    void finish(const QString& prompt, const QString& text, const QString& model);
    /// One after the other, so that what the first opened takes the others.
    Task<> fileTurns();
    Task<std::optional<qint64>> importTurn(LocalTurn turn, SecretText token);

    Surroundings with_;
    std::deque<Filing> filings_;
    std::vector<Event<>*> waiting_; // for the last of them
    Scope imports_;
};

} // namespace vennic
