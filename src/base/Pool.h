#pragma once
#include "base/MainQueue.h"
#include "base/StopsAtEnd.h"
#include "base/Task.h"

#include <concepts>
#include <functional>
#include <tuple>

namespace vennic {

/// Runs `function` on one of a few worker threads (user-initiated work that would block the main thread).
void submitToPool(std::function<void()> function);

/// Runs `work` on the pool and resumes on the main thread with its result or its exception. `work` owns all that
/// it touches: a cancelled waiter doesn't stop it.
template <class F, class... A>
auto onPool(F work, A... arguments) -> Task<std::invoke_result_t<F, A...>> {
    using R = std::invoke_result_t<F, A...>;
    struct Shared {      // outlives the waiter, never the work
        Event<R>* event; // touched on the main thread only
        std::conditional_t<std::is_void_v<R>, std::optional<detail::Unit>, std::optional<R>> value;
        std::exception_ptr error;
    };
    Event<R> done;
    auto shared = std::make_shared<Shared>(Shared{&done, {}, {}});
    struct Detach {
        Shared* shared;
        ~Detach() { shared->event = nullptr; }
    };
    const Detach detach{shared.get()};
    submitToPool([shared, work = std::move(work), arguments = std::make_tuple(std::move(arguments)...)]() mutable {
        try {
            if constexpr (std::is_void_v<R>) {
                std::apply(work, std::move(arguments));
                shared->value.emplace();
            } else {
                shared->value.emplace(std::apply(work, std::move(arguments)));
            }
        } catch (...) {
            shared->error = std::current_exception();
        }
        postToMain([shared = std::move(shared)] {
            if (!shared->event)
                return;
            if (shared->error)
                shared->event->fail(shared->error);
            else if constexpr (std::is_void_v<R>)
                shared->event->set();
            else
                shared->event->set(std::move(*shared->value));
        });
    });
    if constexpr (std::is_void_v<R>)
        co_await done;
    else
        co_return co_await done;
}

namespace detail {

/// Lets the pool start another thread instead of the one that it lives on, as long as it lives.
class PlaceGivenUp {
public:
    PlaceGivenUp();
    PlaceGivenUp(const PlaceGivenUp&) = delete;
    PlaceGivenUp& operator=(const PlaceGivenUp&) = delete;
    ~PlaceGivenUp();
};

} // namespace detail

/// As `onPool`, for work that waits for something outside, perhaps for hours: it takes no place away from other work.
/// Before its arguments `work` gets a token that is told to stop once nobody waits for the result any more, because
/// the waiting job was cancelled or its owner has ended. It has to end soon then: the program's end waits for it.
template <class F, class... A>
    requires std::invocable<F, std::stop_token, A...>
auto onPoolWaiting(F work, A... arguments) -> Task<std::invoke_result_t<F, std::stop_token, A...>> {
    const StopsAtEnd interest;
    auto apart = [work = std::move(work)](auto&&... given) mutable {
        const detail::PlaceGivenUp place;
        return work(std::forward<decltype(given)>(given)...);
    };
    co_return co_await onPool(std::move(apart), interest.source.get_token(), std::move(arguments)...);
}

/// The same for work that can't be told to stop, such as a look at a folder on a disk that doesn't answer.
template <class F, class... A>
    requires std::invocable<F, A...>
auto onPoolWaiting(F work, A... arguments) -> Task<std::invoke_result_t<F, A...>> {
    return onPoolWaiting(
        [work = std::move(work)](const std::stop_token&, auto&&... given) mutable {
            return work(std::forward<decltype(given)>(given)...);
        },
        std::move(arguments)...);
}

} // namespace vennic
