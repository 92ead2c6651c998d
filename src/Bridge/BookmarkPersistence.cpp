#include "Bridge/BookmarkPersistence.h"

#include "base/Dates.h"
#include "base/Identifier.h"
#include "base/Json.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace vennic {

namespace {

QString key() { return QStringLiteral("bridgeAllowedBookmarks"); }

QUuid uuid(const QString& text) {
    if (const auto id = uuidFromText(text))
        return *id;
    throw DecodingError(QStringLiteral("Données illisibles : un identifiant n'a pas la forme attendue."));
}

QByteArray bytes(const QString& base64) {
    auto decoded = QByteArray::fromBase64Encoding(base64.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || QLatin1String(decoded.decoded.toBase64()) != base64) // Qt does without the padding
        throw DecodingError(QStringLiteral("Données illisibles : un signet n'est pas en base64."));
    return std::move(decoded.decoded);
}

BookmarkEntry entry(const QJsonObject& object) {
    return {.id = uuid(requiredString(object, QLatin1String("id"))),
            .bookmarkData = bytes(requiredString(object, QLatin1String("bookmarkData"))),
            .displayName = requiredString(object, QLatin1String("displayName")),
            .addedAt = fromSecondsSinceReference(requiredNumber(object, QLatin1String("addedAt")))};
}

QJsonObject object(const BookmarkEntry& entry) {
    return {{QStringLiteral("id"), uuidString(entry.id)},
            {QStringLiteral("bookmarkData"), QString::fromLatin1(entry.bookmarkData.toBase64())},
            {QStringLiteral("displayName"), entry.displayName},
            {QStringLiteral("addedAt"), secondsSinceReference(entry.addedAt)}};
}

} // namespace

std::vector<BookmarkEntry> BookmarkPersistence::load() const {
    const auto stored = storedAs<QByteArray>(store_, key());
    if (!stored)
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(*stored);
    if (!document.isArray())
        return {};
    std::vector<BookmarkEntry> entries;
    try {
        for (const auto& value : document.array())
            entries.push_back(entry(value.toObject()));
    } catch (const DecodingError&) {
        return {};
    }
    return entries;
}

void BookmarkPersistence::save(const std::vector<BookmarkEntry>& entries) {
    QJsonArray array;
    for (const BookmarkEntry& entry : entries)
        array.append(object(entry));
    store_.set(key(), QJsonDocument(array).toJson(QJsonDocument::Compact));
}

} // namespace vennic
