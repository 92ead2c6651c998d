#pragma once
#include "ports/HttpTransport.h"

#include <deque>
#include <functional>

namespace vennic::test {

/// Answers requests from memory, in order, and remembers each. Without an answer left it raises noNetwork.
class HttpTransportFake final : public HttpTransport {
public:
    /// Either outcome of one request.
    using Outcome = std::variant<HttpResponse, TransportFault>;

    std::vector<HttpRequest> requests; // all that were sent, in order
    int cancelled = 0;                 // requests whose job was cancelled while they waited
    /// When set it decides instead of the queue.
    std::function<Outcome(const HttpRequest&)> responder;

    void answerWith(int status, const QByteArray& body = {}, std::vector<HttpHeader> headers = {}) {
        outcomes_.emplace_back(HttpResponse{status, std::move(headers), body});
    }
    void answerWith(HttpResponse response) { outcomes_.emplace_back(std::move(response)); }
    void failWith(TransportFault fault) { outcomes_.emplace_back(fault); }
    /// Requests wait from now on until `release` or their job's cancellation.
    void hold() { held_ = true; }
    void release() {
        held_ = false;
        for (Event<>* waiting : waiting_)
            waiting->set();
    }
    std::size_t waiting() const { return waiting_.size(); }

    Task<HttpResponse> send(HttpRequest request) override {
        const std::size_t at = requests.size();
        requests.push_back(std::move(request));
        if (held_)
            co_await untilReleased();
        Outcome outcome = take(at);
        if (const auto* fault = std::get_if<TransportFault>(&outcome))
            throw TransportError(*fault);
        co_return std::get<HttpResponse>(std::move(outcome));
    }

private:
    Task<> untilReleased() {
        Event<> released;
        struct Registered {
            HttpTransportFake* fake;
            Event<>* event;
            bool answered = false;
            ~Registered() {
                std::erase(fake->waiting_, event);
                fake->cancelled += answered ? 0 : 1;
            }
        };
        waiting_.push_back(&released);
        Registered registered{this, &released};
        co_await released;
        registered.answered = true;
    }
    Outcome take(std::size_t at) {
        if (responder)
            return responder(requests[at]);
        if (outcomes_.empty())
            return TransportFault::noNetwork;
        Outcome outcome = std::move(outcomes_.front());
        outcomes_.pop_front();
        return outcome;
    }

    std::deque<Outcome> outcomes_;
    std::vector<Event<>*> waiting_;
    bool held_ = false;
};

} // namespace vennic::test
