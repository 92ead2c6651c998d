#include "server/Schema.h"

#include "server/Database.h"

namespace vennic::server {

namespace {
constexpr int currentFormat = 4;

// Moments are milliseconds since 1970. Tokens and codes stand here as SHA-256 only. `args` and `result` are JSON text.
constexpr auto tables = R"(
CREATE TABLE accounts(
    id INTEGER PRIMARY KEY, email TEXT NOT NULL, default_voice_mode TEXT, default_provider TEXT,
    transcribe_audio INTEGER, audio_output INTEGER, default_audio_voice TEXT);
CREATE TABLE tokens(
    id INTEGER PRIMARY KEY AUTOINCREMENT, account_id INTEGER NOT NULL REFERENCES accounts(id), hash BLOB NOT NULL UNIQUE,
    client_kind TEXT NOT NULL, created_at INTEGER NOT NULL);
CREATE TABLE pairings(
    hash BLOB PRIMARY KEY, account_id INTEGER NOT NULL REFERENCES accounts(id), expires_at INTEGER NOT NULL,
    claimed_at INTEGER) WITHOUT ROWID;
CREATE TABLE machines(
    account_id INTEGER NOT NULL REFERENCES accounts(id), device_id TEXT NOT NULL, nickname TEXT NOT NULL,
    heartbeat BLOB, last_seen_at INTEGER NOT NULL, token_id INTEGER NOT NULL, PRIMARY KEY(account_id, device_id))
    WITHOUT ROWID;
CREATE TABLE tasks(
    number INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE, account_id INTEGER NOT NULL REFERENCES accounts(id),
    device_id TEXT NOT NULL, kind TEXT NOT NULL, args BLOB, state TEXT NOT NULL, deliveries INTEGER NOT NULL DEFAULT 0,
    result BLOB, error_message TEXT, created_at INTEGER NOT NULL, delivered_at INTEGER, last_sign_at INTEGER,
    answered_at INTEGER, handled_ms REAL, stream_bytes INTEGER NOT NULL DEFAULT 0, stream_count INTEGER NOT NULL DEFAULT 0);
CREATE INDEX unfinished_tasks ON tasks(account_id, device_id, number) WHERE state IN ('queued', 'delivered', 'streaming');
CREATE TABLE deltas(
    task INTEGER NOT NULL REFERENCES tasks(number) ON DELETE CASCADE, position INTEGER NOT NULL, delta TEXT NOT NULL,
    PRIMARY KEY(task, position)) WITHOUT ROWID;
)";

// Format 2: every token that a machine came with, not only its last.
constexpr auto machineTokens = R"(
CREATE TABLE machine_tokens(
    account_id INTEGER NOT NULL, device_id TEXT NOT NULL, token_id INTEGER NOT NULL,
    PRIMARY KEY(account_id, device_id, token_id)) WITHOUT ROWID;
INSERT INTO machine_tokens SELECT account_id, device_id, token_id FROM machines;
PRAGMA user_version = 2;
)";

// Format 3: what was said. `findings` is JSON text.
constexpr auto conversations = R"(
CREATE TABLE discussions(
    id INTEGER PRIMARY KEY AUTOINCREMENT, account_id INTEGER NOT NULL REFERENCES accounts(id), name TEXT NOT NULL,
    updated_at INTEGER NOT NULL);
CREATE INDEX latest_discussions ON discussions(account_id, updated_at);
CREATE TABLE turns(
    id INTEGER PRIMARY KEY AUTOINCREMENT, discussion_id INTEGER NOT NULL REFERENCES discussions(id) ON DELETE CASCADE,
    created_at INTEGER NOT NULL, text TEXT NOT NULL, reply TEXT NOT NULL, provider TEXT NOT NULL, model TEXT NOT NULL,
    channel TEXT NOT NULL, findings BLOB);
CREATE INDEX turns_of_discussion ON turns(discussion_id, id);
PRAGMA user_version = 3;
)";

// Format 4: the owner's choice of who answers. The key stands here as it is, since it goes to the owner's server.
constexpr auto answerers = R"(
CREATE TABLE answering(
    only INTEGER PRIMARY KEY CHECK(only = 1), who TEXT NOT NULL, url TEXT NOT NULL, model TEXT NOT NULL, key BLOB);
PRAGMA user_version = 4;
)";
} // namespace

void prepareSchema(Database& database) {
    Transaction transaction(database);
    qint64 format = 0;
    {
        Query query = database.query("PRAGMA user_version");
        query.next();
        format = query.integer(0);
    }
    if (format > currentFormat)
        throw DatabaseError(QStringLiteral("La base de données vient d'une version plus récente de vennic-server."));
    if (format < 1)
        database.script(tables);
    if (format < 2)
        database.script(machineTokens);
    if (format < 3)
        database.script(conversations);
    if (format < 4)
        database.script(answerers);
    transaction.commit();
}

} // namespace vennic::server
