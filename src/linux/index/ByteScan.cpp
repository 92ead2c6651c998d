#include "linux/index/ByteScan.h"

#include <bit>
#include <cstdint>
#include <cstring>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vennic::index {

namespace {

using Find = std::size_t (*)(const char*, std::size_t, std::string_view, std::size_t);

bool middleMatches(const char* at, std::string_view needle) {
    return needle.size() < 3 || std::memcmp(at + 1, needle.data() + 1, needle.size() - 2) == 0;
}

#if defined(__x86_64__)
// Compares the first and the last byte of the needle at 16 or 32 places at once.
std::size_t findSse2(const char* text, std::size_t size, std::string_view needle, std::size_t from) {
    if (needle.size() > size)
        return size;
    const __m128i first = _mm_set1_epi8(needle.front());
    const __m128i last = _mm_set1_epi8(needle.back());
    const std::size_t end = size - needle.size() + 1;
    for (std::size_t i = from; i < end; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i + needle.size() - 1));
        auto hits = static_cast<std::uint32_t>(
            _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(a, first), _mm_cmpeq_epi8(b, last))));
        for (; hits; hits &= hits - 1) {
            const std::size_t at = i + static_cast<std::size_t>(std::countr_zero(hits));
            if (at < end && middleMatches(text + at, needle))
                return at;
        }
    }
    return size;
}

__attribute__((target("avx2,bmi,bmi2"))) std::size_t findAvx2(const char* text, std::size_t size,
                                                              std::string_view needle, std::size_t from) {
    if (needle.size() > size)
        return size;
    const __m256i first = _mm256_set1_epi8(needle.front());
    const __m256i last = _mm256_set1_epi8(needle.back());
    const std::size_t end = size - needle.size() + 1;
    for (std::size_t i = from; i < end; i += 32) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + i));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + i + needle.size() - 1));
        auto hits = static_cast<std::uint32_t>(
            _mm256_movemask_epi8(_mm256_and_si256(_mm256_cmpeq_epi8(a, first), _mm256_cmpeq_epi8(b, last))));
        for (; hits; hits &= hits - 1) {
            const std::size_t at = i + static_cast<std::size_t>(__builtin_ctz(hits));
            if (at < end && middleMatches(text + at, needle))
                return at;
        }
    }
    return size;
}

Find chosen() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") ? findAvx2 : findSse2; }
#else
std::size_t findPortable(const char* text, std::size_t size, std::string_view needle, std::size_t from) {
    if (from >= size)
        return size;
    const void* at = memmem(text + from, size - from, needle.data(), needle.size());
    return at ? static_cast<std::size_t>(static_cast<const char*>(at) - text) : size;
}

Find chosen() { return findPortable; }
#endif

} // namespace

std::size_t findBytes(const char* text, std::size_t size, std::string_view needle, std::size_t from) {
    static const Find find = chosen();
    return find(text, size, needle, from);
}

} // namespace vennic::index
