#pragma once
#include <cstdint>
#include <string>

namespace vennic::index {

inline void appendVarint(std::string& out, std::uint64_t value) {
    while (value >= 0x80) {
        out.push_back(static_cast<char>(value | 0x80));
        value >>= 7;
    }
    out.push_back(static_cast<char>(value));
}

/// Reads a number and moves `at` behind it; false when the bytes end or the number has no end.
inline bool readVarint(const std::uint8_t*& at, const std::uint8_t* end, std::uint64_t& value) {
    if (at < end && *at < 0x80) {
        value = *at++;
        return true;
    }
    value = 0;
    for (int shift = 0; at < end && shift < 64; shift += 7) {
        const std::uint8_t byte = *at++;
        value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        if (byte < 0x80)
            return true;
    }
    return false;
}

} // namespace vennic::index
