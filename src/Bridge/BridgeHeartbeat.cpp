#include "Bridge/BridgeHeartbeat.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

namespace {

// Servers refuse a request whose header is too long: 8 KiB is common, and more than this record stands there.
constexpr qsizetype mostBytes = 4096;

QByteArray compact(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

template <class T>
void put(QJsonObject& object, QLatin1String key, const std::optional<T>& value) {
    if (value)
        object.insert(key, *value);
}

} // namespace

QByteArray BridgeHeartbeat::encode() const {
    QJsonObject object;
    put(object, QLatin1String("loaded_model"), loaded_model);
    put(object, QLatin1String("ram_used_gb"), ram_used_gb);
    put(object, QLatin1String("ram_total_gb"), ram_total_gb);
    put(object, QLatin1String("tok_per_sec_recent"), tok_per_sec_recent);
    if (!downloaded_models)
        return compact(object);
    const QLatin1String models("downloaded_models");
    QJsonArray list;
    object.insert(models, list);
    qsizetype bytes = compact(object).size();
    for (const QString& model : *downloaded_models) {
        bytes += compact(QJsonObject{{QString(), model}}).size(); // not less than what it adds
        if (bytes > mostBytes)
            break;
        list.append(model);
    }
    if (list.isEmpty())
        object.remove(models);
    else
        object.insert(models, list);
    return compact(object);
}

} // namespace vennic
