#include "linux/index/Database.h"

#include <cerrno>
#include <sqlite3.h>

namespace vennic::index {

namespace {

[[noreturn]] void fail(sqlite3* database, int code) {
    throw DatabaseError(code & 0xFF, database ? sqlite3_system_errno(database) : 0,
                        database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
}

} // namespace

bool DatabaseError::damaged() const noexcept {
    return code_ == SQLITE_CORRUPT || code_ == SQLITE_NOTADB || code_ == SQLITE_FORMAT || code_ == SQLITE_ERROR ||
           code_ == SQLITE_CONSTRAINT || code_ == SQLITE_MISMATCH || code_ == SQLITE_SCHEMA;
}

int DatabaseError::systemError() const noexcept {
    if (code_ == SQLITE_FULL)
        return ENOSPC;
    const bool ofTheSystem = code_ == SQLITE_IOERR || code_ == SQLITE_CANTOPEN;
    return ofTheSystem && systemError_ ? systemError_ : EIO;
}

Statement::Statement(sqlite3* database, const char* text) {
    const int code = sqlite3_prepare_v3(database, text, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
    if (code != SQLITE_OK)
        fail(database, code);
}

Statement::~Statement() { sqlite3_finalize(statement_); }

bool Statement::step() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW)
        return true;
    sqlite3_reset(statement_);
    if (code != SQLITE_DONE)
        fail(sqlite3_db_handle(statement_), code);
    return false;
}

void Statement::run() {
    while (step()) {
    }
}

void Statement::reset() { sqlite3_reset(statement_); }

std::int64_t Statement::integer(int column) const { return sqlite3_column_int64(statement_, column); }

std::string_view Statement::blob(int column) const {
    const void* data = sqlite3_column_blob(statement_, column);
    return {static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

void Statement::bind(int at, std::int64_t value) { sqlite3_bind_int64(statement_, at, value); }

void Statement::bind(int at, std::string_view value) {
    // An empty view may have no address, which would bind NULL.
    const char* data = value.data() ? value.data() : "";
    sqlite3_bind_blob64(statement_, at, data, value.size(), SQLITE_TRANSIENT);
}

Database::Database(const std::string& path, Mode mode) {
    const int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW |
                      (mode == Mode::write ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
    const int code = sqlite3_open_v2(path.c_str(), &database_, flags, nullptr);
    if (code != SQLITE_OK) {
        const std::string what = database_ ? sqlite3_errmsg(database_) : sqlite3_errstr(code);
        const int systemError = database_ ? sqlite3_system_errno(database_) : 0;
        sqlite3_close(database_);
        throw DatabaseError(code & 0xFF, systemError, what);
    }
    sqlite3_busy_timeout(database_, mode == Mode::write ? 200 : 2000);
}

Database::~Database() { sqlite3_close_v2(database_); }

void Database::execute(const std::string& text) const {
    const int code = sqlite3_exec(database_, text.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        fail(database_, code);
}

std::int64_t Database::integer(const char* text) const {
    Statement statement = prepare(text);
    return statement.step() ? statement.integer(0) : 0;
}

std::string Database::text(const char* text) const {
    Statement statement = prepare(text);
    return statement.step() ? std::string(statement.blob(0)) : std::string();
}

} // namespace vennic::index
