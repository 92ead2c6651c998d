#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace vennic::index {

/// A segment file, in the machine's byte order, each part padded to 8 bytes:
///   header
///   document arrays: identifier u32[], folder u32[], change i64[] (milliseconds since 1970)
///   postings, one list a word in the order of the words: varint count; then for one document its position, else
///     varint (bytes << 1 | dense) and the positions, as varint differences or, when dense, as an array of bits
///   words: "\n" word "\n" word "\n", sorted by bytes, and at least `scanPadding` zero bytes
///   blocks: for each 32nd word where it and its postings begin
struct SegmentHeader {
    static constexpr char kind[8] = {'V', 'N', 'X', 'S', 'E', 'G', '0', '1'};

    char magic[8] = {};
    std::uint64_t fileBytes = 0;
    std::uint64_t documents = 0;
    std::uint64_t words = 0;
    std::uint64_t postings = 0, postingsBytes = 0; // offset in the file and length
    std::uint64_t vocabulary = 0, vocabularyBytes = 0;
    std::uint64_t blocks = 0, blockCount = 0;
    std::uint64_t bodyChecksum = 0;   // of everything behind the header
    std::uint64_t headerChecksum = 0; // of the header's bytes before this field
};

struct SegmentBlock {
    std::uint64_t vocabulary = 0; // offset of its first word
    std::uint64_t postings = 0;   // offset of that word's list
};

constexpr std::size_t wordsPerBlock = 32;

constexpr std::uint64_t paddedTo8(std::uint64_t bytes) { return (bytes + 7) / 8 * 8; }

/// A quick running checksum over whole 8-byte units. It finds damage, not malice.
class Checksum {
public:
    void add(const void* data, std::size_t bytes) {
        const auto* at = static_cast<const char*>(data);
        for (; bytes >= 8; bytes -= 8, at += 8) {
            std::uint64_t unit;
            std::memcpy(&unit, at, 8);
            value_ = (value_ ^ unit) * 0x100000001B3ULL;
            value_ ^= value_ >> 29;
        }
    }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325ULL;
};

/// Something on disk isn't what this program wrote there.
struct DamagedIndex : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace vennic::index
