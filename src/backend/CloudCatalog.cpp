#include "backend/CloudCatalog.h"

#include "base/Json.h"

namespace vennic {

namespace {

constexpr qint64 freshMilliseconds = 30'000;
constexpr qint64 mostCatalogBytes = 1024LL * 1024;

std::vector<CloudProvider> decodeProviders(const QByteArray& body) {
    std::vector<CloudProvider> providers;
    for (const QJsonValue element : parseJsonArray(body))
        providers.push_back(CloudProvider::decode(objectOf(element)));
    return providers;
}

} // namespace

CloudCatalog* CloudCatalog::shared_ = nullptr;

Task<> CloudCatalog::refreshIfStale() {
    // A clock that was set back makes nothing fresh for longer.
    const qint64 age = lastFetch_ ? lastFetch_->msecsTo(clock_.now()) : freshMilliseconds;
    if (age >= 0 && age < freshMilliseconds)
        co_return;
    co_await refresh();
}

Task<> CloudCatalog::refresh() {
    HttpRequest request;
    request.url = config_.endpointURL(QStringLiteral("/providers.json"));
    request.url.setUserInfo({});
    request.timeout = std::chrono::seconds{8};
    request.maxAnswerBytes = mostCatalogBytes;
    try {
        const HttpResponse response = co_await http_.sharedData(std::move(request));
        if (!isSuccess(response.status))
            co_return;
        providers_ = decodeProviders(response.body);
        lastFetch_ = clock_.now();
    } catch (const LocalizedError&) { // the next view that appears asks again
        co_return;
    }
    Q_EMIT providersChanged();
}

QLatin1String CloudCatalog::iconFor(QStringView slug) {
    constexpr std::array<std::pair<QLatin1String, QLatin1String>, 5> icons{{
        {QLatin1String("openai"), QLatin1String("sparkles")},
        {QLatin1String("anthropic"), QLatin1String("a.circle")},
        {QLatin1String("gemini"), QLatin1String("g.circle")},
        {QLatin1String("mistral"), QLatin1String("m.circle")},
        {QLatin1String("deepseek"), QLatin1String("d.circle")},
    }};
    for (const auto& [name, icon] : icons)
        if (slug == name)
            return icon;
    return QLatin1String("cube");
}

} // namespace vennic
