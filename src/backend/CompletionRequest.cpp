#include "backend/CompletionRequest.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace vennic {

namespace {

/// On which surface of the product the request arose.
constexpr std::array<std::pair<QLatin1String, QLatin1String>, 4> vennicDesktopProductContext{{
    {QLatin1String("product_context"), QLatin1String("vennic")},
    {QLatin1String("surface"), QLatin1String("vennic_desktop")},
    {QLatin1String("agent_slug"), QLatin1String("assistant")},
    {QLatin1String("proactive_mode"), QLatin1String("suggestions")},
}};

std::optional<QString> modelOf(const CompletionRequest& request) {
    const bool isLocal = request.provider == Provider::local;
    const auto& model = isLocal ? request.localModel : request.cloudModel;
    if (model && !model->isEmpty())
        return model;
    return isLocal ? std::optional(QStringLiteral("local")) : std::nullopt;
}

} // namespace

QByteArray CompletionRequest::encode() const {
    QJsonObject body{{QStringLiteral("text"), prompt},
                     {QStringLiteral("provider"), rawValue(provider)},
                     {QStringLiteral("channel"), QStringLiteral("desktop")},
                     {QStringLiteral("format_shape"), QStringLiteral("simple")},
                     {QStringLiteral("stream"), true}};
    for (const auto& [key, value] : vennicDesktopProductContext)
        body.insert(key, value);
    if (discussionId)
        body.insert(QStringLiteral("discussion_id"), *discussionId);
    if (const auto model = modelOf(*this))
        body.insert(QStringLiteral("model"), *model);
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace vennic
