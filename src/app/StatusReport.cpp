#include "app/StatusReport.h"

#include "app/LocalModelReport.h"
#include "base/Dates.h"

#include <QLocale>

namespace vennic {

namespace {

template <class T>
QJsonValue orNull(const std::optional<T>& value) {
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QString bridgeWord(const BridgeService::Status& status) {
    switch (status.state) {
    case BridgeService::Status::State::off:
        return QStringLiteral("off");
    case BridgeService::Status::State::idle:
        return QStringLiteral("idle");
    case BridgeService::Status::State::polling:
        return QStringLiteral("polling");
    case BridgeService::Status::State::busy:
        return QStringLiteral("busy");
    case BridgeService::Status::State::error:
        return QStringLiteral("error");
    }
    Q_UNREACHABLE();
}

QJsonObject indexData(const IndexStatus& index) {
    return {{QStringLiteral("files"), index.files},
            {QStringLiteral("pending"), index.pending},
            {QStringLiteral("bytes"), index.bytes},
            {QStringLiteral("ready"), index.ready},
            {QStringLiteral("watch_limited"), index.watchLimited},
            {QStringLiteral("problem"), index.problem}};
}

QString line(const QString& label, const QString& value) { return QStringLiteral("%1 : %2\n").arg(label, value); }

QString bridgeSentence(const QJsonObject& status) {
    const QString word = status[QLatin1String("bridge")].toString();
    QString sentence = word == QLatin1String("off") ? QStringLiteral("arrêté")
                       : word == QLatin1String("busy")
                           ? QStringLiteral("occupé (%1)").arg(status[QLatin1String("bridge_task")].toString())
                       : word == QLatin1String("error") ? QStringLiteral("en erreur, nouvel essai bientôt")
                                                        : QStringLiteral("en écoute");
    if (!status[QLatin1String("bridge_enabled")].toBool())
        sentence += QStringLiteral(", désactivé pour les tâches (« vennic bridge on » l'active)");
    return sentence;
}

QString indexSentence(const QJsonObject& index) {
    const QLocale french(QLocale::French);
    const QString files = french.toString(index[QLatin1String("files")].toInteger());
    QString sentence = QStringLiteral("%1 éléments, %2")
                           .arg(files, french.formattedDataSize(index[QLatin1String("bytes")].toInteger()));
    if (const qint64 pending = index[QLatin1String("pending")].toInteger())
        sentence += QStringLiteral(", %1 encore à lire").arg(french.toString(pending));
    else if (!index[QLatin1String("ready")].toBool())
        sentence += QStringLiteral(", en cours de lecture");
    if (const QString problem = index[QLatin1String("problem")].toString(); !problem.isEmpty())
        sentence += QStringLiteral(" ; ") + problem;
    return sentence;
}

} // namespace

QJsonArray sharesData(const std::vector<ResolvedShare>& shares) {
    QJsonArray data;
    for (const ResolvedShare& share : shares) {
        data.append(QJsonObject{{QStringLiteral("id"), uuidString(share.grant.id)},
                                {QStringLiteral("name"), share.grant.displayName},
                                {QStringLiteral("path"), share.folder ? share.folder->path : QString()},
                                {QStringLiteral("found"), share.folder.has_value()}});
    }
    return data;
}

QJsonObject statusData(Client& client, const std::vector<ResolvedShare>& shares, const QJsonObject& localModel) {
    const AppSession& session = client.session();
    const BridgeService& bridge = client.bridge();
    const std::optional<BridgeTaskKind> task = bridge.status().kind;
    const std::optional<QString> error = session.lastError() ? session.lastError() : bridge.lastErrorMessage();
    const auto& last = bridge.lastTaskAt();
    return {{QStringLiteral("authenticated"), session.isAuthenticated()},
            {QStringLiteral("email"), orNull(session.userEmail())},
            {QStringLiteral("user_id"), orNull(session.userId())},
            {QStringLiteral("bridge_enabled"), session.bridgeEnabled()},
            {QStringLiteral("bridge"), bridgeWord(bridge.status())},
            {QStringLiteral("bridge_task"), task ? QJsonValue(QString(rawValue(*task))) : QJsonValue()},
            {QStringLiteral("tasks_served"), bridge.tasksServed()},
            {QStringLiteral("last_error"), orNull(error)},
            {QStringLiteral("last_task_at"), last ? QJsonValue(iso8601(*last)) : QJsonValue()},
            {QStringLiteral("device_id"), client.keychain().bridgeDeviceId()},
            {QStringLiteral("nickname"), session.localLLMDeviceNickname()},
            {QStringLiteral("shares"), sharesData(shares)},
            {QStringLiteral("index"), indexData(client.index().status())},
            {QStringLiteral("credential_store"), client.credentials().kind()},
            {QStringLiteral("local_model"), localModel},
            {QStringLiteral("provider"), QString(rawValue(session.provider()))},
            {QStringLiteral("streaming"), session.isStreaming()},
            {QStringLiteral("messages"), static_cast<qint64>(session.messages().size())},
            {QStringLiteral("discussion_id"), orNull(session.discussionId())}};
}

QString statusText(const QJsonObject& status) {
    const QString email = status[QLatin1String("email")].toString();
    const bool signedIn = status[QLatin1String("authenticated")].toBool();
    QString text = line(QStringLiteral("Compte"), !signedIn         ? QStringLiteral("non connecté")
                                                  : email.isEmpty() ? QStringLiteral("connecté")
                                                                    : email);
    text += line(QStringLiteral("Pont"), bridgeSentence(status));
    text += line(QStringLiteral("Tâches servies"), QString::number(status[QLatin1String("tasks_served")].toInteger()));
    const qsizetype shares = status[QLatin1String("shares")].toArray().size();
    text += line(QStringLiteral("Dossiers partagés"), QString::number(shares));
    text += line(QStringLiteral("Index"), indexSentence(status[QLatin1String("index")].toObject()));
    text += line(QStringLiteral("Modèle local"), localModelSentence(status[QLatin1String("local_model")].toObject()));
    text += line(QStringLiteral("Trousseau"), status[QLatin1String("credential_store")] == QLatin1String("file")
                                                  ? QStringLiteral("fichier protégé (aucun trousseau de session)")
                                                  : QStringLiteral("trousseau de session"));
    if (const QString error = status[QLatin1String("last_error")].toString(); !error.isEmpty())
        text += line(QStringLiteral("Dernière erreur"), error);
    text.chop(1);
    return text;
}

} // namespace vennic
