#include "linux/SqliteConnection.h"

#include <QFile>

namespace vennic {

SqliteConnection::SqliteConnection(const QString& path) {
    sqlite3* database = nullptr;
    const int code = sqlite3_open_v2(QFile::encodeName(path).constData(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    database_.reset(database);
    if (code != SQLITE_OK)
        throw SqliteError(code, database ? sqlite3_errmsg(database) : "out of memory");
}

void SqliteConnection::execute(const char* sql) {
    const int code = sqlite3_exec(handle(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        throw SqliteError(code, sqlite3_errmsg(handle()));
}

qint64 SqliteConnection::integer(const char* sql) {
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.integer(0) : 0;
}

SqliteStatement::SqliteStatement(const SqliteConnection& connection, const char* sql) : database_(connection.handle()) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(database_, sql, -1, &statement, nullptr));
    statement_.reset(statement);
}

void SqliteStatement::bindText(int position, const QByteArray& utf8) {
    check(sqlite3_bind_text64(statement_.get(), position, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
}

void SqliteStatement::bindBlob(int position, const QByteArray& bytes) {
    // The caller's array lives until the step; copying tens of megabytes would buy nothing.
    check(sqlite3_bind_blob64(statement_.get(), position, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()),
                              SQLITE_STATIC));
}

void SqliteStatement::bindInteger(int position, qint64 value) {
    check(sqlite3_bind_int64(statement_.get(), position, value));
}

void SqliteStatement::bindReal(int position, double value) {
    check(sqlite3_bind_double(statement_.get(), position, value));
}

bool SqliteStatement::step() {
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        check(code);
    return false;
}

QByteArray SqliteStatement::bytes(int column) const {
    const void* at = sqlite3_column_blob(statement_.get(), column);
    return {static_cast<const char*>(at), sqlite3_column_bytes(statement_.get(), column)};
}

void SqliteStatement::check(int code) const {
    if (code != SQLITE_OK)
        throw SqliteError(code, sqlite3_errmsg(database_));
}

} // namespace vennic
