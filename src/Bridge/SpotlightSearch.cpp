#include "Bridge/SpotlightSearch.h"

#include "Bridge/SpotlightQueryRunner.h"
#include "base/Pool.h"

namespace vennic {

namespace {

constexpr qint64 walkedEntries = 50'000; // of each folder

/// The relaxed pass has as many groups as tokens, each nearly as long: beyond this many it would cost seconds and
/// counts as a pass that ran out of time with nothing gathered.
constexpr qsizetype relaxableTokens = 256;

/// Without the spaces and tabs at both ends; other white space stays.
QString trimmedWhitespace(const QString& text) {
    const auto isBlank = [](QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text.at(begin)))
        ++begin;
    while (end > begin && isBlank(text.at(end - 1)))
        --end;
    return text.sliced(begin, end - begin);
}

/// Says which results lie on volumes that aren't local. Runs on the pool: such a volume may not answer.
std::vector<SearchResult> withVolumes(const std::shared_ptr<FileSystem>& files, std::vector<SearchResult> results) {
    for (SearchResult& result : results) {
        const auto values = files->values(result.url.path);
        result.isRemote = values && !values->volumeIsLocal.value_or(true);
    }
    return results;
}

} // namespace

SpotlightSearch::SpotlightSearch(FileIndex& index, std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types,
                                 Clock& clock)
    : index_(index), files_(files), walk_(std::move(files), std::move(types)), clock_(clock) {}

Task<std::vector<SearchResult>> SpotlightSearch::search(QString query, std::vector<FileURL> folders, qint64 limit,
                                                        double timeout) const {
    const QString trimmed = trimmedWhitespace(query);
    if (trimmed.isEmpty() || folders.empty())
        co_return std::vector<SearchResult>();
    const QStringList tokens = SpotlightQueryRunner::tokenize(trimmed);
    if (tokens.isEmpty())
        co_return std::vector<SearchResult>();
    std::vector<SearchResult> strict =
        co_await runQuery(SpotlightQueryRunner::andPredicate(tokens), folders, limit, timeout);
    if (!strict.empty() || tokens.size() == 1)
        co_return strict;
    if (tokens.size() <= relaxableTokens) {
        std::vector<SearchResult> relaxed = co_await runQuery(SpotlightQueryRunner::orOfSubsetsPredicate(tokens, 1),
                                                              folders, raisedLimit(limit), timeout);
        if (!relaxed.empty())
            co_return SpotlightQueryRunner::rankAndTrim(std::move(relaxed), tokens, limit);
    }
    co_return co_await walk_.search(tokens, std::move(folders), limit, walkedEntries);
}

Task<std::vector<SearchResult>> SpotlightSearch::runQuery(IndexPredicate predicate, std::vector<FileURL> folders,
                                                          qint64 limit, double timeout) const {
    using Results = std::vector<SearchResult>;
    Event<Results> gathered;
    struct Waiter {
        Event<Results>* event;
    };
    const auto waiter = std::make_shared<Waiter>(Waiter{&gathered});
    auto completion = [waiter](Results results) {
        if (waiter->event)
            waiter->event->set(std::move(results));
    };
    SpotlightQueryRunner::Question question{std::move(predicate), std::move(folders), limit, timeout};
    const auto runner =
        std::make_shared<SpotlightQueryRunner>(index_, files_, clock_, std::move(question), std::move(completion));
    struct EndsWithUs { // however the waiter goes, nothing of the query stays behind
        std::shared_ptr<Waiter> waiter;
        std::weak_ptr<SpotlightQueryRunner> runner;
        EndsWithUs(std::shared_ptr<Waiter> w, std::weak_ptr<SpotlightQueryRunner> r)
            : waiter(std::move(w)), runner(std::move(r)) {}
        EndsWithUs(const EndsWithUs&) = delete;
        EndsWithUs& operator=(const EndsWithUs&) = delete;
        ~EndsWithUs() {
            waiter->event = nullptr;
            if (const auto alive = runner.lock())
                alive->abandon();
        }
    };
    const EndsWithUs end(waiter, runner);
    runner->start();
    Results results = co_await gathered;
    if (results.empty())
        co_return results;
    co_return co_await onPoolWaiting(withVolumes, files_, std::move(results));
}

} // namespace vennic
