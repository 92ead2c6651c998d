#include "backend/CloudModel.h"

#include "base/Json.h"

namespace vennic {

CloudModel CloudModel::decode(const QJsonObject& object) {
    CloudModel model;
    model.id = requiredInteger(object, QLatin1String("id"));
    model.slug = requiredString(object, QLatin1String("slug"));
    model.display_name = optionalString(object, QLatin1String("display_name"));
    model.kind = optionalString(object, QLatin1String("kind"));
    model.tier = optionalString(object, QLatin1String("tier"));
    model.status = optionalString(object, QLatin1String("status"));
    model.context_window = optionalInteger(object, QLatin1String("context_window"));
    model.supports_tools = optionalBoolean(object, QLatin1String("supports_tools"));
    model.supports_streaming = optionalBoolean(object, QLatin1String("supports_streaming"));
    model.supports_audio_input = optionalBoolean(object, QLatin1String("supports_audio_input"));
    model.supports_image_input = optionalBoolean(object, QLatin1String("supports_image_input"));
    model.supports_file_input = optionalBoolean(object, QLatin1String("supports_file_input"));
    return model;
}

bool CloudModel::isOffered() const {
    return kind.value_or(QStringLiteral("chat")) == u"chat" && status.value_or(QStringLiteral("active")) == u"active";
}

CloudProvider CloudProvider::decode(const QJsonObject& object) {
    CloudProvider provider;
    provider.id = requiredInteger(object, QLatin1String("id"));
    provider.slug = requiredString(object, QLatin1String("slug"));
    provider.name = requiredString(object, QLatin1String("name"));
    provider.display_name = optionalString(object, QLatin1String("display_name"));
    for (const QJsonValue model : requiredArray(object, QLatin1String("models")))
        provider.models.push_back(CloudModel::decode(objectOf(model)));
    return provider;
}

} // namespace vennic
