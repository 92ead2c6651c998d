#include "linux/photos/PhotoCatalogue.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic::photos {

namespace {

constexpr std::int64_t application = 0x564e4e50; // "VNNP"
constexpr std::int64_t version = 1;
constexpr const char* schema = R"(
    CREATE TABLE folder(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, name BLOB NOT NULL,
                        UNIQUE(parent, name));
    CREATE TABLE photo(id INTEGER PRIMARY KEY AUTOINCREMENT, folder INTEGER NOT NULL, name BLOB NOT NULL,
                       identifier BLOB NOT NULL UNIQUE, volume INTEGER NOT NULL, inode INTEGER NOT NULL,
                       birth INTEGER NOT NULL, modified INTEGER NOT NULL, changed INTEGER NOT NULL,
                       size INTEGER NOT NULL, state INTEGER NOT NULL, taken INTEGER NOT NULL, facts BLOB NOT NULL,
                       UNIQUE(folder, name));
    CREATE INDEX photo_inode ON photo(inode);
    CREATE INDEX photo_waiting ON photo(state, modified);
    CREATE INDEX photo_taken ON photo(state, taken, modified);
    CREATE TABLE departed(identifier BLOB PRIMARY KEY, volume INTEGER NOT NULL, inode INTEGER NOT NULL,
                          birth INTEGER NOT NULL, modified INTEGER NOT NULL, size INTEGER NOT NULL,
                          since INTEGER NOT NULL);
    CREATE INDEX departed_inode ON departed(inode);
)";
constexpr const char* columns =
    "SELECT id, folder, name, identifier, volume, inode, birth, modified, changed, size, state, facts FROM photo ";
constexpr std::int64_t departedFor = 366L * 24 * 3600 * 1'000'000'000; // nanoseconds
constexpr std::int64_t mostDeparted = 100'000;

std::int64_t signedOf(std::uint64_t number) { return static_cast<std::int64_t>(number); }

// SQLite would make the file as the umask says; its log takes the file's permissions.
const std::string& madePrivate(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file >= 0) {
        fchmod(file, 0600);
        ::close(file);
    }
    return path;
}

void prepare(const index::Database& database) {
    const std::int64_t found = database.integer("PRAGMA user_version");
    const bool isEmpty = database.integer("SELECT count(*) FROM sqlite_schema") == 0;
    if (!isEmpty && (found != version || database.integer("PRAGMA application_id") != application))
        throw index::DatabaseError(SQLITE_NOTADB, 0, "not a photo catalogue of this version");
    database.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA secure_delete=ON; "
                     "PRAGMA journal_size_limit=4194304; PRAGMA cache_size=-512");
    if (isEmpty)
        database.execute("BEGIN IMMEDIATE; " + std::string(schema) + "; PRAGMA application_id=" +
                         std::to_string(application) + "; PRAGMA user_version=" + std::to_string(version) + "; COMMIT");
    else if (database.text("PRAGMA quick_check(1)") != "ok")
        throw index::DatabaseError(SQLITE_CORRUPT, 0, "the catalogue's content is damaged");
}

/// The database, ready for statements to be prepared.
index::Database opened(const std::string& path) {
    return index::Database(madePrivate(path), index::Database::Mode::write);
}

} // namespace

std::string_view asColumn(const PhotoFacts& facts) { return {reinterpret_cast<const char*>(&facts), sizeof facts}; }

PhotoFacts factsOfColumn(std::string_view column) {
    PhotoFacts facts;
    if (column.size() == sizeof facts)
        std::memcpy(&facts, column.data(), sizeof facts);
    return facts;
}

