#pragma once
#include "ports/HttpTransport.h"

#include <deque>

namespace vennic::test {

/// A streamed answer that the test says piece by piece while it is being read. Copies speak for the same answer.
class HttpStreamScript {
public:
    explicit HttpStreamScript(std::optional<int> status = 200) : state_(std::make_shared<State>()) {
        state_->status = status;
    }

    /// The reader's side, for one reader.
    std::unique_ptr<HttpStream> stream() const { return std::make_unique<Stream>(state_); }

    void say(const QByteArray& bytes) { state_->pieces.push_back(bytes), wake(); }
    void end() { state_->ended = true, wake(); }
    void fail(TransportFault fault) { state_->fault = fault, end(); }
    /// Whether the reader has taken everything and waits for more.
    bool isAwaited() const { return state_->news && state_->pieces.empty() && !state_->ended; }
    /// Whether the reader is done with it.
    bool isClosed() const { return state_->closed; }
    /// Pieces that nobody has asked for yet.
    std::size_t left() const { return state_->pieces.size(); }

private:
    struct State {
        std::optional<int> status;
        std::deque<QByteArray> pieces;
        std::optional<TransportFault> fault;
        bool ended = false;
        bool closed = false;
        Event<>* news = nullptr;
    };

    class Stream final : public HttpStream {
    public:
        explicit Stream(std::shared_ptr<State> state) : state_(std::move(state)) {}
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        ~Stream() override { state_->closed = true; }
        std::optional<int> status() const override { return state_->status; }
        Task<std::optional<QByteArray>> next() override {
            if (state_->pieces.empty() && !state_->ended)
                co_await untilNews(state_.get());
            if (state_->pieces.empty()) {
                if (state_->fault)
                    throw TransportError(*state_->fault);
                co_return std::nullopt;
            }
            QByteArray piece = std::move(state_->pieces.front());
            state_->pieces.pop_front();
            co_return piece;
        }

    private:
        static Task<> untilNews(State* state) {
            Event<> news;
            struct Registered {
                State* state;
                ~Registered() { state->news = nullptr; }
            };
            state->news = &news;
            const Registered registered{state};
            co_await news;
        }
        std::shared_ptr<State> state_;
    };

    void wake() {
        if (state_->news)
            state_->news->set();
    }

    std::shared_ptr<State> state_;
};

} // namespace vennic::test
