#pragma once
#include "linux/index/Searcher.h"

#include <compare>
#include <optional>

namespace vennic::index {

/// One run of a query over one state of the index: finds the candidates by words, then takes them newest first and
/// checks what words can't decide on name and text.
class SearchQuery {
public:
    SearchQuery(const SearchRequest& request, const Database& database,
                const std::vector<std::shared_ptr<const Segment>>& segments, ScopeFilter& scope, TextSource& texts,
                const std::atomic<bool>& stop);

    void run(const Searcher::Sink& sink);

private:
    /// A segment or the pending words with what they answer.
    struct Source {
        const Segment* segment = nullptr; // null: the pending documents
        std::vector<DocumentFacts> pending;
        std::vector<Bitmap> patterns; // documents by pattern, candidates where it isn't exact
        Bitmap found;
        DocumentFacts facts(std::size_t at) const { return segment ? segment->document(at) : pending[at]; }
    };
    struct Hit {
        std::int64_t changed = 0;
        std::uint32_t id = 0;
        std::uint32_t folder = 0;
        std::uint32_t source = 0;
        std::uint32_t position = 0;
        auto key() const { return std::pair(changed, id); }
    };

    void askSegment(const Segment& segment);
    void askPending();
    void conclude(Source source, std::size_t documents);
    std::vector<Hit> newest(std::size_t most, const Hit* before) const;
    std::optional<Entry> lookUp(std::uint32_t id);
    bool confirmed(const Hit& hit, const Entry& entry);
    std::optional<std::string> foldedTextOf(const Entry& entry);

    const SearchRequest& request_;
    const Database& database_;
    const std::vector<std::shared_ptr<const Segment>>& segments_;
    ScopeFilter& scope_;
    TextSource& texts_;
    const std::atomic<bool>& stop_;
    std::vector<LikePattern> patterns_;
    bool exact_ = true;
    GroupRule rule_;
    std::vector<Source> sources_;
    Statement entry_, text_;
};

} // namespace vennic::index
