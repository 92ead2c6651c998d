#include "linux/index/IndexStore.h"

#include "linux/index/CompressedText.h"
#include "linux/index/TextFold.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>

namespace vennic::index {

namespace fs = std::filesystem;

IndexStore::IndexStore(std::string directory, StoreLimits limits)
    : directory_(std::move(directory)), limits_(limits), catalogue_(directory_ + "/catalog.db") {
    std::unordered_set<std::string> live;
    for (const auto& row : catalogue_.segments()) {
        const Segment check(pathOf(row.name)); // its header
        live.insert(row.name);
        unverified_.push_back(row.name);
    }
    for (const auto& file : fs::directory_iterator(directory_)) {
        if (file.path().extension() == ".seg" && !live.contains(file.path().filename().string()))
            fs::remove(file.path()); // of a change that was never committed
    }
    count();
    purging_ = scrubDue_ = catalogue_.scrubDue();
    logLingers_ = true; // the last run may have ended between deleting and truncating
}

void IndexStore::erase(const std::string& directory) {
    std::error_code error;
    for (const auto& file : fs::directory_iterator(directory, error)) {
        const std::string name = file.path().filename().string();
        if (name.ends_with(".seg") || name.starts_with("catalog.db"))
            fs::remove(file.path(), error);
    }
}

void IndexStore::count() {
    files_ = catalogue_.count();
    waiting_ = catalogue_.countWaiting();
    pending_ = catalogue_.database().integer("SELECT count(*) FROM pend");
    pendingBytes_ = catalogue_.database().integer("SELECT coalesce(sum(length(words)), 0) FROM pend");
}

void IndexStore::begin() {
    if (!catalogue_.writing())
        catalogue_.begin();
}

void IndexStore::add(Entry& entry, std::string_view text) {
    begin();
    catalogue_.add(entry);
    ++files_;
    waiting_ += entry.text == TextState::waiting;
    memory_.begin(entry.facts());
    memory_.addWords(foldedText(entry.name));
    if (!text.empty())
        memory_.addWords(foldedText(text));
}

void IndexStore::keepText(const Entry& entry, std::string_view text) {
    begin();
    catalogue_.keepText(entry.id, compressedText(text));
}

void IndexStore::remove(const Entry& entry) {
    begin();
    catalogue_.remove(entry.id);
    --files_;
    ++removed_;
    waiting_ -= entry.text == TextState::waiting;
}

void IndexStore::setText(Entry& entry, TextState state) {
    begin();
    waiting_ += (state == TextState::waiting) - (entry.text == TextState::waiting);
    catalogue_.setText(entry.id, state);
    entry.text = state;
}

std::vector<std::uint32_t> IndexStore::removeTree(std::uint32_t folder) {
    begin();
    std::vector<std::uint32_t> folders = catalogue_.tree(folder);
    for (const std::uint32_t each : folders) {
        const std::int64_t gone = catalogue_.removeFolder(each);
        files_ -= gone;
        removed_ += gone;
    }
    waiting_ = catalogue_.countWaiting();
    return folders;
}

std::vector<std::uint32_t> IndexStore::withdraw(std::uint32_t folder) {
    commit(); // the words of the batch become a segment or pending words like all others
    merge_.reset();
    begin();
    std::vector<std::uint32_t> folders = removeTree(folder);
    // Folders that were deleted on disk before count as well: they may have stood in the withdrawn one.
    std::unordered_map<std::uint32_t, bool> known;
    const auto isGone = [&](std::uint32_t id) {
        const auto [at, fresh] = known.try_emplace(id, false);
        if (fresh)
            at->second = catalogue_.folder(id).has_value();
        return !at->second;
    };
    for (const auto& row : catalogue_.segments()) {
        const Segment segment(pathOf(row.name));
        for (std::size_t i = 0; i < segment.documents(); ++i) {
            if (isGone(segment.document(i).folder)) {
                catalogue_.markForPurge(row.name);
                break;
            }
        }
    }
    catalogue_.askForScrub();
    purging_ = scrubDue_ = true;
    segmentsChanged_ = true;
    return folders;
}

void IndexStore::commit() {
    if (!catalogue_.writing())
        return;
    if (memory_.documents() > limits_.smallBatch ||
        memory_.bytes() > static_cast<std::size_t>(limits_.mostPendingBytes) * 2) {
        const std::string name = catalogue_.newSegmentName();
        const std::uint64_t bytes = memory_.write(pathOf(name));
        catalogue_.addSegment(name, static_cast<std::int64_t>(bytes));
        segmentsChanged_ = untidy_ = true;
    } else {
        for (std::size_t i = 0; i < memory_.documents(); ++i) {
            const std::uint32_t id = memory_.document(i).id;
            if (!catalogue_.exists(id))
                continue; // replaced within the batch
            const std::string words = memory_.wordsOf(i);
            catalogue_.addPending(id, words);
            ++pending_;
            pendingBytes_ += static_cast<std::int64_t>(words.size());
        }
    }
    memory_.clear();
    catalogue_.commit();
}

void IndexStore::rollback() {
    merge_.reset();
    memory_.clear();
    if (catalogue_.writing())
        catalogue_.rollback();
    count();
}

void IndexStore::flushPending() {
    begin();
    MemorySegment words;
    catalogue_.pending([&](const DocumentFacts& facts, std::string_view list) {
        words.begin(facts);
        for (std::size_t at = 1; at < list.size();) {
            const std::size_t end = std::min(list.find('\n', at), list.size());
            words.addWord(list.substr(at, end - at));
            at = end + 1;
        }
    });
    if (words.documents() > 0) {
        const std::string name = catalogue_.newSegmentName();
        catalogue_.addSegment(name, static_cast<std::int64_t>(words.write(pathOf(name))));
    }
    catalogue_.clearPending();
    catalogue_.commit();
    pending_ = pendingBytes_ = 0;
    segmentsChanged_ = true;
}

bool IndexStore::tend(std::chrono::steady_clock::time_point end) {
    if (merge_) {
        if (merge_->step(end))
            finishMerge();
        return true;
    }
    if (catalogue_.writing())
        return false; // a merge is chosen between batches only
    if (pending_ >= limits_.mostPending || pendingBytes_ >= limits_.mostPendingBytes) {
        flushPending();
        return true;
    }
    if (scrubDue_) {
        scrubDue_ = false;
        catalogue_.scrub();
        logLingers_ = true;
        truncateLog();
        return true;
    }
    if (segmentsChanged_) {
        segmentsChanged_ = false;
        chooseMerge(limits_.fan);
        return true;
    }
    if (removed_ > std::max<std::int64_t>(2000, files_ / 4)) {
        removed_ = 0;
        findWorn();
        return true;
    }
    return false;
}

bool IndexStore::tidy() {
    if (!untidy_ || merge_ || catalogue_.writing())
        return false;
    chooseMerge(2);
    untidy_ = merge_ != nullptr;
    logLingers_ = logLingers_ || !untidy_; // a bulk leaves a long one
    return untidy_;
}

void IndexStore::chooseMerge(std::size_t fan) {
    purging_ = false; // unless one more is found below
    std::vector<std::vector<Catalogue::SegmentRow>> tiers;
    for (auto& row : catalogue_.segments()) {
        purging_ = purging_ || row.purge;
        if (row.purge || std::ranges::find(worn_, row.name) != worn_.end()) {
            startMerge({row});
            return;
        }
        std::size_t tier = 0;
        for (std::int64_t size = row.bytes; size > 64L * 1024; size /= static_cast<std::int64_t>(limits_.fan))
            ++tier;
        tiers.resize(std::max(tiers.size(), tier + 1));
        tiers[tier].push_back(std::move(row));
    }
    for (auto& tier : tiers) {
        if (tier.size() >= fan) {
            startMerge(tier);
            return;
        }
    }
}

void IndexStore::findWorn() {
    std::vector<std::pair<std::string, std::unique_ptr<Segment>>> segments;
    std::uint32_t last = 0;
    for (const auto& row : catalogue_.segments()) {
        auto segment = std::make_unique<Segment>(pathOf(row.name));
        for (std::size_t i = 0; i < segment->documents(); ++i)
            last = std::max(last, segment->document(i).id);
        segments.emplace_back(row.name, std::move(segment));
    }
    Bitmap live(std::size_t{last} + 1);
    catalogue_.identifiers(0, last, [&](std::uint32_t id) { live.set(id); });
    for (const auto& [name, segment] : segments) {
        std::size_t left = 0;
        for (std::size_t i = 0; i < segment->documents(); ++i)
            left += live.test(segment->document(i).id);
        if (left * 5 < segment->documents() * 3)
            worn_.push_back(name);
    }
    segmentsChanged_ = segmentsChanged_ || !worn_.empty();
}

void IndexStore::startMerge(const std::vector<Catalogue::SegmentRow>& inputs) {
    SegmentMerge::Segments segments;
    std::size_t documents = 0;
    std::uint32_t first = ~std::uint32_t{0};
    std::uint32_t last = 0;
    mergeInputs_.clear();
    for (const auto& row : inputs) {
        auto segment = std::make_shared<const Segment>(pathOf(row.name));
        for (std::size_t i = 0; i < segment->documents(); ++i) {
            first = std::min(first, segment->document(i).id);
            last = std::max(last, segment->document(i).id);
        }
        documents += segment->documents();
        segments.push_back(std::move(segment));
        mergeInputs_.push_back(row.name);
    }
    SegmentMerge::IsLive isLive = [this](std::uint32_t id) { return catalogue_.exists(id); };
    if (documents > 0 && (last - first) / 32 < documents) { // one pass over the table is quicker than many looks
        auto live = std::make_shared<Bitmap>(last - first + 1);
        catalogue_.identifiers(first, last, [&](std::uint32_t id) { live->set(id - first); });
        isLive = [live, first](std::uint32_t id) { return live->test(id - first); };
    }
    mergeName_ = catalogue_.newSegmentName();
    merge_ = std::make_unique<SegmentMerge>(std::move(segments), pathOf(mergeName_), isLive);
}

void IndexStore::finishMerge() {
    const auto bytes = merge_->documents() > 0 ? static_cast<std::int64_t>(merge_->finish()) : 0;
    merge_.reset();
    commit();
    // The inputs are unlinked below, so a loss of power must not bring a catalogue back that names them.
    catalogue_.begin(true);
    for (const std::string& input : mergeInputs_) {
        catalogue_.removeSegment(input);
        std::erase(worn_, input);
        std::erase(unverified_, input);
    }
    if (bytes > 0)
        catalogue_.addSegment(mergeName_, bytes);
    catalogue_.commit();
    for (const std::string& input : mergeInputs_)
        unlink(pathOf(input).c_str());
    segmentsChanged_ = true;
}

void IndexStore::truncateLog() {
    if (!catalogue_.writing() && catalogue_.truncateLog())
        logLingers_ = false;
}

bool IndexStore::verifyNext() {
    if (catalogueUnverified_) {
        catalogueUnverified_ = false;
        if (!catalogue_.sound())
            throw DamagedIndex("catalogue is damaged");
        return true;
    }
    if (unverified_.empty())
        return false;
    const std::string name = unverified_.back();
    unverified_.pop_back();
    if (!Segment(pathOf(name)).intact())
        throw DamagedIndex("segment is damaged");
    return true;
}

std::int64_t IndexStore::bytesOnDisk() const {
    std::int64_t bytes = 0;
    std::error_code error;
    for (const auto& file : fs::directory_iterator(directory_, error)) {
        const auto size = file.file_size(error);
        bytes += error ? 0 : static_cast<std::int64_t>(size);
    }
    return bytes;
}

} // namespace vennic::index
