#include "Bridge/LocalPhotoTools.h"

#include "Bridge/LocalLinks.h"

#include <QUrl>

namespace vennic {

namespace {

constexpr qint64 usualLimit = 10;

qint64 limitOf(const LocalToolArguments& arguments) {
    return arguments.integer(QLatin1String("limit")).value_or(usualLimit);
}

/// As a path component of a URL (RFC 3986, without the semicolon); text that has no UTF-8 form stays as it is.
QString pathComponent(const QString& identifier) {
    return identifier.isValidUtf16() ? QString::fromLatin1(QUrl::toPercentEncoding(identifier, "!$&'()*+,:=@"))
                                     : identifier;
}

QString photoLine(qsizetype number, const BridgePhotosResult::Item& photo) {
    QString line = QString::number(number) + QStringLiteral(". [") + photo.name + QStringLiteral("](") + photoLink +
                   pathComponent(photo.id) + QStringLiteral(") — ") +
                   photo.taken_at.value_or(QStringLiteral("unknown"));
    if (photo.location)
        line += QStringLiteral(" @ ") + QString::number(photo.location->lat, 'f', 4) + u',' +
                QString::number(photo.location->lng, 'f', 4);
    return line;
}

} // namespace

Task<QString> LocalPhotoTools::listRecentPhotos(LocalToolArguments arguments) const {
    co_return co_await fetchPhotos(limitOf(arguments), std::nullopt);
}

Task<QString> LocalPhotoTools::listPhotosFromDate(LocalToolArguments arguments) const {
    const auto year = arguments.integer(QLatin1String("year"));
    if (!year)
        co_return QStringLiteral("Missing year.");
    const auto interval = photos_.interval(*year, arguments.integer(QLatin1String("month")));
    if (!interval)
        co_return QStringLiteral("Invalid date components.");
    co_return co_await fetchPhotos(limitOf(arguments), interval);
}

Task<QString> LocalPhotoTools::fetchPhotos(qint64 limit, std::optional<PhotoInterval> datePredicate) const {
    if (!co_await photos_.ensureAuthorized())
        co_return PhotosBridgeHandler::accessRefused();
    const PhotosBridgeHandler::Items photos = co_await photos_.fetch(limit, std::move(datePredicate));
    if (photos.empty())
        co_return QStringLiteral("No photos matched.");
    QStringList lines;
    for (const BridgePhotosResult::Item& photo : photos)
        lines.append(photoLine(lines.size() + 1, photo));
    co_return lines.join(u'\n');
}

} // namespace vennic
