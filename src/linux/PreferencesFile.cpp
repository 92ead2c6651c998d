#include "linux/PreferencesFile.h"

#include "linux/SetAside.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic {

namespace {

constexpr qint64 applicationId = 0x564e4e43; // "VNNC"
constexpr qint64 schemaVersion = 1;
constexpr qint64 pageSize = 4096;
constexpr const char* schema = "CREATE TABLE IF NOT EXISTS preferences("
                               "key TEXT PRIMARY KEY, kind TEXT NOT NULL, value)";

/// The file is sound and isn't for us to read.
struct ForeignFile {
    QString reason;
};

std::optional<StoredValue> readValue(const SqliteStatement& row) {
    const QByteArray kind = row.bytes(1);
    const int type = row.type(2);
    if (kind == "bool" && type == SQLITE_INTEGER)
        return StoredValue(row.integer(2) != 0);
    if (kind == "integer" && type == SQLITE_INTEGER)
        return StoredValue(row.integer(2));
    if (kind == "real" && type == SQLITE_FLOAT)
        return StoredValue(row.real(2));
    if (kind == "real" && type == SQLITE_NULL) // what SQLite makes of not-a-number
        return StoredValue(std::nan(""));
    if (kind == "text" && type == SQLITE_TEXT)
        return StoredValue(QString::fromUtf8(row.bytes(2)));
    if (kind == "data" && type == SQLITE_BLOB)
        return StoredValue(row.bytes(2));
    return std::nullopt;
}

struct Binder {
    SqliteStatement& statement;
    const QByteArray& utf8;
    void operator()(bool value) const {
        bind("bool", [&] { statement.bindInteger(3, value ? 1 : 0); });
    }
    void operator()(qint64 value) const {
        bind("integer", [&] { statement.bindInteger(3, value); });
    }
    void operator()(double value) const {
        bind("real", [&] { statement.bindReal(3, value); });
    }
    void operator()(const QString&) const {
        bind("text", [&] { statement.bindText(3, utf8); });
    }
    void operator()(const QByteArray& value) const {
        bind("data", [&] { statement.bindBlob(3, value); });
    }
    template <class F>
    void bind(const char* kind, F bindValue) const {
        statement.bindText(2, kind);
        bindValue();
    }
};

} // namespace

SqliteConnection& PreferencesFile::open() {
    if (connection_)
        return *connection_;
    const QString folder = QFileInfo(path_).absolutePath();
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        chmod(QFile::encodeName(folder).constData(), 0700);
    }
    // SQLite would create the file as the umask says; its log takes the file's permissions.
    const int fd = ::open(QFile::encodeName(path_).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 && (errno == EACCES || errno == EISDIR))
        throw ForeignFile{QStringLiteral("corrupt")};
    if (fd >= 0) {
        fchmod(fd, 0600);
        ::close(fd);
    }
    // SQLite takes a last page that is cut short for one that ends in zeros. The log, where there is one, has it whole.
    if (QFileInfo(path_).size() % pageSize != 0 && QFileInfo(path_ + QStringLiteral("-wal")).size() == 0)
        throw SqliteError(SQLITE_CORRUPT, "the file is cut short");
    SqliteConnection connection(path_);
    sqlite3_busy_timeout(connection.handle(), 2000);
    const qint64 version = connection.integer("PRAGMA user_version");
    if (version > schemaVersion)
        throw ForeignFile{QStringLiteral("newer")};
    const qint64 owner = connection.integer("PRAGMA application_id");
    if (owner != applicationId && (owner != 0 || connection.integer("SELECT count(*) FROM sqlite_schema") != 0))
        throw ForeignFile{QStringLiteral("corrupt")};
    connection.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA journal_size_limit=8388608; PRAGMA "
                       "cache_size=-256");
    if (version != schemaVersion || owner != applicationId) {
        connection.execute(("BEGIN IMMEDIATE; " + QByteArray(schema) +
                            "; PRAGMA application_id=" + QByteArray::number(applicationId) +
                            "; PRAGMA user_version=" + QByteArray::number(schemaVersion) + "; COMMIT")
                               .constData());
    }
    return connection_.emplace(std::move(connection));
}

PreferencesFile::Values PreferencesFile::load() {
    Values values;
    try {
        try {
            readAll(open(), values);
        } catch (const ForeignFile& foreign) {
            setAside(foreign.reason);
            open();
        } catch (const SqliteError& error) {
            if (!error.meansDamage() && error.code() != SQLITE_ERROR) // an unknown table or column is damage too
                throw;
            setAside(QStringLiteral("corrupt"));
            open();
            Changes saved;
            for (auto at = values.constBegin(); at != values.constEnd(); ++at)
                saved.emplace_back(at.key(), at.value());
            commit(saved);
        }
    } catch (const SqliteError&) {
        close();
        throw;
    }
    return values;
}

void PreferencesFile::readAll(SqliteConnection& connection, Values& values) {
    SqliteStatement rows(connection, "SELECT key, kind, value FROM preferences");
    bool sound = true;
    while (rows.step()) {
        const auto value = readValue(rows);
        if (value)
            values.insert(QString::fromUtf8(rows.bytes(0)), *value);
        sound = sound && value;
    }
    SqliteStatement check(connection, "PRAGMA quick_check(1)");
    if (!sound || !check.step() || check.bytes(0) != "ok")
        throw SqliteError(SQLITE_CORRUPT, "the file's content is damaged");
}

void PreferencesFile::commit(const Changes& changes) {
    if (changes.empty())
        return;
    try {
        SqliteConnection& connection = open();
        connection.execute("BEGIN IMMEDIATE");
        SqliteStatement put(connection, "INSERT OR REPLACE INTO preferences(key, kind, value) VALUES(?1, ?2, ?3)");
        SqliteStatement drop(connection, "DELETE FROM preferences WHERE key = ?1");
        for (const auto& [key, value] : changes) {
            const QByteArray name = key.toUtf8();
            auto& statement = value ? put : drop;
            statement.bindText(1, name);
            const auto* text = value ? std::get_if<QString>(&*value) : nullptr;
            const QByteArray utf8 = text ? text->toUtf8() : QByteArray();
            if (value)
                std::visit(Binder{put, utf8}, *value);
            statement.step();
            statement.reset();
        }
        connection.execute("COMMIT");
    } catch (const ForeignFile&) {
        close();
        throw SqliteError(SQLITE_NOTADB, "another file has taken the place");
    } catch (const SqliteError&) {
        close(); // also ends the transaction
        throw;
    }
}

void PreferencesFile::setAside(const QString& reason) {
    close();
    const auto name = vennic::setAside(path_, reason);
    if (!name)
        throw SqliteError(SQLITE_CANTOPEN, "the damaged file could not be renamed");
    asideName_ = *name;
}

} // namespace vennic
