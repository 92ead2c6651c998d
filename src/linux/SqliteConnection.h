#pragma once
#include <QString>

#include <memory>
#include <sqlite3.h>
#include <stdexcept>

namespace vennic {

/// A failed call of SQLite. `code` is the primary result code.
class SqliteError : public std::runtime_error {
public:
    SqliteError(int code, const char* message) : std::runtime_error(message), code_(code & 0xff) {}
    int code() const noexcept { return code_; }
    /// Whether the file's content is at fault, not its surroundings.
    bool meansDamage() const noexcept { return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB; }

private:
    int code_;
};

/// One connection to one file. One thread at a time.
class SqliteConnection {
public:
    /// Opens or creates. Raises SqliteError.
    explicit SqliteConnection(const QString& path);
    void execute(const char* sql);
    /// The first column of the first row; 0 without one.
    qint64 integer(const char* sql);
    sqlite3* handle() const noexcept { return database_.get(); }

private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Close> database_;
};

/// A prepared statement. Positions of parameters count from 1, those of columns from 0.
class SqliteStatement {
public:
    SqliteStatement(const SqliteConnection& connection, const char* sql);
    void bindText(int position, const QByteArray& utf8);
    void bindBlob(int position, const QByteArray& bytes);
    void bindInteger(int position, qint64 value);
    void bindReal(int position, double value);
    /// Whether there is a row. Raises SqliteError.
    bool step();
    void reset() { sqlite3_reset(statement_.get()); }
    int type(int column) const { return sqlite3_column_type(statement_.get(), column); }
    QByteArray bytes(int column) const;
    qint64 integer(int column) const { return sqlite3_column_int64(statement_.get(), column); }
    double real(int column) const { return sqlite3_column_double(statement_.get(), column); }

private:
    void check(int code) const;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    sqlite3* database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

} // namespace vennic
