#pragma once
#include "server/AnswerChoice.h"

#include <optional>

namespace vennic::server {

class Database;

/// The owner's choice of who answers, on disk. Raises DatabaseError.
class AnswerChoices {
public:
    explicit AnswerChoices(Database& database) : database_(database) {}
    /// What was kept last; before that, and for what this server can't read, the plain rules.
    AnswerChoice kept();
    void keep(const AnswerChoice& choice);

private:
    Database& database_;
};

/// The name of an answerer in JSON and on disk: "simple", "server" or "machine".
QString nameOf(Answerer who);
/// The answerer of that name, if there is one.
std::optional<Answerer> answererNamed(const QString& name);

} // namespace vennic::server
