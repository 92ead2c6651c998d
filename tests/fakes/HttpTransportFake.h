#pragma once
#include "ports/HttpTransport.h"

#include <deque>
#include <variant>

namespace vennic::test {

/// Answers requests from a list and remembers them. With nothing on the list a request waits for ever.
class HttpTransportFake final : public HttpTransport {
public:
    using Outcome = std::variant<HttpResponse, TransportFault>;

    Task<HttpResponse> send(HttpRequest request) override {
        requests.push_back(std::move(request));
        if (outcomes.empty()) {
            Event<> never;
            co_await never;
        }
        Outcome outcome = std::move(outcomes.front());
        outcomes.pop_front();
        if (const auto* fault = std::get_if<TransportFault>(&outcome))
            throw TransportError(*fault);
        co_return std::get<HttpResponse>(std::move(outcome));
    }

    void willAnswer(int status, const QByteArray& body = {}) { outcomes.push_back(HttpResponse{status, {}, body}); }
    void willAnswerWithoutHttp() { outcomes.push_back(HttpResponse{}); }
    void willFail(TransportFault fault) { outcomes.push_back(fault); }

    std::deque<Outcome> outcomes;
    std::vector<HttpRequest> requests;
};

} // namespace vennic::test
