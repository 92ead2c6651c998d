#include "linux/index/Catalogue.h"

#include "linux/index/SegmentFormat.h"

#include <algorithm>
#include <limits>

namespace vennic::index {

namespace {

constexpr int version = 2;
constexpr int deepestFolder = 1000; // a chain of parents that is longer has a circle in it

const char* const schema = R"(
CREATE TABLE dir(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, name BLOB NOT NULL);
CREATE UNIQUE INDEX dir_child ON dir(parent, name);
CREATE TABLE file(id INTEGER PRIMARY KEY, dir INTEGER NOT NULL, name BLOB NOT NULL, modified INTEGER NOT NULL,
  changed INTEGER NOT NULL, size INTEGER NOT NULL, kind INTEGER NOT NULL, state INTEGER NOT NULL,
  failures INTEGER NOT NULL, retry INTEGER NOT NULL);
CREATE INDEX file_dir ON file(dir);
CREATE INDEX file_waiting ON file(modified) WHERE state = 1;
CREATE TABLE pend(id INTEGER PRIMARY KEY, words BLOB NOT NULL);
CREATE TABLE xtext(id INTEGER PRIMARY KEY, text BLOB NOT NULL);
CREATE TABLE seg(name BLOB PRIMARY KEY, bytes INTEGER NOT NULL, purge INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE next(file INTEGER NOT NULL, seg INTEGER NOT NULL, scrub INTEGER NOT NULL);
INSERT INTO next VALUES(1, 1, 0);
)";

} // namespace

Catalogue::Catalogue(const std::string& path) : database_(path, Database::Mode::write) {
    // secure_delete: what was deleted is overwritten, so a withdrawn folder leaves nothing behind.
    database_.execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA secure_delete=ON;"
                      "PRAGMA journal_size_limit=4194304; PRAGMA cache_size=-4096; PRAGMA temp_store=FILE;");
    const std::int64_t found = database_.integer("PRAGMA user_version");
    if (found == 0 && database_.integer("SELECT count(*) FROM sqlite_master") == 0)
        database_.execute("BEGIN;" + std::string(schema) + "PRAGMA user_version=" + std::to_string(version) +
                          ";COMMIT;");
    else if (found != version)
        throw DamagedIndex("catalogue of another version");
    begin_ = database_.prepare("BEGIN IMMEDIATE");
    commit_ = database_.prepare("COMMIT");
    rollback_ = database_.prepare("ROLLBACK");
    keepNext_ = database_.prepare("UPDATE next SET file=?, seg=?");
    folder_ = database_.prepare("SELECT parent, name FROM dir WHERE id=?");
    child_ = database_.prepare("SELECT id FROM dir WHERE parent=? AND name=?");
    children_ = database_.prepare("SELECT id, name FROM dir WHERE parent=?");
    tree_ = database_.prepare("WITH RECURSIVE t(id) AS (VALUES(?) UNION SELECT dir.id FROM dir JOIN t ON "
                              "dir.parent=t.id) SELECT id FROM t");
    addFolder_ = database_.prepare("INSERT INTO dir(parent, name) VALUES(?,?) RETURNING id");
    moveFolder_ = database_.prepare("UPDATE dir SET parent=?, name=? WHERE id=?");
    removeFolder_ = database_.prepare("DELETE FROM dir WHERE id=?");
    removeFiles_ = database_.prepare("DELETE FROM file WHERE dir=? RETURNING id");
    removePending_ = database_.prepare("DELETE FROM pend WHERE id IN (SELECT id FROM file WHERE dir=?)");
    removeTexts_ = database_.prepare("DELETE FROM xtext WHERE id IN (SELECT id FROM file WHERE dir=?)");
    entries_ = database_.prepare("SELECT * FROM file WHERE dir=?");
    entry_ = database_.prepare("SELECT * FROM file WHERE dir=? AND name=?");
    exists_ = database_.prepare("SELECT 1 FROM file WHERE id=?");
    add_ = database_.prepare("INSERT INTO file VALUES(?,?,?,?,?,?,?,?,?,?)");
    remove_ = database_.prepare("DELETE FROM file WHERE id=?");
    removeOnePending_ = database_.prepare("DELETE FROM pend WHERE id=?");
    removeOneText_ = database_.prepare("DELETE FROM xtext WHERE id=?");
    setText_ = database_.prepare("UPDATE file SET state=? WHERE id=?");
    waiting_ = database_.prepare("SELECT * FROM file WHERE state=1 AND (retry<=? OR retry>?) ORDER BY modified "
                                 "DESC LIMIT ?");
    identifiers_ = database_.prepare("SELECT id FROM file WHERE id BETWEEN ? AND ? ORDER BY id");
    addPending_ = database_.prepare("INSERT INTO pend VALUES(?,?)");
    pending_ = database_.prepare("SELECT pend.id, dir, modified, words FROM pend JOIN file ON file.id=pend.id");
    keepText_ = database_.prepare("INSERT INTO xtext VALUES(?,?)");
    nextId_ = static_cast<std::uint32_t>(database_.integer("SELECT file FROM next"));
    nextSegment_ = database_.integer("SELECT seg FROM next");
}

