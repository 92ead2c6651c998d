#include "Bridge/PhotosBridgeHandler.h"

#include "base/Dates.h"
#include "base/Localized.h"
#include "base/Pool.h"

#include <QTimeZone>

#include <algorithm>

namespace vennic {

namespace {

constexpr qint64 usualLimit = 10;
constexpr qint64 leastLimit = 1;
constexpr qint64 mostLimit = 30;

/// The first moment of a month of the Gregorian calendar. Months outside 1 to 12 are carried over into other years.
/// None where the calendar has no such day: there is no year 0, and it ends somewhere.
std::optional<QDateTime> startOfMonth(qint64 year, qint64 month, const QTimeZone& zone) {
    constexpr qint64 mostYears = 1'000'000; // either way; nobody's photos are older, and no sum below overflows
    if (year < -mostYears || year > mostYears || month < -mostYears || month > mostYears)
        return std::nullopt;
    const qint64 months = year * 12 + month - 1;
    const qint64 carried = months >= 0 ? months / 12 : (months - 11) / 12;
    const QDate day(static_cast<int>(carried), static_cast<int>(months - carried * 12 + 1), 1);
    const QDateTime start = day.isValid() ? day.startOfDay(zone) : QDateTime();
    return start.isValid() ? std::optional(start) : std::nullopt;
}

} // namespace

Task<> PhotosBridgeHandler::handleRecent(BridgeTask task, PhotosRecentArgs args, APIService api) const {
    if (!co_await ensureAuthorized()) {
        co_await TaskAnswer::error(std::move(api), task.id, accessRefused());
        co_return;
    }
    co_await answer(std::move(task), args.limit, std::nullopt, std::move(api));
}

Task<> PhotosBridgeHandler::handleByDate(BridgeTask task, PhotosByDateArgs args, APIService api) const {
    const auto created = interval(args.year, args.month);
    if (!created) {
        co_await TaskAnswer::error(std::move(api), task.id, QStringLiteral("invalid_date_components"));
        co_return;
    }
    if (!co_await ensureAuthorized()) {
        co_await TaskAnswer::error(std::move(api), task.id, accessRefused());
        co_return;
    }
    co_await answer(std::move(task), args.limit, created, std::move(api));
}

Task<bool> PhotosBridgeHandler::ensureAuthorized() const {
    PhotoAuthorization status = library_->authorizationStatus();
    if (status == PhotoAuthorization::notDetermined)
        status = co_await library_->requestAuthorization();
    co_return status == PhotoAuthorization::authorized || status == PhotoAuthorization::limited;
}

Task<> PhotosBridgeHandler::answer(BridgeTask task, std::optional<qint64> limit, std::optional<PhotoInterval> created,
                                   APIService api) const {
    BridgePhotosResult result;
    result.items = co_await fetch(limit, std::move(created));
    co_await answer_.success(std::move(api), task.id, std::move(result));
}

std::optional<PhotoInterval> PhotosBridgeHandler::interval(qint64 year, std::optional<qint64> month) const {
    // Beyond these nothing is a date, and adding 1 would overflow.
    if (year == std::numeric_limits<qint64>::max() || month == std::numeric_limits<qint64>::max())
        return std::nullopt;
    const QTimeZone zone = clock_.zone();
    const auto from = startOfMonth(year, month.value_or(1), zone);
    // A whole year's span runs to December of the next one: who asks counts on it.
    const auto until = month ? startOfMonth(year, *month + 1, zone) : startOfMonth(year + 1, 12, zone);
    if (!from || !until)
        return std::nullopt;
    return PhotoInterval{*from, *until};
}

QString PhotosBridgeHandler::accessRefused() {
    return localized("Accès Photos refusé. Allez dans Réglages Système → Confidentialité → Photos pour autoriser "
                     "Vennic.");
}

Task<PhotosBridgeHandler::Items> PhotosBridgeHandler::fetch(std::optional<qint64> limit,
                                                            std::optional<PhotoInterval> datePredicate) const {
    return onPool(itemsOf, library_, limit, std::move(datePredicate));
}

PhotosBridgeHandler::Items PhotosBridgeHandler::fetchItems(std::optional<qint64> limit,
                                                           std::optional<PhotoInterval> datePredicate) const {
    return itemsOf(library_, limit, std::move(datePredicate));
}

PhotosBridgeHandler::Items PhotosBridgeHandler::itemsOf(const std::shared_ptr<PhotoLibrary>& library,
                                                        std::optional<qint64> limit,
                                                        std::optional<PhotoInterval> created) {
    const qint64 most = limit ? std::clamp(*limit, leastLimit, mostLimit) : usualLimit;
    Items items;
    for (const PhotoAsset& asset : library->fetchImages(most, std::move(created))) {
        const auto type = asset.resource ? std::optional(asset.resource->uniformTypeIdentifier) : std::nullopt;
        BridgePhotosResult::Item item{
            .id = asset.localIdentifier,
            .name = asset.resource ? asset.resource->originalFilename : QStringLiteral("(unnamed)"),
            .taken_at = {},
            .mime = mimeFromUTI(type).value_or(QStringLiteral("image/jpeg")),
            .location = {},
        };
        if (asset.creationDate)
            item.taken_at = iso8601(*asset.creationDate);
        if (asset.location)
            item.location = BridgePhotosResult::Location{asset.location->latitude, asset.location->longitude};
        items.push_back(std::move(item));
    }
    return items;
}

std::optional<QString> PhotosBridgeHandler::mimeFromUTI(const std::optional<QString>& identifier) {
    if (identifier == QLatin1String("public.jpeg"))
        return QStringLiteral("image/jpeg");
    if (identifier == QLatin1String("public.png"))
        return QStringLiteral("image/png");
    if (identifier == QLatin1String("public.heic"))
        return QStringLiteral("image/heic");
    if (identifier == QLatin1String("public.tiff"))
        return QStringLiteral("image/tiff");
    if (identifier == QLatin1String("com.compuserve.gif"))
        return QStringLiteral("image/gif");
    return std::nullopt;
}

} // namespace vennic
