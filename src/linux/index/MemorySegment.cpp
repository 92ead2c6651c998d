#include "linux/index/MemorySegment.h"

#include "linux/index/WordSplit.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

namespace vennic::index {

namespace {

constexpr std::uint32_t none = ~std::uint32_t{0};

std::uint32_t hashOf(std::string_view word) {
    std::uint64_t hash = word.size() * 0x9E3779B97F4A7C15ULL;
    const char* at = word.data();
    std::size_t left = word.size();
    for (; left >= 8; left -= 8, at += 8) {
        std::uint64_t unit;
        std::memcpy(&unit, at, 8);
        hash = (hash ^ unit) * 0x9FB21C651E98DF25ULL;
        hash ^= hash >> 32;
    }
    std::uint64_t unit = 0;
    std::memcpy(&unit, at, left);
    hash = (hash ^ unit) * 0x9FB21C651E98DF25ULL;
    return static_cast<std::uint32_t>(hash ^ hash >> 32);
}

/// The first eight bytes as a number that sorts as they do.
std::uint64_t sortKey(std::string_view word) {
    std::uint64_t key = 0;
    std::memcpy(&key, word.data(), std::min<std::size_t>(8, word.size()));
    return std::endian::native == std::endian::little ? __builtin_bswap64(key) : key;
}

} // namespace

MemorySegment::MemorySegment() : table_(1 << 12, none) {}

void MemorySegment::clear() { *this = MemorySegment(); }

void MemorySegment::begin(const DocumentFacts& facts) {
    documents_.push_back(facts);
    firstTerms_.push_back(static_cast<std::uint32_t>(terms_.size()));
}

void MemorySegment::addWords(std::string_view folded) {
    splitWords(folded, [this](std::string_view word) { addWord(word); });
}

void MemorySegment::addWord(std::string_view word) {
    if (word.empty() || word.size() > 255)
        return;
    const std::uint32_t term = termOf(word);
    const auto current = static_cast<std::uint32_t>(documents_.size() - 1);
    if (lastDocuments_[term] == current)
        return;
    lastDocuments_[term] = current;
    terms_.push_back(term);
}

std::uint32_t MemorySegment::termOf(std::string_view word) {
    const std::uint32_t hash = hashOf(word);
    const std::size_t mask = table_.size() - 1;
    std::size_t at = hash & mask;
    for (; table_[at] != none; at = (at + 1) & mask) {
        const std::uint32_t term = table_[at];
        if (hashes_[term] == hash && this->word(term) == word)
            return term;
    }
    const auto term = static_cast<std::uint32_t>(offsets_.size());
    offsets_.push_back(static_cast<std::uint32_t>(text_.size()));
    lengths_.push_back(static_cast<std::uint8_t>(word.size()));
    hashes_.push_back(hash);
    lastDocuments_.push_back(none);
    text_.append(word);
    table_[at] = term;
    if (offsets_.size() * 2 > table_.size())
        grow();
    return term;
}

void MemorySegment::grow() {
    table_.assign(table_.size() * 2, none);
    const std::size_t mask = table_.size() - 1;
    for (std::uint32_t term = 0; term < offsets_.size(); ++term) {
        std::size_t at = hashes_[term] & mask;
        while (table_[at] != none)
            at = (at + 1) & mask;
        table_[at] = term;
    }
}

std::string MemorySegment::wordsOf(std::size_t document) const {
    const std::size_t end = document + 1 < firstTerms_.size() ? firstTerms_[document + 1] : terms_.size();
    std::string result = "\n";
    for (std::size_t at = firstTerms_[document]; at < end; ++at) {
        result.append(word(terms_[at]));
        result.push_back('\n');
    }
    return result;
}

std::size_t MemorySegment::bytes() const {
    // Each posting once more and each word with its sort key while the segment is written.
    return terms_.size() * 8 + offsets_.size() * (4 + 4 + 4 + 1 + 16 + 12) + text_.size() + table_.size() * 4 +
           documents_.size() * (sizeof(DocumentFacts) + 4);
}

std::uint64_t MemorySegment::write(const std::string& path) const {
    const std::size_t words = offsets_.size();
    std::vector<std::pair<std::uint64_t, std::uint32_t>> order(words);
    for (std::uint32_t term = 0; term < words; ++term)
        order[term] = {sortKey(word(term)), term};
    std::ranges::sort(order, [this](const auto& a, const auto& b) {
        return a.first != b.first ? a.first < b.first : word(a.second) < word(b.second);
    });
    std::vector<std::uint32_t> next(words + 1); // where the next position of a term goes
    for (const std::uint32_t term : terms_)
        ++next[term + 1];
    std::partial_sum(next.begin(), next.end(), next.begin());
    std::vector<std::uint32_t> positions(terms_.size());
    for (std::size_t document = 0; document < documents_.size(); ++document) {
        const std::size_t end = document + 1 < firstTerms_.size() ? firstTerms_[document + 1] : terms_.size();
        for (std::size_t at = firstTerms_[document]; at < end; ++at)
            positions[next[terms_[at]]++] = static_cast<std::uint32_t>(document);
    }
    SegmentWriter writer(path, documents_);
    for (const auto& [key, term] : order) { // next[t] has become the end of t, which is the beginning of t + 1
        const std::uint32_t begin = term == 0 ? 0 : next[term - 1];
        writer.add(word(term), std::span(positions).subspan(begin, next[term] - begin));
    }
    return writer.finish();
}

} // namespace vennic::index
