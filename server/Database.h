#pragma once
#include "base/LocalizedError.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <optional>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace vennic::server {

/// The database refused: full disk, damaged file, a newer format.
class DatabaseError : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

class Database;

/// One running statement. Its rows are read one after another; it ends with the object.
class Query {
public:
    Query(Query&& other) noexcept;
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    Query& operator=(Query&&) = delete;
    ~Query();
    /// Goes to the next row. False when there is none. Raises DatabaseError.
    bool next();
    bool isNull(int column) const;
    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    QByteArray bytes(int column) const;
    std::optional<qint64> maybeInteger(int column) const;
    std::optional<QString> maybeText(int column) const;

private:
    friend class Database;
    Query(Database& database, std::string sql, sqlite3_stmt* statement);
    void check(int code) const;
    void bind(int at, qint64 value) const;
    void bind(int at, int value) const { bind(at, static_cast<qint64>(value)); }
    void bind(int at, double value) const;
    void bind(int at, const QString& value) const;
    void bind(int at, const QByteArray& value) const; // a null array is NULL
    template <class T>
    void bind(int at, const std::optional<T>& value) const {
        if (value)
            bind(at, *value); // an absent one stays NULL
    }
    Database* database_;
    std::string sql_;
    sqlite3_stmt* statement_;
};

/// One SQLite file, used from one thread. Statements are prepared once and kept.
class Database {
public:
    /// Opens or makes the file (":memory:" for none) with write-ahead logging. Raises DatabaseError.
    explicit Database(const QString& path);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// A statement with its values bound in order. Nothing happens before `next`.
    template <class... Values>
    Query query(const char* sql, const Values&... values) {
        Query query = take(sql);
        [[maybe_unused]] int at = 0;
        (query.bind(++at, values), ...);
        return query;
    }
    /// Runs a statement that gives no rows; the number of rows that it changed.
    template <class... Values>
    int run(const char* sql, const Values&... values) {
        query(sql, values...).next();
        return changes();
    }
    /// Runs several statements without values.
    void script(const char* sql);
    int changes() const;
    /// Undoes the open transaction; none is open where SQLite has undone it already.
    void rollBack() noexcept;

private:
    friend class Query;
    Query take(const char* sql);
    [[noreturn]] void fail() const;
    sqlite3* handle_ = nullptr;
    std::multimap<std::string, sqlite3_stmt*, std::less<>> idle_;
};

/// All or nothing: what isn't committed is undone when the object goes.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database& database_;
    bool open_ = true;
};

} // namespace vennic::server
