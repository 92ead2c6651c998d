#pragma once
#include <chrono>
#include <cstdint>

namespace vennic::index {

/// Milliseconds since 1970, for what is to be compared after a new start.
inline std::int64_t wallTime() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace vennic::index
