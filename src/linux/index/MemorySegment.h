#pragma once
#include "linux/index/SegmentWriter.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// Documents and their distinct words in memory, on their way to a segment file.
class MemorySegment {
public:
    MemorySegment();
    /// Begins a document; `addWords` and `addWord` add to the last one begun.
    void begin(const DocumentFacts& facts);
    /// All words of a folded text.
    void addWords(std::string_view folded);
    void addWord(std::string_view word);

    std::size_t documents() const { return documents_.size(); }
    const DocumentFacts& document(std::size_t at) const { return documents_[at]; }
    /// The distinct words of a document as "\nword\nword\n".
    std::string wordsOf(std::size_t document) const;
    /// Memory in use, that of writing the segment included.
    std::size_t bytes() const;
    /// Writes a segment file; gives its size. Raises std::system_error.
    std::uint64_t write(const std::string& path) const;
    void clear();

private:
    std::string_view word(std::uint32_t term) const { return {&text_[offsets_[term]], lengths_[term]}; }
    std::uint32_t termOf(std::string_view word);
    void grow();

    std::vector<DocumentFacts> documents_;
    std::vector<std::uint32_t> terms_;      // of all documents, one after the other
    std::vector<std::uint32_t> firstTerms_; // where each document's terms begin
    std::string text_;                      // the words themselves
    std::vector<std::uint32_t> offsets_, hashes_, lastDocuments_;
    std::vector<std::uint8_t> lengths_;
    std::vector<std::uint32_t> table_; // open addressing, `none` where empty
};

} // namespace vennic::index
