#pragma once
#include "ports/HttpTransport.h"

#include <deque>
#include <functional>

namespace vennic::test {

/// The body of an answer from memory, in the pieces that were given; then its end, or a fault.
class HttpStreamFake final : public HttpStream {
public:
    HttpStreamFake(std::optional<int> status, std::deque<QByteArray> pieces, std::optional<TransportFault> fault)
        : status_(status), pieces_(std::move(pieces)), fault_(fault) {}
    std::optional<int> status() const override { return status_; }
    Task<std::optional<QByteArray>> next() override {
        if (pieces_.empty()) {
            if (fault_)
                throw TransportError(*fault_);
            co_return std::nullopt;
        }
        QByteArray piece = std::move(pieces_.front());
        pieces_.pop_front();
        co_return piece;
    }

private:
    std::optional<int> status_;
    std::deque<QByteArray> pieces_;
    std::optional<TransportFault> fault_;
};

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

    /// How streamed bodies are cut, and what ends them; without a fault they end well.
    qsizetype pieceBytes = 7;
    std::optional<TransportFault> streamFault;

    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override {
        HttpResponse response = co_await send(std::move(request));
        std::deque<QByteArray> pieces;
        for (qsizetype at = 0; at < response.body.size(); at += pieceBytes)
            pieces.push_back(response.body.mid(at, pieceBytes));
        co_return std::make_unique<HttpStreamFake>(response.status, std::move(pieces), streamFault);
    }
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
            HttpTransportFake* fake = nullptr;
            Event<>* event = nullptr;
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
