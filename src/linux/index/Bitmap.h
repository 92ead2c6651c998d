#pragma once
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vennic::index {

/// A set of document positions of one segment.
class Bitmap {
public:
    Bitmap() = default;
    explicit Bitmap(std::size_t size) : size_(size), words_((size + 63) / 64) {}

    std::size_t size() const { return size_; }
    bool test(std::size_t at) const { return words_[at >> 6] >> (at & 63) & 1; }
    /// Adds a position; true when it is new.
    bool set(std::size_t at) {
        std::uint64_t& word = words_[at >> 6];
        const std::uint64_t bit = std::uint64_t{1} << (at & 63);
        const bool added = !(word & bit);
        word |= bit;
        return added;
    }
    void setAll() {
        std::fill(words_.begin(), words_.end(), ~std::uint64_t{0});
        trim();
    }
    /// Adds the positions of a little-endian bit array of at most `size()` bits; gives the number of new ones.
    std::size_t addBytes(const std::uint8_t* bytes, std::size_t count) {
        std::size_t added = 0;
        for (std::size_t i = 0; i < words_.size() && i * 8 < count; ++i) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + i * 8, std::min<std::size_t>(8, count - i * 8));
            if (i + 1 == words_.size() && size_ % 64)
                word &= ~std::uint64_t{0} >> (64 - size_ % 64);
            added += static_cast<std::size_t>(std::popcount(word & ~words_[i]));
            words_[i] |= word;
        }
        return added;
    }
    bool any() const {
        return std::any_of(words_.begin(), words_.end(), [](std::uint64_t word) { return word != 0; });
    }
    Bitmap& operator&=(const Bitmap& other) {
        for (std::size_t i = 0; i < words_.size(); ++i)
            words_[i] &= other.words_[i];
        return *this;
    }
    Bitmap& operator|=(const Bitmap& other) {
        for (std::size_t i = 0; i < words_.size(); ++i)
            words_[i] |= other.words_[i];
        return *this;
    }
    template <class F>
    void forEach(F&& function) const {
        for (std::size_t i = 0; i < words_.size(); ++i) {
            for (std::uint64_t word = words_[i]; word; word &= word - 1)
                function(i * 64 + static_cast<std::size_t>(std::countr_zero(word)));
        }
    }
    bool operator==(const Bitmap&) const = default;

private:
    void trim() {
        if (size_ % 64)
            words_.back() &= ~std::uint64_t{0} >> (64 - size_ % 64);
    }
    std::size_t size_ = 0;
    std::vector<std::uint64_t> words_;
};

} // namespace vennic::index
