#pragma once
#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace vennic::server {

class Database;

/// One question and what was answered.
struct Turn {
    qint64 id = 0;
    qint64 discussion = 0;
    qint64 createdAt = 0; // milliseconds since 1970
    QString text;
    QString reply;
    QString provider;    // who was asked
    QString model;       // may be empty
    QString channel;     // "desktop", ...
    QByteArray findings; // documents that the reply speaks of: a JSON array, or null
};

/// A discussion as a list shows it.
struct DiscussionSummary {
    qint64 id = 0;
    QString name;
    qint64 updatedAt = 0;
    qint64 turns = 0;
};

/// The discussions of the accounts on disk. Raises DatabaseError.
class Discussions {
public:
    explicit Discussions(Database& database) : database_(database) {}

    /// Begins a discussion that is named after its first text.
    qint64 begin(qint64 account, const QString& text, qint64 now);
    /// Whether the discussion is the account's.
    bool has(qint64 account, qint64 discussion);
    /// Files a turn and gives it its number. The oldest discussions past a thousand of an account are forgotten.
    void append(Turn& turn);
    std::optional<DiscussionSummary> find(qint64 account, qint64 discussion);
    QList<DiscussionSummary> newest(qint64 account, qint64 limit);
    /// The last `limit` turns, oldest first.
    QList<Turn> turns(qint64 discussion, qint64 limit);

private:
    Database& database_;
};

} // namespace vennic::server