PhotoCatalogue::PhotoCatalogue(const std::string& path) : database_(opened(path)) {
    prepare(database_);
    const auto photos = [&](const char* condition) {
        return database_.prepare((std::string(columns) + condition).c_str());
    };
    children_ = database_.prepare("SELECT id, name FROM folder WHERE parent = ?");
    addFolder_ = database_.prepare("INSERT INTO folder(parent, name) VALUES(?, ?) RETURNING id");
    removeFolder_ = database_.prepare("DELETE FROM folder WHERE id = ?");
    parent_ = database_.prepare("SELECT parent, name FROM folder WHERE id = ?");
    photosIn_ = photos("WHERE folder = ?");
    photoAt_ = photos("WHERE folder = ? AND name = ?");
    photo_ = photos("WHERE id = ?");
    photosOf_ = photos("WHERE inode = ? AND volume = ?");
    waiting_ = photos("WHERE state = 0 ORDER BY modified DESC LIMIT 1");
    add_ = database_.prepare("INSERT INTO photo(folder, name, identifier, volume, inode, birth, modified, changed, "
                             "size, state, taken, facts) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    update_ = database_.prepare("UPDATE photo SET folder = ?, name = ?, volume = ?, inode = ?, birth = ?, "
                                "modified = ?, changed = ?, size = ?, state = ? WHERE id = ?");
    setFacts_ = database_.prepare("UPDATE photo SET state = ?, facts = ?, taken = ? WHERE id = ?");
    remove_ = database_.prepare("DELETE FROM photo WHERE id = ?");
    addDeparted_ = database_.prepare("INSERT OR REPLACE INTO departed(identifier, volume, inode, birth, modified, "
                                     "size, since) VALUES(?, ?, ?, ?, ?, ?, ?)");
    departed_ = database_.prepare("SELECT identifier, birth, modified, size FROM departed "
                                  "WHERE inode = ? AND volume = ?");
    removeDeparted_ = database_.prepare("DELETE FROM departed WHERE identifier = ?");
}

void PhotoCatalogue::begin() {
    if (!changing_)
        database_.execute("BEGIN IMMEDIATE");
    changing_ = true;
}

void PhotoCatalogue::commit() {
    if (changing_)
        database_.execute("COMMIT");
    changing_ = false;
}

bool PhotoCatalogue::truncateLog() { return database_.integer("PRAGMA wal_checkpoint(TRUNCATE)") == 0; }

std::vector<PhotoCatalogue::FolderRow> PhotoCatalogue::children(std::uint32_t parent) {
    std::vector<FolderRow> rows;
    children_.with(std::int64_t{parent});
    while (children_.step())
        rows.push_back({static_cast<std::uint32_t>(children_.integer(0)), std::string(children_.blob(1))});
    return rows;
}

std::uint32_t PhotoCatalogue::addFolder(std::uint32_t parent, const std::string& name) {
    begin();
    addFolder_.with(std::int64_t{parent}, std::string_view(name)).step();
    const auto id = static_cast<std::uint32_t>(addFolder_.integer(0));
    addFolder_.reset();
    return id;
}

void PhotoCatalogue::removeFolder(std::uint32_t folder) {
    begin();
    removeFolder_.with(std::int64_t{folder}).run();
}

std::vector<std::string> PhotoCatalogue::components(std::uint32_t folder) {
    constexpr std::size_t deepest = 4096; // a damaged table may hold a circle
    std::vector<std::string> components;
    while (folder != 0) {
        if (components.size() >= deepest || !parent_.with(std::int64_t{folder}).step())
            return {};
        components.emplace_back(parent_.blob(1));
        folder = static_cast<std::uint32_t>(parent_.integer(0));
        parent_.reset();
    }
    std::ranges::reverse(components);
    return components;
}

PhotoRow PhotoCatalogue::rowOf(const index::Statement& statement) const {
    PhotoRow row;
    row.id = statement.integer(0);
    row.folder = static_cast<std::uint32_t>(statement.integer(1));
    row.name = statement.blob(2);
    row.identifier = statement.blob(3);
    row.disk.identity.volume = static_cast<std::uint64_t>(statement.integer(4));
    row.disk.identity.inode = static_cast<std::uint64_t>(statement.integer(5));
    row.disk.identity.birth = statement.integer(6);
    row.disk.modified = statement.integer(7);
    row.disk.changed = statement.integer(8);
    row.disk.size = statement.integer(9);
    row.state = static_cast<PhotoState>(std::clamp<std::int64_t>(statement.integer(10), 0, 2));
    row.facts = factsOfColumn(statement.blob(11));
    return row;
}

std::vector<PhotoRow> PhotoCatalogue::rowsOf(index::Statement& statement) const {
    std::vector<PhotoRow> rows;
    while (statement.step())
        rows.push_back(rowOf(statement));
    return rows;
}

std::optional<PhotoRow> PhotoCatalogue::oneOf(index::Statement& statement) const {
    if (!statement.step())
        return std::nullopt;
    PhotoRow row = rowOf(statement);
    statement.reset();
    return row;
}

std::vector<PhotoRow> PhotoCatalogue::photosIn(std::uint32_t folder) {
    return rowsOf(photosIn_.with(std::int64_t{folder}));
}

std::optional<PhotoRow> PhotoCatalogue::photoAt(std::uint32_t folder, const std::string& name) {
    return oneOf(photoAt_.with(std::int64_t{folder}, std::string_view(name)));
}

