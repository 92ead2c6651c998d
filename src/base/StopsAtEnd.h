#pragma once
#include <stop_token>

namespace vennic {

/// Asks for a stop when the frame that holds it goes, however it goes: work on the pool ends soon after its waiter.
struct StopsAtEnd {
    std::stop_source source;
    StopsAtEnd() = default;
    StopsAtEnd(const StopsAtEnd&) = delete;
    StopsAtEnd& operator=(const StopsAtEnd&) = delete;
    ~StopsAtEnd() { source.request_stop(); }
};

} // namespace vennic
