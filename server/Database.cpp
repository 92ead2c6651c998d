#include "server/Database.h"

#include <QFile>

#include <sqlite3.h>

namespace vennic::server {

Query::Query(Database& database, std::string sql, sqlite3_stmt* statement)
    : database_(&database), sql_(std::move(sql)), statement_(statement) {}

Query::Query(Query&& other) noexcept
    : database_(other.database_), sql_(std::move(other.sql_)), statement_(std::exchange(other.statement_, nullptr)) {}

Query::~Query() {
    if (!statement_)
        return;
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
    database_->idle_.emplace(std::move(sql_), statement_);
}

void Query::check(int code) const {
    if (code != SQLITE_OK)
        database_->fail();
}

bool Query::next() {
    const int code = sqlite3_step(statement_);
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        database_->fail();
    return false;
}

void Query::bind(int at, qint64 value) const { check(sqlite3_bind_int64(statement_, at, value)); }
void Query::bind(int at, double value) const { check(sqlite3_bind_double(statement_, at, value)); }

void Query::bind(int at, const QString& value) const {
    const QByteArray utf8 = value.toUtf8();
    check(sqlite3_bind_text64(statement_, at, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Query::bind(int at, const QByteArray& value) const {
    if (!value.isNull())
        check(sqlite3_bind_blob64(statement_, at, value.constData(), static_cast<sqlite3_uint64>(value.size()),
                                  SQLITE_TRANSIENT));
}

bool Query::isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
qint64 Query::integer(int column) const { return sqlite3_column_int64(statement_, column); }
double Query::real(int column) const { return sqlite3_column_double(statement_, column); }

QString Query::text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(statement_, column));
}

QByteArray Query::bytes(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return {data, sqlite3_column_bytes(statement_, column)};
}

std::optional<qint64> Query::maybeInteger(int column) const {
    return isNull(column) ? std::nullopt : std::optional(integer(column));
}

std::optional<QString> Query::maybeText(int column) const {
    return isNull(column) ? std::nullopt : std::optional(text(column));
}

Database::Database(const QString& path) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int code = sqlite3_open_v2(QFile::encodeName(path).constData(), &handle_, flags, nullptr);
    try {
        if (code != SQLITE_OK)
            fail();
        sqlite3_busy_timeout(handle_, 2000);
        // NORMAL with write-ahead logging: an ended process loses nothing, and what must outlive a power cut asks for
        // FULL itself.
        script("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON; PRAGMA cache_size=-1024;"
               "PRAGMA journal_size_limit=16777216;");
    } catch (...) {
        sqlite3_close_v2(handle_);
        throw;
    }
}

Database::~Database() {
    for (const auto& [sql, statement] : idle_)
        sqlite3_finalize(statement);
    sqlite3_close_v2(handle_);
}

Query Database::take(const char* sql) {
    if (const auto found = idle_.find(sql); found != idle_.end()) {
        auto node = idle_.extract(found);
        return {*this, std::move(node.key()), node.mapped()};
    }
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(handle_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
        fail();
    return {*this, sql, statement};
}

void Database::script(const char* sql) {
    if (sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

int Database::changes() const { return sqlite3_changes(handle_); }

void Database::rollBack() noexcept { sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr); }

void Database::fail() const {
    throw DatabaseError(QStringLiteral("La base de données a refusé l'opération : ") +
                        QString::fromUtf8(handle_ ? sqlite3_errmsg(handle_) : "out of memory"));
}

Transaction::Transaction(Database& database) : database_(database) { database_.script("BEGIN IMMEDIATE"); }

Transaction::~Transaction() {
    if (open_)
        database_.rollBack();
}

void Transaction::commit() {
    database_.script("COMMIT");
    open_ = false;
}

} // namespace vennic::server
