#pragma once
#include "linux/index/SegmentFormat.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// What a segment knows of a document beside its words.
struct DocumentFacts {
    std::uint32_t id = 0;
    std::uint32_t folder = 0;
    std::int64_t changed = 0; // milliseconds since 1970
};

/// Writes a segment file from its documents and its sorted words, in one pass, with little memory. Raises
/// std::system_error. A file that hasn't been finished is removed.
class SegmentWriter {
public:
    SegmentWriter(std::string path, std::span<const DocumentFacts> documents);
    ~SegmentWriter();
    SegmentWriter(const SegmentWriter&) = delete;
    SegmentWriter& operator=(const SegmentWriter&) = delete;

    /// Words come in ascending order of their bytes; `positions` are ascending and not empty.
    void add(std::string_view word, std::span<const std::uint32_t> positions);
    /// Completes the file and makes it and its name durable; gives its size.
    std::uint64_t finish();

private:
    class Output;
    std::string path_;
    std::uint64_t documents_;
    std::unique_ptr<Output> file_;
    std::unique_ptr<Output> words_; // a nameless file beside, until the postings have ended
    std::vector<SegmentBlock> blocks_;
    std::string coded_;
    SegmentHeader header_;
    bool finished_ = false;
};

} // namespace vennic::index
