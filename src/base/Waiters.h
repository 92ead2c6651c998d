#pragma once
#include "base/Task.h"

#include <vector>

namespace vennic {

/// Jobs that wait for one and the same thing. Outlives them. Main thread only.
template <class T = void>
class Waiters {
public:
    /// A job's place among them, for as long as it waits.
    class Place {
    public:
        explicit Place(Waiters& among) : among_(among) { among_.events_.push_back(&event_); }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() { std::erase(among_.events_, &event_); }
        Event<T>& event() { return event_; }

    private:
        Waiters& among_;
        Event<T> event_;
    };

    /// Gives all who wait now the same result.
    template <class... A>
    void wake(const A&... result) {
        for (Event<T>* event : events_)
            event->set(result...);
    }

private:
    std::vector<Event<T>*> events_;
};

} // namespace vennic
