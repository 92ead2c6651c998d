#include "server/SimpleAnswering.h"

#include "server/MarkdownText.h"
#include "server/SimpleRequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QUrl>

namespace vennic::server {

using namespace std::chrono_literals;

namespace {
using Kind = SimpleRequest::Kind;

constexpr int mostHits = 5;
constexpr int mostReadCharacters = 2000;
const QLatin1String documentLink("vennic://local_file/open/");

QJsonArray objects(const QJsonObject& result, QLatin1String key) { return result.value(key).toArray(); }

QString word(const QJsonValue& object, QLatin1String key) { return object[key].toString(); }

Reply searchReply(const QString& words, const QJsonObject& result) {
    const QJsonArray items = objects(result, QLatin1String("items"));
    if (items.isEmpty())
        return {QStringLiteral("Je n'ai rien trouvé pour « %1 ».").arg(literalMarkdown(words)), "[]"};
    QString text = items.size() == 1
                       ? QStringLiteral("J'ai trouvé un document pour « %1 » :").arg(literalMarkdown(words))
                       : QStringLiteral("J'ai trouvé %1 documents pour « %2 » :")
                             .arg(QString::number(items.size()), literalMarkdown(words));
    QJsonArray findings;
    for (const QJsonValue item : items) {
        const QString id = word(item, QLatin1String("id"));
        findings.append(QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("name"), item[QLatin1String("name")]}});
        text += QStringLiteral("\n%1. [%2](%3%4) — %5")
                    .arg(QString::number(findings.size()), literalMarkdown(word(item, QLatin1String("name"))),
                         documentLink, id, literalMarkdown(word(item, QLatin1String("parent"))));
    }
    text += QStringLiteral("\n\nDis « lis le premier » et je te le lis.");
    return {text, QJsonDocument(findings).toJson(QJsonDocument::Compact)};
}

QString readReply(const QString& name, const QJsonObject& result) {
    const QString content = word(result, QLatin1String("content")).trimmed();
    if (content.isEmpty())
        return QStringLiteral("**%1** ne contient pas de texte.").arg(literalMarkdown(name));
    QStringList lines;
    for (const QString& line : content.split(u'\n'))
        lines.append(literalMarkdown(line));
    QString text = QStringLiteral("**%1**\n\n%2").arg(literalMarkdown(name), lines.join(u'\n'));
    if (result.value(QLatin1String("truncated")).toBool())
        text += QStringLiteral("\n\n… La suite est dans le document.");
    return text;
}

QString foldersReply(const QJsonObject& result) {
    const QJsonArray folders = objects(result, QLatin1String("folders"));
    if (folders.isEmpty())
        return QStringLiteral("Aucun dossier n'est partagé sur ce Mac.");
    QString text = QStringLiteral("Ce Mac partage :");
    for (const QJsonValue folder : folders)
        text += QStringLiteral("\n- **%1** — %2")
                    .arg(literalMarkdown(word(folder, QLatin1String("name"))),
                         literalMarkdown(word(folder, QLatin1String("path_display"))));
    return text;
}

QString shortcutsReply(const QJsonObject& result) {
    const QJsonArray names = objects(result, QLatin1String("shortcuts"));
    if (names.isEmpty())
        return QStringLiteral("Aucune automatisation n'est installée sur ce Mac.");
    QString text = QStringLiteral("Les automatisations de ce Mac :");
    for (const QJsonValue name : names)
        text += QStringLiteral("\n- ") + literalMarkdown(name.toString());
    return text;
}

QString photosReply(const QJsonObject& result) {
    const QJsonArray items = objects(result, QLatin1String("items"));
    if (items.isEmpty())
        return QStringLiteral("Je n'ai trouvé aucune photo.");
    QString text = QStringLiteral("Tes dernières photos :");
    for (const QJsonValue item : items) {
        const QByteArray id = QUrl::toPercentEncoding(word(item, QLatin1String("id")));
        text += QStringLiteral("\n- [%1](vennic://local_photo/view/%2)")
                    .arg(literalMarkdown(word(item, QLatin1String("name"))), QString::fromLatin1(id));
        const QDateTime taken = QDateTime::fromString(word(item, QLatin1String("taken_at")), Qt::ISODate);
        if (taken.isValid())
            text += QStringLiteral(" — ") + QLocale(QLocale::French).toString(taken.date(), QLocale::LongFormat);
    }
    return text;
}

