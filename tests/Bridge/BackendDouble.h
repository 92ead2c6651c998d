#pragma once
#include "ports/HttpTransport.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <deque>
#include <functional>
#include <list>
#include <variant>

namespace vennic::test {

/// The backend's side of the bridge in memory: polls wait until they are answered, updates are kept and answered as
/// told.
class BackendDouble final : public HttpTransport {
public:
    using Outcome = std::variant<HttpResponse, TransportFault>;
    struct Update {
        QString path;
        QJsonObject body;
        HttpRequest request;
    };

    Task<HttpResponse> send(HttpRequest request) override {
        if (request.method == "GET") {
            polls.push_back(request);
            if (!preparedPolls.empty())
                return given(take(preparedPolls));
            return wait(&openPolls_);
        }
        updates.push_back(
            {request.url.path(), QJsonDocument::fromJson(request.body.value_or(QByteArray())).object(), request});
        if (holdUpdates)
            return wait(&openUpdates_);
        if (!preparedUpdates.empty())
            return given(take(preparedUpdates));
        return given(HttpResponse{.status = 200, .headers = {}, .body = "{}"});
    }

    /// What the local model's server answers; without a script nobody is there.
    Task<std::unique_ptr<HttpStream>> open(HttpRequest request) override {
        opened.push_back(std::move(request));
        if (!localServer)
            throw TransportError(TransportFault::refused);
        co_return localServer();
    }

    void preparePoll(const QByteArray& task) {
        preparedPolls.push_back(HttpResponse{.status = 200, .headers = {}, .body = task});
    }
    /// Answers the poll that waits.
    void answerPoll(Outcome outcome) { openPolls_.front()->set(std::move(outcome)); }
    void answerPoll(int status, const QByteArray& body = {}) {
        answerPoll(HttpResponse{.status = status, .headers = {}, .body = body});
    }
    void answerUpdate(Outcome outcome) { openUpdates_.front()->set(std::move(outcome)); }
    std::size_t openPolls() const { return openPolls_.size(); }
    std::size_t openUpdates() const { return openUpdates_.size(); }

    std::vector<HttpRequest> polls;
    std::vector<Update> updates;
    std::vector<HttpRequest> opened;
    std::function<std::unique_ptr<HttpStream>()> localServer;
    std::deque<Outcome> preparedPolls;
    std::deque<Outcome> preparedUpdates; // without one, an update is answered with 200
    bool holdUpdates = false;
    std::size_t mostOpen = 0; // requests that waited at the same time

private:
    using Waiting = std::list<Event<Outcome>*>;

    static Outcome take(std::deque<Outcome>& prepared) {
        Outcome outcome = std::move(prepared.front());
        prepared.pop_front();
        return outcome;
    }
    static Task<HttpResponse> given(Outcome outcome) {
        if (const auto* fault = std::get_if<TransportFault>(&outcome))
            throw TransportError(*fault);
        co_return std::get<HttpResponse>(std::move(outcome));
    }
    Task<HttpResponse> wait(Waiting* waiting) {
        Event<Outcome> answered;
        struct Registered {
            Waiting* waiting;
            Event<Outcome>* event;
            Registered(Waiting* w, Event<Outcome>* e) : waiting(w), event(e) { waiting->push_back(event); }
            Registered(const Registered&) = delete;
            Registered& operator=(const Registered&) = delete;
            ~Registered() { waiting->remove(event); }
        };
        const Registered registered(waiting, &answered);
        mostOpen = std::max(mostOpen, openPolls_.size() + openUpdates_.size());
        Outcome outcome = co_await answered;
        if (const auto* fault = std::get_if<TransportFault>(&outcome))
            throw TransportError(*fault);
        co_return std::get<HttpResponse>(std::move(outcome));
    }

    Waiting openPolls_;
    Waiting openUpdates_;
};

} // namespace vennic::test
