#include "linux/index/SearchQuery.h"

#include "linux/index/CompressedText.h"
#include "linux/index/DiskFolder.h"
#include "linux/index/TextFold.h"

#include <algorithm>
#include <cstring>

namespace vennic::index {

namespace {

constexpr std::size_t largestRound = 65536;
constexpr std::size_t largestText = 256u << 20;

} // namespace

SearchQuery::SearchQuery(const SearchRequest& request, const Database& database,
                         const std::vector<std::shared_ptr<const Segment>>& segments, ScopeFilter& scope,
                         TextSource& texts, const std::atomic<bool>& stop)
    : request_(request), database_(database), segments_(segments), scope_(scope), texts_(texts), stop_(stop),
      rule_(request.patterns.size(), request.groups),
      entry_(database.prepare("SELECT dir, name, modified, size, kind, state FROM file WHERE id=?")),
      text_(database.prepare("SELECT text FROM xtext WHERE id=?")) {
    for (const std::string& pattern : request.patterns) {
        patterns_.emplace_back(pattern);
        exact_ = exact_ && patterns_.back().exact();
    }
}

void SearchQuery::run(const Searcher::Sink& sink) {
    if (rule_.never() || request_.limit == 0)
        return;
    askPending();
    for (const auto& segment : segments_) {
        if (stop_)
            return;
        askSegment(*segment);
    }
    std::size_t left = request_.limit;
    std::size_t round = std::min(left * 2 + 64, largestRound);
    std::optional<Hit> last;
    while (!stop_) {
        const std::vector<Hit> hits = newest(round, last ? &*last : nullptr);
        for (const Hit& hit : hits) {
            if (stop_)
                return;
            const auto& folder = scope_.pathOf(hit.folder);
            if (!folder)
                continue;
            auto entry = lookUp(hit.id);
            if (!entry || !confirmed(hit, *entry)) // a missing row: changed or removed since its segment was made
                continue;
            std::string path = *folder + '/' + entry->name;
            sink({std::move(path), std::move(*entry)});
            if (--left == 0)
                return;
        }
        if (hits.size() < round)
            return;
        last = hits.back();
        round = std::min(round * 4, largestRound);
    }
}

void SearchQuery::askSegment(const Segment& segment) {
    Source source;
    source.segment = &segment;
    const std::size_t documents = segment.documents();
    for (const LikePattern& pattern : patterns_) {
        if (stop_)
            return;
        Bitmap matches(documents);
        if (pattern.pieces().empty())
            matches.setAll();
        for (std::size_t i = 0; i < pattern.pieces().size(); ++i) {
            if (i == 0) {
                segment.collect(pattern.pieces()[i], matches);
                continue;
            }
            if (!matches.any())
                break;
            Bitmap more(documents);
            segment.collect(pattern.pieces()[i], more);
            matches &= more;
        }
        const bool none = !matches.any();
        source.patterns.push_back(std::move(matches));
        if (none && rule_.needsAll())
            return;
    }
    conclude(std::move(source), documents);
}

void SearchQuery::askPending() {
    Source source;
    std::vector<std::vector<bool>> matches(patterns_.size());
    Statement rows = database_.prepare("SELECT pend.id, dir, modified, words FROM pend JOIN file ON file.id=pend.id");
    while (rows.step()) {
        source.pending.push_back({static_cast<std::uint32_t>(rows.integer(0)),
                                  static_cast<std::uint32_t>(rows.integer(1)), rows.integer(2) / 1'000'000});
        const std::string_view words = rows.blob(3);
        for (std::size_t i = 0; i < patterns_.size(); ++i) {
            matches[i].push_back(std::ranges::all_of(patterns_[i].pieces(), [&](const std::string& piece) {
                return memmem(words.data(), words.size(), piece.data(), piece.size()) != nullptr;
            }));
        }
    }
    for (const std::vector<bool>& each : matches) {
        Bitmap bits(source.pending.size());
        for (std::size_t i = 0; i < each.size(); ++i) {
            if (each[i])
                bits.set(i);
        }
        source.patterns.push_back(std::move(bits));
    }
    const std::size_t documents = source.pending.size();
    conclude(std::move(source), documents);
}

void SearchQuery::conclude(Source source, std::size_t documents) {
    std::vector<const Bitmap*> bits;
    bits.reserve(source.patterns.size());
    for (const Bitmap& each : source.patterns)
        bits.push_back(&each);
    source.found = rule_.combine(bits, documents);
    if (!source.found.any())
        return;
    if (exact_)
        source.patterns.clear();
    sources_.push_back(std::move(source));
}

std::vector<SearchQuery::Hit> SearchQuery::newest(std::size_t most, const Hit* before) const {
    // A heap with the oldest kept hit in front.
    const auto newer = [](const Hit& a, const Hit& b) { return a.key() > b.key(); };
    std::vector<Hit> heap;
    for (std::size_t source = 0; source < sources_.size(); ++source) {
        sources_[source].found.forEach([&](std::size_t position) {
            const DocumentFacts facts = sources_[source].facts(position);
            const Hit hit{facts.changed, facts.id, facts.folder, static_cast<std::uint32_t>(source),
                          static_cast<std::uint32_t>(position)};
            if ((heap.size() == most && hit.key() <= heap.front().key()) || (before && hit.key() >= before->key()) ||
                !scope_.mayHold(hit.folder))
                return;
            if (heap.size() == most) {
                std::ranges::pop_heap(heap, newer);
                heap.pop_back();
            }
            heap.push_back(hit);
            std::ranges::push_heap(heap, newer);
        });
    }
    std::ranges::sort(heap, newer);
    return heap;
}

std::optional<Entry> SearchQuery::lookUp(std::uint32_t id) {
    if (!entry_.with(id).step())
        return std::nullopt;
    Entry entry;
    entry.id = id;
    entry.folder = static_cast<std::uint32_t>(entry_.integer(0));
    entry.name = entry_.blob(1);
    entry.modified = entry_.integer(2);
    entry.size = entry_.integer(3);
    entry.kind = static_cast<EntryKind>(entry_.integer(4));
    entry.text = static_cast<TextState>(entry_.integer(5));
    entry_.reset();
    return entry;
}

bool SearchQuery::confirmed(const Hit& hit, const Entry& entry) {
    if (exact_)
        return true;
    const Source& source = sources_[hit.source];
    const std::string name = foldedText(entry.name);
    std::vector<bool> matches(patterns_.size());
    std::vector<std::size_t> inText; // patterns that the name doesn't decide
    for (std::size_t i = 0; i < patterns_.size(); ++i) {
        const bool candidate = source.patterns[i].test(hit.position);
        matches[i] = candidate && (patterns_[i].exact() || patterns_[i].matches(name, &stop_));
        if (candidate && !matches[i])
            inText.push_back(i);
    }
    if (rule_.holds(matches))
        return true;
    if (inText.empty())
        return false;
    const auto text = foldedTextOf(entry);
    if (!text)
        return false;
    for (const std::size_t i : inText)
        matches[i] = patterns_[i].matches(*text, &stop_);
    return rule_.holds(matches);
}

std::optional<std::string> SearchQuery::foldedTextOf(const Entry& entry) {
    if (entry.kind != EntryKind::file || (entry.text != TextState::indexed && entry.text != TextState::waiting))
        return std::nullopt;
    if (text_.with(entry.id).step()) {
        auto text = decompressedText(text_.blob(0), largestText);
        text_.reset();
        return text ? std::optional(foldedText(*text)) : std::nullopt;
    }
    if (texts_.formOf(entry.name) != TextSource::Form::plain)
        return std::nullopt;
    const FileDescriptor folder = openFolder(scope_.components(entry.folder));
    const FileDescriptor file = folder.isOpen() ? openFileAt(folder.number(), entry.name) : FileDescriptor();
    const auto now = file.isOpen() ? statOf(file.number()) : std::nullopt;
    if (!now || now->size > largestTextFile)
        return std::nullopt;
    TextSource::Result result = texts_.read(file.number(), entry.name);
    if (result.outcome != TextSource::Outcome::text)
        return std::nullopt;
    return foldedText(result.text);
}

} // namespace vennic::index
