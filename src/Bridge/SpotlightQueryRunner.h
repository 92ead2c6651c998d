#pragma once
#include "Bridge/SearchResult.h"
#include "base/Clock.h"
#include "base/Task.h"
#include "ports/FileIndex.h"
#include "ports/FileSystem.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace vennic {

/// One query over the index, with a time-out. It keeps itself alive until it has finished. Main thread only.
class SpotlightQueryRunner final : public std::enable_shared_from_this<SpotlightQueryRunner> {
public:
    using Completion = std::function<void(std::vector<SearchResult>)>;

    struct Question {
        IndexPredicate predicate;
        std::vector<FileURL> folders;
        qint64 limit = 0;   // most items to read
        double timeout = 0; // seconds, slept as whole ones
    };

    /// `completion` is called exactly once after `start`: with what was gathered when gathering ended or the time was
    /// up, whichever came first.
    SpotlightQueryRunner(FileIndex& index, std::shared_ptr<FileSystem> files, Clock& clock, Question question,
                         Completion completion);

    void start();
    /// Ends the query with what it has; later calls do nothing.
    void finish();
    /// Lets go of the index and the clock at once; a completion that is still owed gets nothing. Not to be called
    /// from inside the completion.
    void abandon();

    /// The pieces between white space, as they stand.
    static QStringList tokenize(const QString& text);
    /// Every token, in the file name, the display name or the text. No token at all matches nothing.
    static IndexPredicate andPredicate(const QStringList& tokens);
    /// All tokens but `drop`, whichever they are.
    static IndexPredicate orOfSubsetsPredicate(const QStringList& tokens, int drop);
    /// Every choice of `size` positions below `count` that begins with `prefix` and goes on from `start`, in
    /// lexicographic order.
    static void combinations(int count, int size, std::vector<int>& prefix, int start,
                             std::vector<std::vector<int>>& out);
    /// The best `limit` results: by the number of tokens in the name (no case, no accents), then newest first.
    static std::vector<SearchResult> rankAndTrim(std::vector<SearchResult> results, const QStringList& tokens,
                                                 qint64 limit);

private:
    std::vector<SearchResult> collectResults();
    std::optional<SearchResult> result(const IndexItem& item, const QString& home);
    static Task<> watch(std::weak_ptr<SpotlightQueryRunner> runner, Clock* clock, std::chrono::seconds timeout);

    std::shared_ptr<FileSystem> files_;
    Clock& clock_;
    Question question_;
    Completion completion_;
    std::unique_ptr<IndexQuery> metaQuery_;
    Job timeoutTask_;
    std::shared_ptr<SpotlightQueryRunner> selfRetain_;
    bool finished_ = false;
    std::unique_ptr<Scope> watchdog_ = std::make_unique<Scope>();
};

} // namespace vennic
