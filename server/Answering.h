#pragma once
#include "server/Discussions.h"
#include "server/TaskRecord.h"

#include <functional>
#include <memory>

namespace vennic::server {

/// A text to answer, and what was said before it.
struct Question {
    qint64 account = 0;
    QString text;
    QString provider;
    QString model;       // may be empty
    QList<Turn> earlier; // oldest first
};

/// What becomes of a question.
struct Reply {
    QString text;
    QByteArray findings; // see Turn
};

/// Who hears the reply. Nothing is said after `done`.
struct Listener {
    std::function<void(const QString& delta)> said; // a piece of text
    std::function<void(const Reply& whole)> done;   // with the whole text
};

/// Something that answers questions. An answer goes on until `done`, or until the last copy of the handle goes; it
/// never ends inside the call that began it.
class Answering {
public:
    virtual ~Answering() = default;
    [[nodiscard]] virtual std::shared_ptr<void> answer(const Question& question, Listener listener) = 0;
};

} // namespace vennic::server
