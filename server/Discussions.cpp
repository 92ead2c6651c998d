#include "server/Discussions.h"

#include "server/Database.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qsizetype longestName = 80;
constexpr qint64 keptDiscussions = 1000;

QString nameOf(const QString& text) {
    QString name = text.simplified();
    if (name.size() > longestName)
        name = name.left(longestName - 1) + QStringLiteral("…");
    return name;
}
} // namespace

qint64 Discussions::begin(qint64 account, const QString& text, qint64 now) {
    Transaction transaction(database_);
    database_.run("INSERT INTO discussions(account_id, name, updated_at) VALUES(?, ?, ?)", account, nameOf(text), now);
    Query last = database_.query("SELECT last_insert_rowid()");
    last.next();
    const qint64 id = last.integer(0);
    database_.run("DELETE FROM discussions WHERE account_id = ?1 AND id NOT IN "
                  "(SELECT id FROM discussions WHERE account_id = ?1 ORDER BY updated_at DESC, id DESC LIMIT ?2)",
                  account, keptDiscussions);
    transaction.commit();
    return id;
}

bool Discussions::has(qint64 account, qint64 discussion) {
    return database_.query("SELECT 1 FROM discussions WHERE id = ? AND account_id = ?", discussion, account).next();
}

void Discussions::append(Turn& turn) {
    Transaction transaction(database_);
    database_.run("INSERT INTO turns(discussion_id, created_at, text, reply, provider, model, channel, findings) "
                  "VALUES(?, ?, ?, ?, ?, ?, ?, ?)",
                  turn.discussion, turn.createdAt, turn.text, turn.reply, turn.provider, turn.model, turn.channel,
                  turn.findings);
    Query last = database_.query("SELECT last_insert_rowid()");
    last.next();
    turn.id = last.integer(0);
    database_.run("UPDATE discussions SET updated_at = ? WHERE id = ?", turn.createdAt, turn.discussion);
    transaction.commit();
}

QList<DiscussionSummary> Discussions::newest(qint64 account, qint64 limit) {
    QList<DiscussionSummary> summaries;
    Query rows = database_.query("SELECT id, name, updated_at, "
                                 "(SELECT count(*) FROM turns WHERE discussion_id = discussions.id) "
                                 "FROM discussions WHERE account_id = ? ORDER BY updated_at DESC, id DESC LIMIT ?",
                                 account, limit);
    while (rows.next())
        summaries.append({rows.integer(0), rows.text(1), rows.integer(2), rows.integer(3)});
    return summaries;
}

std::optional<DiscussionSummary> Discussions::find(qint64 account, qint64 discussion) {
    Query row = database_.query("SELECT id, name, updated_at, "
                                "(SELECT count(*) FROM turns WHERE discussion_id = discussions.id) "
                                "FROM discussions WHERE account_id = ? AND id = ?",
                                account, discussion);
    if (!row.next())
        return std::nullopt;
    return DiscussionSummary{row.integer(0), row.text(1), row.integer(2), row.integer(3)};
}

QList<Turn> Discussions::turns(qint64 discussion, qint64 limit) {
    QList<Turn> turns;
    Query rows = database_.query("SELECT id, created_at, text, reply, provider, model, channel, findings FROM turns "
                                 "WHERE discussion_id = ? ORDER BY id DESC LIMIT ?",
                                 discussion, limit);
    while (rows.next())
        turns.append({rows.integer(0), discussion, rows.integer(1), rows.text(2), rows.text(3), rows.text(4),
                      rows.text(5), rows.text(6), rows.isNull(7) ? QByteArray() : rows.bytes(7)});
    std::reverse(turns.begin(), turns.end());
    return turns;
}

} // namespace vennic::server
