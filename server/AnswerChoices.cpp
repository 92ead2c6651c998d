#include "server/AnswerChoices.h"

#include "server/Database.h"

#include <algorithm>
#include <array>

namespace vennic::server {

namespace {
struct Named {
    Answerer who = Answerer::Simple;
    QLatin1String name;
};
constexpr std::array names{
    Named{Answerer::Simple, QLatin1String("simple")},
    Named{Answerer::Server, QLatin1String("server")},
    Named{Answerer::Machine, QLatin1String("machine")},
};
} // namespace

QString nameOf(Answerer who) {
    return std::find_if(names.begin(), names.end(), [who](const Named& each) { return each.who == who; })->name;
}

std::optional<Answerer> answererNamed(const QString& name) {
    const auto* found =
        std::find_if(names.begin(), names.end(), [&name](const Named& each) { return each.name == name; });
    return found == names.end() ? std::nullopt : std::optional(found->who);
}

AnswerChoice AnswerChoices::kept() {
    Query row = database_.query("SELECT who, url, model, key FROM answering");
    if (!row.next())
        return {};
    AnswerChoice choice{answererNamed(row.text(0)).value_or(Answerer::Simple), row.text(1), row.text(2), {}};
    QByteArray key = row.bytes(3);
    choice.key = SecretText(key);
    wipe(key);
    return choice;
}

void AnswerChoices::keep(const AnswerChoice& choice) {
    const QByteArrayView revealed = choice.key.reveal();
    QByteArray key(revealed.data(), revealed.size());
    database_.run("INSERT OR REPLACE INTO answering(only, who, url, model, key) VALUES(1, ?, ?, ?, ?)",
                  nameOf(choice.who), choice.url, choice.model, key);
    wipe(key);
}

} // namespace vennic::server