void Catalogue::begin(bool lasting) {
    if (lasting != std::exchange(lasting_, lasting)) // can't be changed within a transaction
        database_.execute(lasting ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    begin_.run();
    writing_ = true;
}

void Catalogue::commit() {
    keepNext_.with(nextId_, nextSegment_).run();
    commit_.run();
    writing_ = false;
}

void Catalogue::rollback() {
    writing_ = false;
    rollback_.run();
}

std::optional<FolderRow> Catalogue::folder(std::uint32_t id) {
    if (!folder_.with(id).step())
        return std::nullopt;
    FolderRow row{id, static_cast<std::uint32_t>(folder_.integer(0)), std::string(folder_.blob(1))};
    folder_.reset();
    return row;
}

std::optional<std::uint32_t> Catalogue::child(std::uint32_t parent, std::string_view name) {
    if (!child_.with(parent, name).step())
        return std::nullopt;
    const auto id = static_cast<std::uint32_t>(child_.integer(0));
    child_.reset();
    return id;
}

std::vector<FolderRow> Catalogue::children(std::uint32_t parent) {
    std::vector<FolderRow> rows;
    for (children_.with(parent); children_.step();)
        rows.push_back({static_cast<std::uint32_t>(children_.integer(0)), parent, std::string(children_.blob(1))});
    return rows;
}

std::vector<std::uint32_t> Catalogue::tree(std::uint32_t id) {
    std::vector<std::uint32_t> ids;
    for (tree_.with(id); tree_.step();)
        ids.push_back(static_cast<std::uint32_t>(tree_.integer(0)));
    return ids;
}

std::uint32_t Catalogue::addFolder(std::uint32_t parent, std::string_view name) {
    ++folderChanges_;
    addFolder_.with(parent, name).step();
    const auto id = static_cast<std::uint32_t>(addFolder_.integer(0));
    addFolder_.run();
    return id;
}

void Catalogue::moveFolder(std::uint32_t id, std::uint32_t parent, std::string_view name) {
    ++folderChanges_;
    moveFolder_.with(parent, name, id).run();
}

std::int64_t Catalogue::removeFolder(std::uint32_t id) {
    ++folderChanges_;
    removePending_.with(id).run();
    removeTexts_.with(id).run();
    std::int64_t removed = 0;
    for (removeFiles_.with(id); removeFiles_.step();)
        ++removed;
    removeFolder_.with(id).run();
    return removed;
}

std::vector<std::string> Catalogue::components(std::uint32_t folder) {
    std::vector<std::string> result;
    for (int depth = 0; depth < deepestFolder; ++depth) {
        auto row = this->folder(folder);
        if (!row)
            return {};
        result.push_back(std::move(row->name));
        if (row->parent == 0) {
            std::ranges::reverse(result);
            return result;
        }
        folder = row->parent;
    }
    return {};
}

Entry Catalogue::readEntry(const Statement& row) const {
    Entry entry;
    entry.id = static_cast<std::uint32_t>(row.integer(0));
    entry.folder = static_cast<std::uint32_t>(row.integer(1));
    entry.name = row.blob(2);
    entry.modified = row.integer(3);
    entry.changed = row.integer(4);
    entry.size = row.integer(5);
    entry.kind = static_cast<EntryKind>(row.integer(6));
    entry.text = static_cast<TextState>(row.integer(7));
    entry.failures = static_cast<int>(row.integer(8));
    entry.retryAt = row.integer(9);
    return entry;
}

std::vector<Entry> Catalogue::entries(std::uint32_t folder) {
    std::vector<Entry> rows;
    for (entries_.with(folder); entries_.step();)
        rows.push_back(readEntry(entries_));
    return rows;
}

std::optional<Entry> Catalogue::entry(std::uint32_t folder, std::string_view name) {
    if (!entry_.with(folder, name).step())
        return std::nullopt;
    Entry entry = readEntry(entry_);
    entry_.reset();
    return entry;
}

bool Catalogue::exists(std::uint32_t id) {
    const bool found = exists_.with(id).step();
    exists_.reset();
    return found;
}

void Catalogue::add(Entry& entry) {
    if (nextId_ == std::numeric_limits<std::uint32_t>::max())
        throw DamagedIndex("out of identifiers"); // after four thousand million changes: begin anew
    entry.id = nextId_++;
    add_.with(entry.id, entry.folder, entry.name, entry.modified, entry.changed, entry.size,
              static_cast<std::int64_t>(entry.kind), static_cast<std::int64_t>(entry.text),
              static_cast<std::int64_t>(entry.failures), entry.retryAt)
        .run();
}

void Catalogue::remove(std::uint32_t id) {
    remove_.with(id).run();
    removeOnePending_.with(id).run();
    removeOneText_.with(id).run();
}

void Catalogue::setText(std::uint32_t id, TextState state) {
    setText_.with(static_cast<std::int64_t>(state), id).run();
}

std::vector<Entry> Catalogue::waiting(int limit, std::int64_t now) {
    std::vector<Entry> rows;
    for (waiting_.with(now, now + longestRetry, limit); waiting_.step();)
        rows.push_back(readEntry(waiting_));
    return rows;
}

std::int64_t Catalogue::nextRetry() { return database_.integer("SELECT min(retry) FROM file WHERE state=1"); }

std::int64_t Catalogue::count() { return database_.integer("SELECT count(*) FROM file"); }

std::int64_t Catalogue::countWaiting() { return database_.integer("SELECT count(*) FROM file WHERE state=1"); }

void Catalogue::identifiers(std::uint32_t from, std::uint32_t to, const std::function<void(std::uint32_t)>& found) {
    for (identifiers_.with(from, to); identifiers_.step();)
        found(static_cast<std::uint32_t>(identifiers_.integer(0)));
}

void Catalogue::pending(const std::function<void(const DocumentFacts&, std::string_view)>& found) {
    while (pending_.step()) {
        const DocumentFacts facts{static_cast<std::uint32_t>(pending_.integer(0)),
                                  static_cast<std::uint32_t>(pending_.integer(1)), pending_.integer(2) / 1'000'000};
        found(facts, pending_.blob(3));
    }
}

void Catalogue::clearPending() { database_.execute("DELETE FROM pend"); }

void Catalogue::addPending(std::uint32_t id, std::string_view words) { addPending_.with(id, words).run(); }

void Catalogue::keepText(std::uint32_t id, std::string_view compressed) { keepText_.with(id, compressed).run(); }

std::vector<Catalogue::SegmentRow> Catalogue::segments() {
    std::vector<SegmentRow> rows;
    Statement statement = database_.prepare("SELECT name, bytes, purge FROM seg ORDER BY bytes");
    while (statement.step())
        rows.push_back({std::string(statement.blob(0)), statement.integer(1), statement.integer(2) != 0});
    return rows;
}

void Catalogue::addSegment(const std::string& name, std::int64_t bytes) {
    database_.prepare("INSERT INTO seg VALUES(?,?,0)").with(name, bytes).run();
}

void Catalogue::removeSegment(const std::string& name) {
    database_.prepare("DELETE FROM seg WHERE name=?").with(name).run();
}

void Catalogue::markForPurge(const std::string& name) {
    database_.prepare("UPDATE seg SET purge=1 WHERE name=?").with(name).run();
}

void Catalogue::askForScrub() { database_.execute("UPDATE next SET scrub=1"); }

bool Catalogue::scrubDue() const { return database_.integer("SELECT scrub FROM next") != 0; }

void Catalogue::scrub() {
    // secure_delete leaves copies of cells that moved within and between pages; only a fresh file is free of them.
    database_.execute("VACUUM; UPDATE next SET scrub=0");
}

bool Catalogue::truncateLog() { return database_.integer("PRAGMA wal_checkpoint(TRUNCATE)") == 0; }

bool Catalogue::sound() { return database_.text("PRAGMA quick_check(1)") == "ok"; }

} // namespace vennic::index
