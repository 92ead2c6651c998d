#pragma once
#include <cstdint>
#include <sys/stat.h>

namespace vennic::index {

/// Nanoseconds since 1970 of a time of statx(2); 0 for a made-up one that doesn't fit.
inline std::int64_t fileTime(const statx_timestamp& time) {
    std::int64_t result = 0;
    if (__builtin_mul_overflow(time.tv_sec, std::int64_t{1'000'000'000}, &result) ||
        __builtin_add_overflow(result, time.tv_nsec, &result))
        return 0;
    return result;
}

} // namespace vennic::index
