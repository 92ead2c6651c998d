#include "app/ClientCommands.h"

#include "Bridge/LocalLinks.h"
#include "app/LocalModelReport.h"
#include "app/PhotosReport.h"
#include "app/StatusReport.h"
#include "base/Dates.h"
#include "base/Identifier.h"
#include "core/Pairing.h"

#include <QDir>
#include <QLocale>

namespace vennic {

namespace {

constexpr qint64 searchLimit = 20;

CommandAnswer done(const QString& text = {}, const QJsonObject& data = {}) { return {ExitStatus::done, text, data}; }

CommandAnswer failed(const QString& reason) { return {ExitStatus::failed, {}, {}, reason}; }

/// The outcome of doing the same with each of several arguments: what was done stays done and is told, and so is what
/// wasn't.
class Outcomes {
public:
    void done(const QString& line) { done_.append(line); }
    void failed(const QString& reason) { failed_.append(reason); }
    CommandAnswer answer() const {
        return {failed_.isEmpty() ? ExitStatus::done : ExitStatus::failed, done_.join(u'\n'), {}, failed_.join(u'\n')};
    }

private:
    QStringList done_;
    QStringList failed_;
};

QJsonObject hitData(const SharedFolderSearch::Hit& hit) {
    const SearchResult& result = hit.result;
    QJsonObject data{{QStringLiteral("id"), hit.id},
                     {QStringLiteral("name"), result.name},
                     {QStringLiteral("mime"), result.mime},
                     {QStringLiteral("size"), result.size},
                     {QStringLiteral("parent"), result.parentDisplay},
                     {QStringLiteral("link"), QString(documentLink + hit.id)}};
    if (result.modifiedAt)
        data.insert(QStringLiteral("modified_at"), iso8601(*result.modifiedAt));
    return data;
}

QString hitText(const SharedFolderSearch::Hit& hit) {
    const SearchResult& result = hit.result;
    const QLocale french(QLocale::French);
    QString text =
        QStringLiteral("%1 — %2, %3").arg(result.name, result.parentDisplay, french.formattedDataSize(result.size));
    if (result.modifiedAt)
        text += QStringLiteral(", %1").arg(french.toString(result.modifiedAt->toLocalTime(), QLocale::ShortFormat));
    return text + QStringLiteral("\n  %1%2\n").arg(documentLink, hit.id);
}

} // namespace

ClientCommands::ClientCommands(Client& client, Shell& shell, std::function<void()> quit)
    : client_(client), shell_(shell), quit_(std::move(quit)) {}

Task<QByteArray> ClientCommands::answer(QByteArray request) {
    CommandAnswer answer;
    try {
        auto decoded = decodeCommandRequest(request);
        wipe(request);
        if (!decoded)
            answer = failed(QStringLiteral("Demande incompréhensible."));
        else
            answer = co_await run(std::move(*decoded));
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        answer = failed(localizedDescription(error));
    }
    co_return encodeCommandAnswer(answer);
}

Task<CommandAnswer> ClientCommands::run(CommandRequest request) {
    const QString& verb = request.verb;
    const QStringList& arguments = request.arguments;
    const QString first = arguments.value(0);
    if (verb == QLatin1String("activate"))
        co_return activate();
    if (verb == QLatin1String("status"))
        co_return co_await status();
    if (verb == QLatin1String("pair"))
        co_return co_await pair(first);
    if (verb == QLatin1String("token"))
        co_return token(request.secret);
    if (verb == QLatin1String("sign-out")) {
        client_.session().setToken(SecretText{});
        co_return done(QStringLiteral("Ce Mac est déconnecté."));
    }
    if (verb == QLatin1String("share"))
        co_return share(arguments);
    if (verb == QLatin1String("shares"))
        co_return co_await shares();
    if (verb == QLatin1String("unshare"))
        co_return co_await unshare(arguments);
    if (verb == QLatin1String("bridge"))
        co_return bridge(first == QLatin1String("on"));
    if (verb == QLatin1String("search"))
        co_return co_await search(arguments.join(QLatin1Char(' ')));
    if (verb == QLatin1String("ask"))
        co_return co_await ask(arguments.join(QLatin1Char(' ')), request.local);
    if (verb == QLatin1String("open"))
        co_return co_await open(first);
    if (verb == QLatin1String("toggle"))
        co_return toggle();
    if (verb == QLatin1String("photos"))
        co_return photos(first);
    if (verb == QLatin1String("model"))
        co_return co_await model(arguments);
    if (verb == QLatin1String("quit")) {
        quit_();
        co_return done();
    }
    co_return failed(QStringLiteral("Commande inconnue : %1").arg(verb));
}

Task<CommandAnswer> ClientCommands::status() {
    const auto shares = co_await client_.shares();
    const QJsonObject data = statusData(client_, shares, co_await localModelData(&client_));
    co_return done(statusText(data), data);
}

Task<CommandAnswer> ClientCommands::pair(QString code) {
    code = code.trimmed();
    if (code.isEmpty())
        co_return failed(QStringLiteral("Le code est vide."));
    const QString email = co_await pairSession(&client_.session(), &client_.http(), &client_.config(), code);
    QString text = QStringLiteral("Ce Mac est appairé avec %1.").arg(email);
    if (!client_.session().bridgeEnabled())
        text += QStringLiteral("\nActive le pont local avec « vennic bridge on ».");
    co_return done(text);
}

CommandAnswer ClientCommands::token(const QString& secret) {
    QByteArray bytes = secret.toUtf8();
    const SecretText token = SecretText(bytes).trimmed();
    wipe(bytes);
    if (token.isEmpty())
        return failed(QStringLiteral("Aucun jeton n'a été lu sur l'entrée standard."));
    AppSession& session = client_.session();
    if (!session.setToken(token))
        return failed(session.lastError().value_or(QString()));
    return done(QStringLiteral("Le jeton est enregistré."));
}

CommandAnswer ClientCommands::share(const QStringList& paths) {
    Outcomes outcomes;
    for (const QString& path : paths) {
        try {
            if (!QDir::isAbsolutePath(path))
                throw LocalizedError(QStringLiteral("Le chemin n'est pas absolu."));
            const BookmarkEntry entry = client_.bookmarks().add(FileURL{path});
            outcomes.done(QStringLiteral("%1 est partagé (%2).").arg(path, uuidString(entry.id)));
        } catch (const LocalizedError& error) {
            outcomes.failed(QStringLiteral("%1 : %2").arg(path, error.errorDescription()));
        }
    }
    return outcomes.answer();
}

Task<CommandAnswer> ClientCommands::shares() {
    const auto shares = co_await client_.shares();
    QStringList lines;
    for (const ResolvedShare& share : shares) {
        const QString place =
            share.folder ? share.folder->path : QStringLiteral("%1 (introuvable)").arg(share.grant.displayName);
        lines.append(QStringLiteral("%1  %2").arg(uuidString(share.grant.id), place));
    }
    if (shares.empty())
        lines.append(QStringLiteral("Aucun dossier partagé."));
    co_return done(lines.join(u'\n'), {{QStringLiteral("shares"), sharesData(shares)}});
}

Task<CommandAnswer> ClientCommands::unshare(QStringList names) {
    const auto shares = co_await client_.shares();
    names.removeDuplicates();
    Outcomes outcomes;
    for (const QString& name : names) {
        bool found = false;
        for (const ResolvedShare& share : shares) {
            if (share.grant.id == QUuid::fromString(name) ||
                (share.folder && share.folder->path == QDir::cleanPath(name))) {
                client_.bookmarks().remove(share.grant.id);
                found = true;
            }
        }
        if (found)
            outcomes.done(QStringLiteral("%1 n'est plus partagé.").arg(name));
        else
            outcomes.failed(QStringLiteral("Aucun dossier partagé ne répond à %1.").arg(name));
    }
    co_return outcomes.answer();
}

CommandAnswer ClientCommands::bridge(bool on) {
    client_.session().setBridgeEnabled(on);
    return done(on ? QStringLiteral("Le pont local est activé.") : QStringLiteral("Le pont local est désactivé."));
}

Task<CommandAnswer> ClientCommands::search(QString words) {
    SharedFolderSearch documents = client_.documentSearch();
    const auto found = co_await documents.search(words, std::nullopt, searchLimit);
    if (!found)
        co_return failed(QStringLiteral("Aucun dossier partagé n'est configuré sur le Mac."));
    QJsonArray items;
    QString text;
    for (const SharedFolderSearch::Hit& hit : found->hits) {
        items.append(hitData(hit));
        text += hitText(hit);
    }
    text.chop(1);
    if (found->hits.empty())
        text = QStringLiteral("Rien trouvé.");
    co_return done(text, {{QStringLiteral("items"), items}});
}

Task<CommandAnswer> ClientCommands::ask(QString text, bool local) {
    if (text.trimmed().isEmpty())
        co_return failed(QStringLiteral("La question est vide."));
    const auto end = co_await client_.chat().ask(text, local ? std::optional(Provider::local) : std::nullopt);
    if (!end)
        co_return failed(QStringLiteral("Une réponse est déjà en cours ; attends qu'elle soit finie."));
    if (end->failed)
        co_return failed(end->text);
    if (end->text.isEmpty())
        co_return failed(QStringLiteral("La réponse est vide."));
    QJsonObject data{{QStringLiteral("text"), end->text}};
    if (const auto discussion = client_.session().discussionId())
        data.insert(QStringLiteral("discussion_id"), *discussion);
    co_return done(end->text, data);
}

Task<CommandAnswer> ClientCommands::open(QString address) {
    if (shell_.delegate().handleDesktopDeepLink(QUrl(address, QUrl::StrictMode)))
        co_return done();
    const auto failure = co_await shell_.links().open(std::move(address));
    co_return failure ? failed(*failure) : done();
}

CommandAnswer ClientCommands::activate() {
    CommandAnswer answer = done(QStringLiteral("Vennic tourne déjà."));
    try {
        shell_.comeForward();
    } catch (const LocalizedError& error) {
        answer.reason = error.errorDescription();
    }
    return answer;
}

CommandAnswer ClientCommands::toggle() {
    shell_.menuBar().summon();
    return done();
}

CommandAnswer ClientCommands::photos(const QString& word) {
    if (word != QLatin1String("status"))
        client_.photoConsent().decide(word == QLatin1String("allow"));
    const QJsonObject data = photosData(client_);
    return done(photosText(data), data);
}

Task<CommandAnswer> ClientCommands::model(QStringList words) {
    setUpLocalModel(client_.session(), words);
    const QJsonObject data = co_await localModelData(&client_);
    co_return done(QStringLiteral("Modèle local : ") + localModelSentence(data), data);
}

} // namespace vennic
