#include "linux/index/SegmentMerge.h"

#include <algorithm>

namespace vennic::index {

namespace {
constexpr std::uint32_t gone = ~std::uint32_t{0};
constexpr int wordsBetweenLooksAtTheClock = 64;
} // namespace

SegmentMerge::SegmentMerge(Segments inputs, const std::string& path, const IsLive& isLive)
    : segments_(std::move(inputs)) {
    for (const auto& segment : segments_) {
        Input input{Segment::Cursor(*segment), std::vector<std::uint32_t>(segment->documents(), gone)};
        for (std::size_t i = 0; i < segment->documents(); ++i) {
            const DocumentFacts facts = segment->document(i);
            if (!isLive(facts.id))
                continue;
            input.newPosition[i] = static_cast<std::uint32_t>(documents_.size());
            documents_.push_back(facts);
        }
        inputs_.push_back(std::move(input));
    }
    for (std::size_t i = 0; i < inputs_.size(); ++i)
        advance(i);
    writer_ = std::make_unique<SegmentWriter>(path, documents_);
}

SegmentMerge::~SegmentMerge() = default;

bool SegmentMerge::before(std::size_t a, std::size_t b) const {
    const int order = inputs_[a].cursor.word().compare(inputs_[b].cursor.word());
    return order != 0 ? order < 0 : a < b; // equal words in the order of the inputs keep positions ascending
}

void SegmentMerge::advance(std::size_t input) {
    if (!inputs_[input].cursor.next())
        return;
    heap_.push_back(input);
    std::ranges::push_heap(heap_, [this](std::size_t a, std::size_t b) { return before(b, a); });
}

bool SegmentMerge::step(std::chrono::steady_clock::time_point end) {
    for (int words = 1; !heap_.empty(); ++words) {
        if (words % wordsBetweenLooksAtTheClock == 0 && std::chrono::steady_clock::now() >= end)
            return false;
        word_ = inputs_[heap_.front()].cursor.word();
        merged_.clear();
        while (!heap_.empty() && inputs_[heap_.front()].cursor.word() == word_) {
            std::ranges::pop_heap(heap_, [this](std::size_t a, std::size_t b) { return before(b, a); });
            const std::size_t input = heap_.back();
            heap_.pop_back();
            inputs_[input].cursor.positions(decoded_);
            for (const std::uint32_t position : decoded_) {
                if (inputs_[input].newPosition[position] != gone)
                    merged_.push_back(inputs_[input].newPosition[position]);
            }
            advance(input);
            if (!heap_.empty() && inputs_[heap_.front()].cursor.word() < word_)
                throw DamagedIndex("segment words are out of order");
        }
        if (!merged_.empty())
            writer_->add(word_, merged_);
    }
    return true;
}

std::uint64_t SegmentMerge::finish() { return writer_->finish(); }

} // namespace vennic::index
