#include "backend/APIService.h"

#include "backend/APIConfig.h"
#include "backend/CompletionExchange.h"
#include "backend/ResponseBody.h"
#include "base/Json.h"

#include <QJsonDocument>

#include <limits>

namespace vennic {

namespace {

using std::chrono::seconds;

/// What an account, a discussion or a refusal has to say fits into this many bytes, many times over.
constexpr qint64 shortAnswer = 1024LL * 1024;
constexpr qint64 longAnswer = 16 * shortAnswer; // of what carries a task

HttpRequest request(const QByteArray& method, const QUrl& url, seconds timeout) {
    HttpRequest request;
    request.method = method;
    request.url = url;
    // An address may name a user; this program never logs in by it.
    request.url.setUserInfo({});
    request.timeout = timeout;
    request.maxAnswerBytes = shortAnswer;
    return request;
}

HttpHeader jsonContent() { return {"Content-Type", "application/json"}; }

/// The request of a signed-in user.
HttpRequest withToken(HttpRequest request, const std::optional<SecretText>& token) {
    if (!token || token->isEmpty())
        throw APIError::notAuthenticated();
    request.secretHeaders.push_back({"X-User-Token", *token});
    return request;
}

/// Sends a request of a signed-in user and gives its successful answer.
Task<HttpResponse> sendSignedIn(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request) {
    auto response = co_await http->vennicData(withToken(std::move(request), token));
    if (!response.status)
        throw APIError::decoding();
    if (!isSuccess(response.status))
        throw APIError::http(*response.status, utf8Text(response.body));
    co_return response;
}

Task<> sendIgnoringAnswer(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request) {
    co_await sendSignedIn(http, std::move(token), std::move(request));
}

Task<std::optional<BridgeTask>> poll(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request) {
    const auto response = co_await sendSignedIn(http, std::move(token), std::move(request));
    if (response.status == 204)
        co_return std::nullopt;
    co_return decodeBridgeTask(response.body);
}

Task<UserPrefs> fetchPrefs(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request) {
    const auto response = co_await sendSignedIn(http, std::move(token), std::move(request));
    co_return UserPrefs::decode(response.body);
}

Task<std::vector<RecentDiscussion>> fetchDiscussions(VennicHTTP* http, std::optional<SecretText> token,
                                                     HttpRequest request) {
    const auto response = co_await sendSignedIn(http, std::move(token), std::move(request));
    co_return RecentDiscussion::decodeList(response.body);
}

Task<std::optional<qint64>> fileTurn(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request) {
    const auto response = co_await http->vennicData(withToken(std::move(request), token));
    const int status = response.status.value_or(-1);
    if (!isSuccess(status))
        throw APIError::http(status, utf8Text(response.body));
    co_return integerIn(QJsonDocument::fromJson(response.body).object(), QLatin1String("discussion_id"));
}

Task<ChatReply> answerTo(VennicHTTP* http, std::optional<SecretText> token, HttpRequest request,
                         std::optional<qint64> discussionId, CompletionStream::OnDelta onDelta) {
    Task<ChatReply> reply =
        exchangeCompletion(http, withToken(std::move(request), token), discussionId, std::move(onDelta));
    co_return co_await reply;
}

Task<> failBeforeSending(std::optional<SecretText> token) {
    withToken({}, token);
    throw TransportError(TransportFault::badRequest);
    co_return;
}

Task<PairingClaimResponse> claim(VennicHTTP* http, HttpRequest request) {
    auto response = co_await http->data(std::move(request));
    if (!response.status)
        throw APIError::decoding();
    if (!isSuccess(response.status))
        throw APIError::http(*response.status, pairingErrorBody(response.body));
    const QJsonObject object = parseJsonObject(response.body);
    wipe(response.body);
    QByteArray token = requiredString(object, QLatin1String("user_token")).toUtf8();
    PairingClaimResponse result;
    result.user_token = SecretText{token};
    wipe(token);
    result.email = requiredString(object, QLatin1String("email"));
    co_return result;
}

} // namespace

APIService::APIService(VennicHTTP& http, const APIConfig& config, std::optional<SecretText> token,
                       BridgeHeaders bridgeHeaders)
    : http_(&http), config_(&config), token_(std::move(token)), bridgeHeaders_(std::move(bridgeHeaders)) {}

Task<PairingClaimResponse> APIService::claimPairing(VennicHTTP& http, const APIConfig& config, const QString& code) {
    auto claimRequest = request("POST", config.endpointURL(QStringLiteral("/pairings/claim")), seconds{20});
    claimRequest.headers = {jsonContent(), {"Accept", "application/json"}};
    const QJsonObject body{{QStringLiteral("pairing_code"), code},
                           {QStringLiteral("client_kind"), QStringLiteral("mac")}};
    claimRequest.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return claim(&http, std::move(claimRequest));
}

Task<> APIService::revokeCurrentSession() const {
    auto revokeRequest = request("DELETE", config_->endpointURL(QStringLiteral("/session")), seconds{15});
    return sendIgnoringAnswer(http_, token_, std::move(revokeRequest));
}

Task<UserPrefs> APIService::fetchUserPrefs() const {
    return fetchPrefs(http_, token_, request("GET", config_->endpointURL(QStringLiteral("/me.json")), seconds{15}));
}

Task<> APIService::patchUserPrefs(qint64 userId, const UserPrefsChange& change) const {
    auto patch = request("PATCH", config_->userURL(userId), seconds{15});
    patch.headers.push_back(jsonContent());
    patch.body = change.encode();
    return sendIgnoringAnswer(http_, token_, std::move(patch));
}

Task<std::vector<RecentDiscussion>> APIService::fetchRecentDiscussions(qint64 limit) const {
    return fetchDiscussions(http_, token_, request("GET", config_->recentDiscussionsURL(limit), seconds{12}));
}

Task<ChatReply> APIService::complete(const CompletionRequest& query, CompletionStream::OnDelta onDelta) const {
    auto post = request("POST", config_->endpointURL(QStringLiteral("/queries.json")), seconds{240});
    post.headers = {jsonContent(), {"Accept", "text/event-stream"}};
    post.body = query.encode();
    post.maxAnswerBytes = 64LL * 1024 * 1024; // the reply has a bound of its own; the rest is what frames it
    return answerTo(http_, token_, std::move(post), query.discussionId, std::move(onDelta));
}

Task<std::optional<qint64>> APIService::importLocalTurn(const LocalTurn& turn) const {
    auto post = request("POST", config_->endpointURL(QStringLiteral("/queries/import.json")), seconds{15});
    post.headers.push_back(jsonContent());
    post.body = turn.encode();
    return fileTurn(http_, token_, std::move(post));
}

Task<std::optional<BridgeTask>> APIService::pollBridgeTask(qint64 wait) const {
    // The time-out follows what was asked, not what the address was clamped to.
    const qint64 patience = std::clamp<qint64>(wait, -9, std::numeric_limits<int>::max()) + 10;
    auto pollRequest = request("GET", config_->bridgeNextTaskURL(wait), seconds{patience});
    pollRequest.headers = bridgeHeaders_;
    pollRequest.maxAnswerBytes = longAnswer;
    return poll(http_, token_, std::move(pollRequest));
}

Task<> APIService::reportBridgeTaskSuccess(const QString& id, const BridgeResult& result) const {
    return reportBridgeTask(id, encodeBridgeSuccessBody(result));
}

Task<> APIService::reportBridgeTaskError(const QString& id, const QString& message) const {
    return reportBridgeTask(id, encodeBridgeErrorBody(message));
}

Task<> APIService::reportBridgeTaskStream(const QString& id, const QString& delta) const {
    return reportBridgeTask(id, encodeBridgeStreamBody(delta));
}

Task<> APIService::reportBridgeTask(const QString& id, QByteArray encodedBody) const {
    const auto url = config_->bridgeTaskURL(id);
    if (!url)
        return failBeforeSending(token_);
    auto updateRequest = request("PATCH", *url, seconds{15});
    updateRequest.headers.push_back(jsonContent());
    updateRequest.headers.insert(updateRequest.headers.end(), bridgeHeaders_.begin(), bridgeHeaders_.end());
    updateRequest.body = std::move(encodedBody);
    return sendIgnoringAnswer(http_, token_, std::move(updateRequest));
}

} // namespace vennic
