#pragma once
#include <QObject>
#include <QTimer>

#include <chrono>
#include <coroutine>
#include <exception>
#include <list>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

/// Main-thread coroutines: lazy, owned, cooperatively cancelled.
///
/// A Task starts when it is awaited or given to a Scope. Parameters of coroutines are values, a capturing
/// lambda is never a coroutine, and a Scope is the last member of its owner.
namespace vennic {

/// What a wait throws when the job it belongs to has been cancelled.
struct Cancelled final : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

template <class T>
class Task;

namespace detail {

struct PromiseBase {
    std::coroutine_handle<> waiter; // who awaits this task; empty while nobody does
    std::stop_token stop;           // handed down from the awaiting task
    std::exception_ptr error;

    std::suspend_always initial_suspend() const noexcept { return {}; }
    void unhandled_exception() noexcept { error = std::current_exception(); }

    struct Final {
        bool await_ready() const noexcept { return false; }
        template <class P>
        void await_suspend(std::coroutine_handle<P> self) const noexcept {
            if (auto waiter = self.promise().waiter)
                waiter.resume(); // `self` may be gone after this
        }
        void await_resume() const noexcept {}
    };
    Final final_suspend() const noexcept { return {}; }
};

template <class T>
struct Promise : PromiseBase {
    std::optional<T> value;
    Task<T> get_return_object();
    template <class U>
        requires std::constructible_from<T, U&&>
    void return_value(U&& v) {
        value.emplace(std::forward<U>(v));
    }
    T take() { return std::move(*value); } // NOLINT(bugprone-unchecked-optional-access): set before the end
};

template <>
struct Promise<void> : PromiseBase {
    Task<void> get_return_object();
    void return_void() const noexcept {}
    void take() const noexcept {}
};

struct Unit {};

} // namespace detail

/// A piece of main-thread work. It starts when awaited, hands its stop token down, and destroying it destroys
/// everything that it waits for.
template <class T = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::Promise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    explicit Task(Handle handle) noexcept : handle_(handle) {}
    Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
    Task& operator=(Task&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() {
        if (handle_)
            handle_.destroy();
    }

    bool await_ready() const noexcept { return false; }
    template <class P>
    bool await_suspend(std::coroutine_handle<P> waiter) {
        handle_.promise().stop = waiter.promise().stop;
        handle_.resume();
        if (handle_.done())
            return false; // finished without waiting: no suspension, no stack growth
        handle_.promise().waiter = waiter;
        return true;
    }
    T await_resume() {
        if (handle_.promise().error)
            std::rethrow_exception(handle_.promise().error);
        return handle_.promise().take();
    }

private:
    Handle handle_;
};

namespace detail {
template <class T>
Task<T> Promise<T>::get_return_object() {
    return Task<T>{std::coroutine_handle<Promise<T>>::from_promise(*this)};
}
inline Task<void> Promise<void>::get_return_object() {
    return Task<void>{std::coroutine_handle<Promise<void>>::from_promise(*this)};
}
} // namespace detail

/// A one-shot result set by a callback and awaited by one task. The first `set` or `fail` counts. The waiter is
/// always resumed from the event loop, never from inside `set`. Cancelling the waiting job fails it with Cancelled.
template <class T = void>
class Event {
    using Stored = std::conditional_t<std::is_void_v<T>, detail::Unit, T>;

public:
    Event() = default;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    template <class... A>
    void set(A&&... arguments) {
        if (value_ || error_)
            return;
        value_.emplace(std::forward<A>(arguments)...);
        wake();
    }
    void fail(std::exception_ptr error) {
        if (value_ || error_)
            return;
        error_ = std::move(error);
        wake();
    }

