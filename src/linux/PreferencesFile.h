#pragma once
#include "linux/SqliteConnection.h"
#include "ports/KeyValueStore.h"

#include <QHash>

#include <vector>

namespace vennic {

/// The file behind the preferences: an SQLite database (write-ahead log, a sync for each commit), 0600 in a folder of
/// 0700. One thread at a time; blocks on the disk.
class PreferencesFile {
public:
    using Values = QHash<QString, StoredValue>;
    /// A key and its new value; none removes it.
    using Changes = std::vector<std::pair<QString, std::optional<StoredValue>>>;

    /// A value larger than this is not stored.
    static constexpr qsizetype maxValueBytes = 64LL * 1024 * 1024;

    explicit PreferencesFile(QString path) : path_(std::move(path)) {}

    /// What the file holds. A damaged file, one that is not ours or one of a newer version is set aside under a
    /// dated name; what could still be read of a damaged one is given back. Raises SqliteError when the disk fails.
    Values load();
    /// Writes all changes in one transaction. Raises SqliteError; afterwards the next call opens the file again.
    void commit(const Changes& changes);
    /// Renames the file and its log to a dated name beside it. Raises SqliteError when that fails.
    void setAside(const QString& reason);
    /// The name that the last file was set aside under; empty when none was.
    const QString& asideName() const { return asideName_; }

private:
    SqliteConnection& open();
    static void readAll(SqliteConnection& connection, Values& values);
    void close() { connection_.reset(); }

    QString path_;
    QString asideName_;
    std::optional<SqliteConnection> connection_;
};

} // namespace vennic
