#pragma once
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

struct sqlite3;
struct sqlite3_stmt;

namespace vennic::index {

/// A failed operation of the catalogue's database, with SQLite's primary result code and the system's error behind it.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int code, int systemError, const std::string& what)
        : std::runtime_error(what), code_(code), systemError_(systemError) {}
    int code() const noexcept { return code_; }
    int systemError() const noexcept;
    /// The file isn't a whole database.
    bool damaged() const noexcept;

private:
    int code_;
    int systemError_;
};

/// A prepared statement, used by one thread. Columns are valid until the next step.
class Statement {
public:
    Statement() = default;
    Statement(sqlite3* database, const char* text);
    ~Statement();
    Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
    Statement& operator=(Statement&& other) noexcept {
        std::swap(statement_, other.statement_);
        return *this;
    }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Binds the arguments in order: integers, and blobs given as string views.
    template <class... A>
    Statement& with(const A&... arguments) {
        reset();
        int at = 0;
        (bind(++at, arguments), ...);
        return *this;
    }
    /// Moves to the next row; false, and ready for new arguments, when there is none.
    bool step();
    /// Steps to the end.
    void run();
    /// Ends a reading before its last row.
    void reset();

    std::int64_t integer(int column) const;
    std::string_view blob(int column) const;

private:
    void bind(int at, std::int64_t value);
    void bind(int at, std::string_view value);
    sqlite3_stmt* statement_ = nullptr;
};

/// One connection, used by one thread.
class Database {
public:
    enum class Mode { write, read };
    Database(const std::string& path, Mode mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    Statement prepare(const char* text) const { return {database_, text}; }
    void execute(const std::string& text) const;
    std::int64_t integer(const char* text) const;
    std::string text(const char* text) const;

private:
    sqlite3* database_ = nullptr;
};

} // namespace vennic::index