QString helpReply() {
    return QStringLiteral("Je comprends quelques demandes simples :\n- « cherche facture edf »\n- « lis le premier »\n"
                          "- « ouvre le deuxième »\n- « liste mes dossiers »\n- « mes raccourcis »\n"
                          "- « photos récentes »");
}

/// The document that stands at a position of what was last found.
std::optional<QJsonObject> foundBefore(const QList<Turn>& earlier, int position) {
    for (auto turn = earlier.rbegin(); turn != earlier.rend(); ++turn) {
        if (turn->findings.isNull())
            continue;
        const QJsonArray findings = QJsonDocument::fromJson(turn->findings).array();
        if (position < 1 || position > findings.size())
            return std::nullopt;
        return findings.at(position - 1).toObject();
    }
    return std::nullopt;
}

/// An answer that is being made.
struct Making {
    Listener listener;
    std::shared_ptr<void> task;
    TimeKeeper::Timer soon;

    void end(const Reply& reply) {
        task.reset();
        listener.said(reply.text);
        listener.done(reply);
    }
};

using Told = std::function<Reply(const QJsonObject& result)>;
} // namespace

std::shared_ptr<void> SimpleAnswering::answer(const Question& question, Listener listener) {
    auto making = std::make_shared<Making>();
    making->listener = std::move(listener);
    Making* const state = making.get(); // it owns every wait that uses it
    const auto say = [&](const QString& text) {
        making->soon = time_.after(0ms, [state, text] { state->end({text, {}}); });
        return making;
    };
    const auto ask = [&](const QString& kind, const QJsonObject& args, Told tell) {
        making->task = tasks_.ask(question.account, kind, args, [state, tell = std::move(tell)](TaskOutcome outcome) {
            state->end(outcome.result
                           ? tell(*outcome.result)
                           : Reply{QStringLiteral("Le Mac n'a pas pu : %1").arg(literalMarkdown(outcome.error)), {}});
        });
        return making;
    };

    const SimpleRequest request = understand(question.text);
    switch (request.kind) {
    case Kind::search:
        return ask(QStringLiteral("search"),
                   {{QStringLiteral("query"), request.words}, {QStringLiteral("limit"), mostHits}},
                   [words = request.words](const QJsonObject& result) { return searchReply(words, result); });
    case Kind::read:
    case Kind::open: {
        const auto document = foundBefore(question.earlier, request.position);
        if (!document)
            return say(QStringLiteral("Je ne sais pas de quel document tu parles : commence par une recherche, par "
                                      "exemple « cherche facture edf »."));
        const QJsonValue id = document->value(QLatin1String("id"));
        const QString name = word(*document, QLatin1String("name"));
        if (request.kind == Kind::open)
            return ask(QStringLiteral("open_document"), {{QStringLiteral("document_id"), id}},
                       [name](const QJsonObject& result) {
                           const bool ok = result.value(QLatin1String("ok")).toBool();
                           return Reply{(ok ? QStringLiteral("**%1** est ouvert sur le Mac.")
                                            : QStringLiteral("**%1** n'a pas pu être ouvert sur le Mac."))
                                            .arg(literalMarkdown(name)),
                                        {}};
                       });
        return ask(QStringLiteral("read"),
                   {{QStringLiteral("document_id"), id}, {QStringLiteral("max_chars"), mostReadCharacters}},
                   [name](const QJsonObject& result) { return Reply{readReply(name, result), {}}; });
    }
    case Kind::listFolders:
        return ask(QStringLiteral("list_folders"), {},
                   [](const QJsonObject& result) { return Reply{foldersReply(result), {}}; });
    case Kind::listShortcuts:
        return ask(QStringLiteral("shortcut_list"), {},
                   [](const QJsonObject& result) { return Reply{shortcutsReply(result), {}}; });
    case Kind::recentPhotos:
        return ask(QStringLiteral("photos_recent"), {},
                   [](const QJsonObject& result) { return Reply{photosReply(result), {}}; });
    case Kind::help:
        break;
    }
    return say(helpReply());
}

} // namespace vennic::server
