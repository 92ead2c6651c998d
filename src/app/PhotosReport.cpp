#include "app/PhotosReport.h"

#include <QDir>
#include <QLocale>

namespace vennic {

namespace {

QString accessWord(PhotoAuthorization status) {
    switch (status) {
    case PhotoAuthorization::notDetermined:
        return QStringLiteral("undetermined");
    case PhotoAuthorization::restricted:
    case PhotoAuthorization::denied:
        return QStringLiteral("denied");
    case PhotoAuthorization::authorized:
    case PhotoAuthorization::limited:
        return QStringLiteral("allowed");
    }
    Q_UNREACHABLE();
}

QString line(const QString& label, const QString& value) { return QStringLiteral("%1 : %2\n").arg(label, value); }

QString folderSentence(const QJsonObject& photos) {
    const QString folder = photos[QLatin1String("folder")].toString();
    if (folder.isEmpty())
        return photos[QLatin1String("ready")].toBool() ? QStringLiteral("aucun dossier d'images sur ce Mac")
                                                       : QStringLiteral("en cours d'ouverture");
    const QString home = QDir::homePath();
    const QString shown = folder.startsWith(home + u'/') ? u'~' + folder.mid(home.size()) : folder;
    return photos[QLatin1String("missing")].toBool() ? QStringLiteral("%1 (introuvable)").arg(shown) : shown;
}

QString countSentence(const QJsonObject& photos) {
    const QLocale french(QLocale::French);
    QString sentence = french.toString(photos[QLatin1String("photos")].toInteger());
    if (const qint64 waiting = photos[QLatin1String("waiting")].toInteger())
        sentence += QStringLiteral(", %1 fichiers encore à lire").arg(french.toString(waiting));
    else if (!photos[QLatin1String("ready")].toBool())
        sentence += QStringLiteral(", en cours de lecture");
    return sentence;
}

} // namespace

QJsonObject photosData(Client& client) {
    const PhotoLibraryStatus library = client.photos().status();
    return {{QStringLiteral("access"), accessWord(client.photoConsent().status())},
            {QStringLiteral("can_ask"), client.photoConsent().canAsk()},
            {QStringLiteral("folder"), library.folder},
            {QStringLiteral("missing"), library.missing},
            {QStringLiteral("photos"), library.photos},
            {QStringLiteral("waiting"), library.waiting},
            {QStringLiteral("ready"), library.ready},
            {QStringLiteral("watch_limited"), library.watchLimited},
            {QStringLiteral("problem"), library.problem}};
}

QString photosAccessSentence(const QJsonObject& photos) {
    const QString access = photos[QLatin1String("access")].toString();
    if (access == QLatin1String("allowed"))
        return QStringLiteral("autorisé");
    if (access == QLatin1String("denied"))
        return QStringLiteral("refusé");
    if (photos[QLatin1String("can_ask")].toBool())
        return QStringLiteral("pas encore décidé ; la première demande du serveur posera la question");
    return QStringLiteral(
        "pas encore décidé ; sans écran la question ne peut pas être posée, et l'accès est refusé tant "
        "que « vennic photos allow » ne l'autorise pas");
}

QString photosText(const QJsonObject& photos) {
    QString text = line(QStringLiteral("Accès aux photos"), photosAccessSentence(photos));
    if (photos[QLatin1String("access")] == QLatin1String("allowed")) {
        text += line(QStringLiteral("Dossier"), folderSentence(photos));
        text += line(QStringLiteral("Photos"), countSentence(photos));
        if (const QString problem = photos[QLatin1String("problem")].toString(); !problem.isEmpty())
            text += line(QStringLiteral("Problème"), problem);
    }
    text.chop(1);
    return text;
}

} // namespace vennic
