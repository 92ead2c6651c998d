#pragma once
#include <QString>

#include <utility>

namespace vennic::server {

/// Cuts text that comes in pieces so that each can travel as an event of its own: a reader drops the line ends with
/// which an event begins, so none begins with one, and no character is cut in two. The last character waits for what
/// follows it.
class EventPieces {
public:
    /// What can go now; may be empty.
    QString take(const QString& delta);
    /// What is left at the end.
    QString rest() { return std::exchange(held_, {}); }

private:
    QString held_;
};

} // namespace vennic::server
