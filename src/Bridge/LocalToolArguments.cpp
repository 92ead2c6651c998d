#include "Bridge/LocalToolArguments.h"

#include "base/Json.h"

namespace vennic {

namespace {

constexpr qsizetype mostUnits = 64LL * 1024; // a sentence or a path fits many times; read on the main thread

} // namespace

LocalToolArguments::LocalToolArguments(const QString& json) {
    if (json.size() <= mostUnits)
        values_ = QJsonDocument::fromJson(json.toUtf8()).object();
}

std::optional<QString> LocalToolArguments::text(QLatin1String key) const {
    const QJsonValue value = values_.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<qint64> LocalToolArguments::integer(QLatin1String key) const { return integerIn(values_, key); }

std::optional<QStringList> LocalToolArguments::texts(QLatin1String key) const {
    const QJsonValue value = values_.value(key);
    if (!value.isArray())
        return std::nullopt;
    QStringList texts;
    for (const QJsonValue element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        texts.append(element.toString());
    }
    return texts;
}

} // namespace vennic