    struct Awaiter {
        Event* event;
        bool await_ready() const noexcept { return false; }
        template <class P>
        bool await_suspend(std::coroutine_handle<P> waiter) {
            if (event->value_ || event->error_)
                return false;
            event->waiter_ = waiter;
            event->onStop_.emplace(waiter.promise().stop, OnStop{event});
            return true;
        }
        T await_resume() { return event->take(); }
    };
    Awaiter operator co_await() noexcept { return Awaiter{this}; }

private:
    struct OnStop {
        Event* event;
        void operator()() const { event->fail(std::make_exception_ptr(Cancelled{})); }
    };
    T take() {
        onStop_.reset();
        waiter_ = {};
        if (error_)
            std::rethrow_exception(error_);
        if constexpr (!std::is_void_v<T>)
            return std::move(*value_); // NOLINT(bugprone-unchecked-optional-access): no error means a value
    }
    void wake() {
        if (waiter_)
            QMetaObject::invokeMethod(&context_, [waiter = waiter_] { waiter.resume(); }, Qt::QueuedConnection);
    }

    QObject context_; // drops the queued wake-up when the frame dies first
    std::optional<Stored> value_;
    std::exception_ptr error_;
    std::coroutine_handle<> waiter_;
    std::optional<std::stop_callback<OnStop>> onStop_;
};

/// `co_await StopToken{}` gives the running job's token without waiting.
struct StopToken {
    std::stop_token token;
    bool await_ready() const noexcept { return false; }
    template <class P>
    bool await_suspend(std::coroutine_handle<P> handle) {
        token = handle.promise().stop;
        return false;
    }
    std::stop_token await_resume() { return std::move(token); }
};

/// A handle to a job started in a `Scope`; dropping it changes nothing.
class Job {
public:
    Job() = default;
    /// True while the handle names a job, running or ended.
    explicit operator bool() const noexcept { return stop_.stop_possible(); }
    void cancel() { stop_.request_stop(); }

private:
    friend class Scope;
    std::stop_source stop_{std::nostopstate};
};

/// Owns running jobs. Declare it last in its class: its end destroys what still runs, so no job outlives the
/// members that it uses. A job that throws anything but Cancelled ends the program: roots catch.
class Scope {
public:
    Scope() = default;
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// Starts `task` from the event loop.
    Job start(Task<void> task) {
        Job job;
        job.stop_ = std::stop_source{};
        const auto at = roots_.emplace(roots_.end(), nullptr);
        *at = std::make_unique<Root>(run(std::move(task), at), job.stop_.get_token());
        QMetaObject::invokeMethod(&(*at)->context, [root = at->get()] { root->handle.resume(); }, Qt::QueuedConnection);
        return job;
    }
    /// Jobs that have not ended yet.
    std::size_t size() const noexcept { return roots_.size(); }

private:
    struct Frame;
    struct FramePromise {
        std::stop_token stop;
        Frame get_return_object();
        std::suspend_always initial_suspend() const noexcept { return {}; }
        std::suspend_always final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
    };
    struct Frame {
        using promise_type = FramePromise;
        std::coroutine_handle<FramePromise> handle;
    };
    struct Root {
        Root(Frame frame, std::stop_token token) : handle(frame.handle) { handle.promise().stop = std::move(token); }
        Root(const Root&) = delete;
        Root& operator=(const Root&) = delete;
        ~Root() { handle.destroy(); }
        QObject context;
        std::coroutine_handle<FramePromise> handle;
    };
    using Roots = std::list<std::unique_ptr<Root>>;

    Frame run(Task<void> task, Roots::iterator at) {
        try {
            co_await task;
        } catch (const Cancelled&) { // NOLINT(bugprone-empty-catch): the end that its owner asked for
        }
        QMetaObject::invokeMethod(&(*at)->context, [this, at] { roots_.erase(at); }, Qt::QueuedConnection);
    }

    Roots roots_;
};

inline Scope::Frame Scope::FramePromise::get_return_object() {
    return Frame{std::coroutine_handle<FramePromise>::from_promise(*this)};
}

} // namespace vennic
