#pragma once
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vennic {

/// A predicate over file name, display name and text content.
///
/// Each pattern is one LIKE[c] clause, "(name LIKE p) OR (display name LIKE p) OR (text LIKE p)": `*` stands for
/// any run of characters, `?` for one, a backslash takes the next character literally, case doesn't count,
/// accents do. A file matches when all patterns of at least one group match. No group matches nothing.
struct IndexPredicate {
    QStringList patterns;
    std::vector<std::vector<int>> anyOf; // groups of positions in `patterns`
    bool operator==(const IndexPredicate&) const = default;
};

/// What the index says of one file. A missing value is one that the index doesn't have.
struct IndexItem {
    std::optional<QString> path;        // absolute, as the scope was spelled
    std::optional<QString> name;        // file name
    std::optional<QString> contentType; // a public type identifier, see FileTypes
    std::optional<qint64> size;         // bytes
    std::optional<QDateTime> changedAt; // last content change, UTC
    bool operator==(const IndexItem&) const = default;
};

/// One query over the index, newest first. Used on the main thread. Its end stops it.
class IndexQuery {
public:
    virtual ~IndexQuery() = default;
    /// Begins to gather on a thread of the index; `gathered` is called on the main thread when gathering has
    /// ended, never from inside `start`, never after `stop`. False when the query can't be started at all.
    virtual bool start(std::function<void()> gathered) = 0;
    /// Ends gathering; what has been gathered stays readable.
    virtual void stop() = 0;
    /// Keep the results still while they are read.
    virtual void disableUpdates() = 0;
    virtual void enableUpdates() = 0;
    /// What has been gathered so far, newest first.
    virtual qint64 resultCount() const = 0;
    virtual IndexItem resultAt(qint64 position) const = 0;
};

/// How far the index is.
struct IndexStatus {
    qint64 files = 0;          // entries known, folders included
    qint64 pending = 0;        // entries seen whose text isn't indexed yet
    qint64 bytes = 0;          // on disk
    bool ready = false;        // the first full pass over the folders has ended and nothing is pending
    bool watchLimited = false; // the system's watch limit was reached; rescans stand in
    QString problem;           // a French sentence, empty when all is well
    bool operator==(const IndexStatus&) const = default;
};

/// The index of names and text over the shared folders. It follows changes on disk by itself. Until it holds all of
/// them for the first time, a query that finds too few also looks at the disk itself, for a few seconds at most.
class FileIndex {
public:
    /// The most that one query gathers: it is kept in memory.
    static constexpr qint64 mostHits = 10'000;

    virtual ~FileIndex() = default;
    /// Sets the folders that are indexed (absolute paths). What no longer lies under one of them is forgotten at
    /// once: not found by a query begun after this call, its text deleted from disk soon after.
    virtual void setFolders(const QStringList& folders) = 0;
    /// A query for the newest `limit` matches, at most `mostHits`, within `scopes` (absolute paths of folders; what
    /// lies outside every indexed folder is not found).
    virtual std::unique_ptr<IndexQuery> query(const IndexPredicate& predicate, const QStringList& scopes,
                                              qint64 limit) = 0;
    virtual IndexStatus status() const = 0;
};

} // namespace vennic
