#include "Bridge/SpotlightQueryRunner.h"

#include "Bridge/FileManagerSearch.h"
#include "base/MainQueue.h"
#include "base/StableSort.h"
#include "base/TextFolding.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vennic {

namespace {

std::chrono::seconds wholeSeconds(double seconds) {
    constexpr double longest = 24.0 * 3600;
    if (!(seconds > 0)) // not a number included
        return std::chrono::seconds{0};
    return std::chrono::seconds{static_cast<qint64>(std::min(seconds, longest))};
}

QStringList paths(const std::vector<FileURL>& folders) {
    QStringList all;
    for (const FileURL& folder : folders)
        all.append(folder.path);
    return all;
}

QString pattern(QString token) {
    token.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'"));
    return u'*' + token + u'*';
}

IndexPredicate predicate(const QStringList& tokens, std::vector<std::vector<int>> anyOf) {
    IndexPredicate all{.patterns = {}, .anyOf = std::move(anyOf)};
    for (const QString& token : tokens)
        all.patterns.append(pattern(token));
    return all;
}

} // namespace

SpotlightQueryRunner::SpotlightQueryRunner(FileIndex& index, std::shared_ptr<FileSystem> files, Clock& clock,
                                           Question question, Completion completion)
    : files_(std::move(files)), clock_(clock), question_(std::move(question)), completion_(std::move(completion)),
      metaQuery_(index.query(question_.predicate, paths(question_.folders),
                             std::clamp<qint64>(question_.limit, 0, FileIndex::mostHits))) {}

void SpotlightQueryRunner::start() {
    selfRetain_ = shared_from_this();
    const std::weak_ptr<SpotlightQueryRunner> weak = selfRetain_;
    timeoutTask_ = watchdog_->start(watch(weak, &clock_, wholeSeconds(question_.timeout)));
    const bool started = metaQuery_->start([weak] {
        if (const auto runner = weak.lock())
            runner->finish();
    });
    if (!started)
        finish();
}

Task<> SpotlightQueryRunner::watch(std::weak_ptr<SpotlightQueryRunner> runner, Clock* clock,
                                   std::chrono::seconds timeout) {
    co_await clock->sleep(timeout);
    if (const auto alive = runner.lock())
        alive->finish();
}

void SpotlightQueryRunner::finish() {
    if (finished_)
        return;
    finished_ = true;
    std::vector<SearchResult> results = collectResults();
    metaQuery_->stop();
    timeoutTask_.cancel();
    completion_(std::move(results));
    // The caller may be the query's own callback or the watchdog, and both are members: they go a turn later.
    postToMain([self = std::move(selfRetain_)] {});
}

void SpotlightQueryRunner::abandon() {
    if (!finished_) {
        finished_ = true;
        metaQuery_->stop();
        completion_({});
    }
    metaQuery_.reset();
    watchdog_.reset();
    selfRetain_.reset();
}

std::vector<SearchResult> SpotlightQueryRunner::collectResults() {
    const QString home = files_->homeDirectory();
    std::vector<SearchResult> results;
    metaQuery_->disableUpdates();
    const qint64 count = std::min(question_.limit, metaQuery_->resultCount());
    for (qint64 position = 0; position < count; ++position) {
        if (auto found = result(metaQuery_->resultAt(position), home))
            results.push_back(*std::move(found));
    }
    metaQuery_->enableUpdates();
    return results;
}

std::optional<SearchResult> SpotlightQueryRunner::result(const IndexItem& item, const QString& home) {
    if (!item.path)
        return std::nullopt;
    const FileURL url{*item.path};
    return SearchResult{
        .url = url,
        .name = item.name ? *item.name : url.lastPathComponent(),
        .mime = FileManagerSearch::mimeFromUTI(item.contentType.value_or(QStringLiteral("public.data"))),
        .size = item.size.value_or(0),
        .modifiedAt = item.changedAt,
        .isRemote = false, // only the file system knows, which may take its time: SpotlightSearch asks it
        .parentDisplay = displayPath(url.deletingLastPathComponent().path, home),
    };
}

QStringList SpotlightQueryRunner::tokenize(const QString& text) {
    QStringList tokens;
    qsizetype begin = 0;
    for (qsizetype at = 0; at <= text.size(); ++at) {
        if (at < text.size() && !text.at(at).isSpace())
            continue;
        if (at > begin)
            tokens.append(text.sliced(begin, at - begin));
        begin = at + 1;
    }
    return tokens;
}

IndexPredicate SpotlightQueryRunner::andPredicate(const QStringList& tokens) {
    if (tokens.isEmpty())
        return {};
    std::vector<int> all(static_cast<std::size_t>(tokens.size()));
    std::iota(all.begin(), all.end(), 0);
    return predicate(tokens, {std::move(all)});
}

IndexPredicate SpotlightQueryRunner::orOfSubsetsPredicate(const QStringList& tokens, int drop) {
    const int n = static_cast<int>(tokens.size());
    int k = n - std::max(drop, 1);
    if (k < 1) {
        if (n < 2)
            return andPredicate(tokens);
        k = 1;
    }
    if (k >= n)
        return andPredicate(tokens);
    std::vector<int> prefix;
    std::vector<std::vector<int>> groups;
    combinations(n, k, prefix, 0, groups);
    return predicate(tokens, std::move(groups));
}

void SpotlightQueryRunner::combinations(int count, int size, std::vector<int>& prefix, int start,
                                        std::vector<std::vector<int>>& out) {
    const int missing = size - static_cast<int>(prefix.size());
    if (missing == 0) {
        out.push_back(prefix);
        return;
    }
    for (int position = start; count - position >= missing; ++position) {
        prefix.push_back(position);
        combinations(count, size, prefix, position + 1, out);
        prefix.pop_back();
    }
}

std::vector<SearchResult> SpotlightQueryRunner::rankAndTrim(std::vector<SearchResult> results,
                                                            const QStringList& tokens, qint64 limit) {
    QStringList folded;
    for (const QString& token : tokens)
        folded.append(foldedForComparison(token));
    struct Ranked {
        qint64 score;
        SearchResult result;
    };
    std::vector<Ranked> ranked;
    ranked.reserve(results.size());
    for (SearchResult& result : results) {
        const QString name = foldedForComparison(result.name);
        const auto score = std::ranges::count_if(folded, [&](const QString& token) { return name.contains(token); });
        ranked.push_back({score, std::move(result)});
    }
    ranked = stablySorted(std::move(ranked), [](const Ranked& a, const Ranked& b) {
        if (a.score != b.score)
            return a.score > b.score;
        return sortingMoment(a.result) > sortingMoment(b.result);
    });
    results.clear();
    for (Ranked& entry : ranked)
        results.push_back(std::move(entry.result));
    keepFirst(results, limit);
    return results;
}

} // namespace vennic
