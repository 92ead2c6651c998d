#pragma once
#include "support/Answers.h"
#include "support/LoopbackServer.h"

#include <deque>
#include <mutex>

namespace vennic::test {

/// The bridge's two endpoints behind TLS on loopback. Polls are answered from a list, in order, and held open when it
/// is empty; updates are answered with 200.
class WireBackend {
public:
    explicit WireBackend(LoopbackServer& server) {
        server.onRequest([this](Wire& wire, const ReceivedRequest& request) {
            if (request.method == "PATCH") {
                if (onUpdate)
                    onUpdate(request);
                answers::plain(200, "{}")(wire, request);
            } else if (const auto script = nextPoll()) {
                script(wire, request);
            } else {
                wire.hold();
            }
        });
    }

    void answerNextPoll(AnswerScript script) {
        const std::scoped_lock guard(lock_);
        polls_.push_back(std::move(script));
    }
    void giveTask(const QByteArray& json) { answerNextPoll(answers::plain(200, json)); }

    std::function<void(const ReceivedRequest&)> onUpdate; // on the connection's thread; set before the first request

private:
    AnswerScript nextPoll() {
        const std::scoped_lock guard(lock_);
        if (polls_.empty())
            return {};
        AnswerScript script = std::move(polls_.front());
        polls_.pop_front();
        return script;
    }

    std::mutex lock_;
    std::deque<AnswerScript> polls_;
};

} // namespace vennic::test
