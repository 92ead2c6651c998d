#include "app/ClientCommands.h"

#include "Bridge/BookmarkResolver.h"
#include "Bridge/ScopedAccess.h"
#include "app/StatusReport.h"
#include "backend/APIService.h"
#include "base/Dates.h"
#include "base/Identifier.h"
#include "base/Pool.h"

#include <QDir>
#include <QLocale>

namespace vennic {

namespace {

constexpr qint64 searchLimit = 20;
constexpr double searchTimeout = 5.0;
const QLatin1String documentLink("vennic://local_file/open/");

CommandAnswer done(const QString& text = {}, const QJsonObject& data = {}) { return {ExitStatus::done, text, data}; }

CommandAnswer failed(const QString& reason) { return {ExitStatus::failed, reason, {}}; }

QJsonObject hitData(const SearchResult& hit, const QString& id) {
    QJsonObject data{{QStringLiteral("id"), id},
                     {QStringLiteral("name"), hit.name},
                     {QStringLiteral("mime"), hit.mime},
                     {QStringLiteral("size"), hit.size},
                     {QStringLiteral("parent"), hit.parentDisplay},
                     {QStringLiteral("link"), QString(documentLink + id)}};
    if (hit.modifiedAt)
        data.insert(QStringLiteral("modified_at"), iso8601(*hit.modifiedAt));
    return data;
}

QString hitText(const SearchResult& hit, const QString& id) {
    const QLocale french(QLocale::French);
    QString text = QStringLiteral("%1 — %2, %3").arg(hit.name, hit.parentDisplay, french.formattedDataSize(hit.size));
    if (hit.modifiedAt)
        text += QStringLiteral(", %1").arg(french.toString(hit.modifiedAt->toLocalTime(), QLocale::ShortFormat));
    return text + QStringLiteral("\n  %1%2\n").arg(documentLink, id);
}

} // namespace

ClientCommands::ClientCommands(Client& client, std::function<void()> quit) : client_(client), quit_(std::move(quit)) {}

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
        co_return done(QStringLiteral("Vennic tourne déjà."));
    if (verb == QLatin1String("status")) {
        const QJsonObject status = statusData(client_);
        co_return done(statusText(status), status);
    }
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
        co_return shares();
    if (verb == QLatin1String("unshare"))
        co_return unshare(arguments);
    if (verb == QLatin1String("bridge"))
        co_return bridge(first == QLatin1String("on"));
    if (verb == QLatin1String("search"))
        co_return co_await search(arguments.join(QLatin1Char(' ')));
    if (verb == QLatin1String("open"))
        co_return co_await open(first);
    if (verb == QLatin1String("quit")) {
        quit_();
        co_return done();
    }
    co_return failed(QStringLiteral("Commande inconnue : %1").arg(verb));
}

Task<CommandAnswer> ClientCommands::pair(QString code) {
    code = code.trimmed();
    if (code.isEmpty())
        co_return failed(QStringLiteral("Le code est vide."));
    const PairingClaimResponse claimed = co_await APIService::claimPairing(client_.http(), client_.config(), code);
    AppSession& session = client_.session();
    if (!session.setToken(claimed.user_token))
        co_return failed(session.lastError().value_or(QStringLiteral(
            "Impossible d'enregistrer le jeton dans le Trousseau. Essaie de désactiver « Mode haute sécurité ».")));
    session.setUserEmail(claimed.email);
    QString text = QStringLiteral("Ce Mac est appairé avec %1.").arg(claimed.email);
    if (!session.bridgeEnabled())
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
    QString text;
    for (const QString& path : paths) {
        if (!QDir::isAbsolutePath(path))
            return failed(QStringLiteral("Le chemin %1 n'est pas absolu.").arg(path));
        const BookmarkEntry entry = client_.bookmarks().add(FileURL{path});
        text += QStringLiteral("%1 est partagé (%2).\n").arg(path, entry.id.toString(QUuid::WithoutBraces).toUpper());
    }
    text.chop(1);
    return done(text);
}

CommandAnswer ClientCommands::shares() {
    const QJsonArray shares = sharesData(client_);
    QString text;
    for (const auto& share : shares) {
        const QString path = share[QLatin1String("path")].toString();
        text +=
            QStringLiteral("%1  %2\n")
                .arg(share[QLatin1String("id")].toString(),
                     path.isEmpty() ? QStringLiteral("%1 (introuvable)").arg(share[QLatin1String("name")].toString())
                                    : path);
    }
    text.chop(1);
    if (shares.isEmpty())
        text = QStringLiteral("Aucun dossier partagé.");
    return done(text, {{QStringLiteral("shares"), shares}});
}

CommandAnswer ClientCommands::unshare(const QStringList& names) {
    QString text;
    for (const QString& name : names) {
        std::vector<QUuid> ids;
        const BookmarkResolver resolver(client_.folders());
        for (const BookmarkEntry& entry : client_.bookmarks().entries()) {
            const auto resolved = resolver.resolveIfPossible(entry);
            if (entry.id == QUuid::fromString(name) || (resolved && resolved->url.path == QDir::cleanPath(name)))
                ids.push_back(entry.id);
        }
        if (ids.empty())
            return failed(QStringLiteral("Aucun dossier partagé ne répond à %1.").arg(name));
        for (const QUuid& id : ids)
            client_.bookmarks().remove(id);
        text += QStringLiteral("%1 n'est plus partagé.\n").arg(name);
    }
    text.chop(1);
    return done(text);
}

CommandAnswer ClientCommands::bridge(bool on) {
    client_.session().setBridgeEnabled(on);
    return done(on ? QStringLiteral("Le pont local est activé.") : QStringLiteral("Le pont local est désactivé."));
}

Task<CommandAnswer> ClientCommands::search(QString words) {
    std::vector<FileURL> folders;
    std::vector<ScopedAccess> open;
    const BookmarkResolver resolver(client_.folders());
    for (const BookmarkEntry& entry : client_.bookmarks().entries()) {
        if (const auto resolved = resolver.resolveIfPossible(entry)) {
            folders.push_back(resolved->url);
            open.emplace_back(client_.sharedFolders(), resolved->url);
        }
    }
    if (client_.bookmarks().entries().empty())
        co_return failed(QStringLiteral("Aucun dossier partagé n'est configuré sur le Mac."));
    const auto hits = co_await client_.spotlight().search(words, folders, searchLimit, searchTimeout);
    QJsonArray items;
    QString text;
    for (const SearchResult& hit : hits) {
        const QString id = newIdentifier();
        client_.bridge().idCache().put(id, hit.url);
        items.append(hitData(hit, id));
        text += hitText(hit, id);
    }
    text.chop(1);
    if (hits.empty())
        text = QStringLiteral("Rien trouvé.");
    co_return done(text, {{QStringLiteral("items"), items}});
}

Task<CommandAnswer> ClientCommands::open(QString address) {
    if (!address.startsWith(documentLink))
        co_return failed(QStringLiteral("Cette adresse n'est pas celle d'un document : %1").arg(address));
    const auto url = client_.bridge().idCache().get(address.mid(documentLink.size()));
    if (!url)
        co_return failed(QStringLiteral("Document introuvable ; relance la recherche."));
    co_await onPool(&Workspace::open, client_.workspace(), url->path);
    co_return done();
}

} // namespace vennic
