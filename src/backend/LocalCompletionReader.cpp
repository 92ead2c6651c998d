#include "backend/LocalCompletionReader.h"

namespace vennic {

namespace {

constexpr auto patience = std::chrono::seconds{240};
// A model on a slow machine may write for long, and nobody is worse off while it does.
constexpr auto mostTime = std::chrono::hours{12};
// What is kept of an answer has a bound of its own; this one counts the frames around it too.
constexpr qint64 mostStreamBytes = 256LL * 1024 * 1024;

} // namespace

std::optional<QUrl> localServerURL(const QString& endpoint, QLatin1String path) {
    const QUrl url(endpoint + path, QUrl::StrictMode);
    const QString scheme = url.scheme();
    const bool usable =
        url.isValid() && !url.host().isEmpty() && (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
    return usable ? std::optional(url) : std::nullopt;
}

HttpRequest localModelsRequest(QUrl url, std::chrono::milliseconds timeout) {
    HttpRequest request;
    request.url = std::move(url);
    request.timeout = timeout;
    request.deadline = timeout;
    return request;
}

std::optional<HttpRequest> localModelsRequest(const QString& endpoint, std::chrono::milliseconds timeout) {
    auto url = localServerURL(endpoint, QLatin1String("/models"));
    return url ? std::optional(localModelsRequest(*std::move(url), timeout)) : std::nullopt;
}

HttpRequest localCompletionRequest(QUrl url, QByteArray body) {
    HttpRequest request;
    request.method = "POST";
    request.url = std::move(url);
    request.headers = {{"Content-Type", "application/json"}, {"Accept", "text/event-stream"}};
    request.body = std::move(body);
    request.timeout = patience;
    request.deadline = mostTime;
    request.maxAnswerBytes = mostStreamBytes;
    return request;
}

Task<std::optional<QString>> LocalCompletionReader::nextText() {
    while (true) {
        if (auto text = answer_.nextText())
            co_return text;
        if (answer_.done())
            stream_.reset(); // nothing that follows is wanted
        if (!stream_)
            co_return std::nullopt;
        if (const auto bytes = co_await stream_->next()) {
            answer_.feed(*bytes);
        } else {
            answer_.feedEnd();
            stream_.reset();
        }
    }
}

} // namespace vennic
