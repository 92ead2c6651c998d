#pragma once
#include "linux/index/Bitmap.h"
#include "linux/index/SegmentFormat.h"
#include "linux/index/SegmentWriter.h"

#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// A mapped segment file, read only. Whatever its bytes are, reading it stays within them; any number of threads
/// may read it.
class Segment {
public:
    /// Raises DamagedIndex when the file is missing, of another version, or not whole by its header.
    explicit Segment(const std::string& path);
    ~Segment();
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;

    std::size_t documents() const { return documents_; }
    std::uint64_t bytes() const { return size_; }
    DocumentFacts document(std::size_t position) const {
        return {ids_[position], folders_[position], changes_[position]};
    }
    /// Adds the documents of which a word holds `piece` (not empty, no newline).
    void collect(std::string_view piece, Bitmap& found) const;
    /// Reads every byte; false when the checksum is wrong.
    bool intact() const;

    /// Walks the words in their order.
    class Cursor {
    public:
        explicit Cursor(const Segment& segment);
        /// Moves to the next word; false at the end. Raises DamagedIndex.
        bool next();
        std::string_view word() const { return word_; }
        /// The positions of the present word's documents.
        void positions(std::vector<std::uint32_t>& out) const;

    private:
        const Segment& segment_;
        const char* nextWord_;
        const std::uint8_t* nextList_;
        const std::uint8_t* list_ = nullptr;
        std::string_view word_;
        std::uint64_t left_;
    };

private:
    struct List { // one word's postings
        std::uint64_t count = 0;
        bool dense = false;
        const std::uint8_t* begin = nullptr;
        const std::uint8_t* end = nullptr;
    };
    bool readList(const std::uint8_t*& at, List& list) const;
    std::size_t addList(const List& list, Bitmap& found) const;

    const std::uint8_t* map_ = nullptr;
    std::uint64_t size_ = 0;
    std::size_t documents_ = 0;
    std::uint64_t words_ = 0;
    std::uint64_t checksum_ = 0;
    const std::uint32_t* ids_ = nullptr;
    const std::uint32_t* folders_ = nullptr;
    const std::int64_t* changes_ = nullptr;
    const std::uint8_t* postings_ = nullptr;
    const std::uint8_t* postingsEnd_ = nullptr;
    const char* vocabulary_ = nullptr;
    std::size_t vocabularyBytes_ = 0;
    const SegmentBlock* blocks_ = nullptr;
    std::size_t blockCount_ = 0;
};

} // namespace vennic::index
