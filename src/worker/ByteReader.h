#pragma once
#include <cstdint>
#include <string_view>

namespace vennic::worker {

/// Numbers at places of a file's bytes. What lies beyond the end reads as 0 and as empty text.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : bytes_(bytes) {}

    std::string_view bytes() const { return bytes_; }
    std::size_t size() const { return bytes_.size(); }
    bool has(std::size_t at, std::size_t count) const { return at <= size() && count <= size() - at; }
    std::string_view text(std::size_t at, std::size_t count) const {
        return has(at, count) ? bytes_.substr(at, count) : std::string_view();
    }
    unsigned byte(std::size_t at) const { return has(at, 1) ? static_cast<unsigned char>(bytes_[at]) : 0; }
    std::uint32_t big16(std::size_t at) const { return byte(at) << 8U | byte(at + 1); }
    std::uint32_t big32(std::size_t at) const { return big16(at) << 16U | big16(at + 2); }
    std::uint64_t big64(std::size_t at) const { return std::uint64_t{big32(at)} << 32U | big32(at + 4); }
    std::uint32_t little16(std::size_t at) const { return byte(at) | byte(at + 1) << 8U; }
    std::uint32_t little32(std::size_t at) const { return little16(at) | little16(at + 2) << 16U; }
    std::int32_t littleSigned32(std::size_t at) const { return static_cast<std::int32_t>(little32(at)); }

private:
    std::string_view bytes_;
};

} // namespace vennic::worker
