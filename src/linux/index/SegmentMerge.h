#pragma once
#include "linux/index/Segment.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vennic::index {

/// Makes one segment of several, without the documents that are gone, in small steps.
class SegmentMerge {
public:
    using Segments = std::vector<std::shared_ptr<const Segment>>;
    using IsLive = std::function<bool(std::uint32_t id)>;

    /// Asks `isLive` once for each document, at once.
    SegmentMerge(Segments inputs, const std::string& path, const IsLive& isLive);
    ~SegmentMerge();

    /// Works until `end`; true when all words are merged. Raises DamagedIndex and std::system_error.
    bool step(std::chrono::steady_clock::time_point end);
    /// Completes the file; gives its size. Dropping a merge before leaves no file.
    std::uint64_t finish();
    std::size_t documents() const { return documents_.size(); }

private:
    struct Input {
        Segment::Cursor cursor;
        std::vector<std::uint32_t> newPosition; // of each document, `gone` when it isn't kept
    };
    bool before(std::size_t a, std::size_t b) const;
    void advance(std::size_t input);

    Segments segments_;
    std::vector<Input> inputs_;
    std::vector<DocumentFacts> documents_;
    std::vector<std::size_t> heap_;
    std::unique_ptr<SegmentWriter> writer_;
    std::vector<std::uint32_t> merged_, decoded_;
    std::string word_;
};

} // namespace vennic::index
