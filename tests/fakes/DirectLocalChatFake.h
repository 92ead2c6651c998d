#pragma once
#include "backend/DirectLocalChat.h"
#include "core/AppSession.h"

#include <QUuid>

#include <functional>
#include <vector>

namespace vennic::test {

/// A local model that is there or not, and answers from memory.
class DirectLocalChatFake final : public DirectLocalChat {
public:
    explicit DirectLocalChatFake(std::function<AppSession&()> session) : session_(std::move(session)) {}
    bool reachable = false;
    std::vector<QString> asked; // endpoints
    std::vector<std::chrono::milliseconds> timeouts;
    std::vector<QString> prompts;
    TurnEnd end{.failed = false, .text = QStringLiteral("d'ici")};
    std::function<void()> whileAnswering; // what else happens meanwhile

    Task<bool> isReachable(QString endpoint, std::chrono::milliseconds timeout) override {
        timeouts.push_back(timeout);
        asked.push_back(endpoint);
        co_return reachable;
    }
    Task<TurnEnd> runDirectLocal(QString prompt) override {
        prompts.push_back(prompt);
        AppSession& session = session_();
        session.appendMessage({QUuid::createUuid(), ChatMessage::Role::assistant, end.text, {}});
        if (whileAnswering)
            whileAnswering();
        session.setIsStreaming(false);
        co_return end;
    }

    bool isFiling() const override { return filing; }
    Task<> filed(std::chrono::milliseconds limit) override {
        timeouts.push_back(limit);
        if (onFiled)
            onFiled();
        filing = false;
        co_return;
    }

    bool filing = false;
    std::function<void()> onFiled; // what its end brings

private:
    std::function<AppSession&()> session_;
};

} // namespace vennic::test