std::optional<PhotoRow> PhotoCatalogue::photo(std::int64_t id) { return oneOf(photo_.with(id)); }

std::vector<PhotoRow> PhotoCatalogue::photosOf(const FileIdentity& identity) {
    return rowsOf(photosOf_.with(signedOf(identity.inode), signedOf(identity.volume)));
}

std::optional<PhotoRow> PhotoCatalogue::newestWaiting() { return oneOf(waiting_.with()); }

void PhotoCatalogue::add(const PhotoRow& row) {
    begin();
    add_.with(std::int64_t{row.folder}, std::string_view(row.name), std::string_view(row.identifier),
              signedOf(row.disk.identity.volume), signedOf(row.disk.identity.inode), row.disk.identity.birth,
              row.disk.modified, row.disk.changed, row.disk.size, static_cast<std::int64_t>(row.state), undated,
              asColumn(row.facts))
        .run();
}

void PhotoCatalogue::update(const PhotoRow& row) {
    begin();
    update_
        .with(std::int64_t{row.folder}, std::string_view(row.name), signedOf(row.disk.identity.volume),
              signedOf(row.disk.identity.inode), row.disk.identity.birth, row.disk.modified, row.disk.changed,
              row.disk.size, static_cast<std::int64_t>(row.state), row.id)
        .run();
}

void PhotoCatalogue::setFacts(std::int64_t id, PhotoState state, const PhotoFacts& facts, std::int64_t taken) {
    begin();
    setFacts_.with(static_cast<std::int64_t>(state), asColumn(facts), taken, id).run();
}

void PhotoCatalogue::depart(const PhotoRow& row, std::int64_t now) {
    begin();
    addDeparted_
        .with(std::string_view(row.identifier), signedOf(row.disk.identity.volume), signedOf(row.disk.identity.inode),
              row.disk.identity.birth, row.disk.modified, row.disk.size, now)
        .run();
    remove_.with(row.id).run();
}

std::optional<std::string> PhotoCatalogue::takeDeparted(const FileOnDisk& disk) {
    std::optional<std::string> identifier;
    departed_.with(signedOf(disk.identity.inode), signedOf(disk.identity.volume));
    while (!identifier && departed_.step()) {
        FileOnDisk known;
        known.identity = disk.identity;
        known.identity.birth = departed_.integer(1);
        known.modified = departed_.integer(2);
        known.size = departed_.integer(3);
        if (known.isSameFile(disk))
            identifier = departed_.blob(0);
    }
    departed_.reset();
    if (identifier) {
        begin();
        removeDeparted_.with(std::string_view(*identifier)).run();
    }
    return identifier;
}

void PhotoCatalogue::departAll(std::int64_t now) {
    begin();
    database_.execute("INSERT OR REPLACE INTO departed(identifier, volume, inode, birth, modified, size, since) "
                      "SELECT identifier, volume, inode, birth, modified, size, " +
                      std::to_string(now) + " FROM photo; DELETE FROM photo; DELETE FROM folder");
}

void PhotoCatalogue::forgetDeparted(std::int64_t now) {
    if (database_.integer("SELECT count(*) FROM departed") == 0)
        return;
    begin();
    database_.execute("DELETE FROM departed WHERE since < " + std::to_string(now - departedFor) +
                      "; DELETE FROM departed WHERE identifier IN (SELECT identifier FROM departed "
                      "ORDER BY since DESC LIMIT -1 OFFSET " +
                      std::to_string(mostDeparted) + ")");
}

void PhotoCatalogue::redate(const std::function<std::int64_t(const PhotoFacts&)>& takenOf) {
    std::vector<std::pair<std::int64_t, std::int64_t>> changed;
    index::Statement all = database_.prepare("SELECT id, taken, facts FROM photo WHERE state = 1");
    while (all.step()) {
        const std::int64_t taken = takenOf(factsOfColumn(all.blob(2)));
        if (taken != all.integer(1))
            changed.emplace_back(all.integer(0), taken);
    }
    if (changed.empty())
        return;
    begin();
    index::Statement set = database_.prepare("UPDATE photo SET taken = ? WHERE id = ?");
    for (const auto& [id, taken] : changed)
        set.with(taken, id).run();
}

std::int64_t PhotoCatalogue::count(PhotoState state) {
    index::Statement counted = database_.prepare("SELECT count(*) FROM photo WHERE state = ?");
    return counted.with(static_cast<std::int64_t>(state)).step() ? counted.integer(0) : 0;
}

} // namespace vennic::photos
