#pragma once
#include "Bridge/BridgeTypes.h"
#include "backend/APIError.h"
#include "backend/ChatReply.h"
#include "backend/CompletionRequest.h"
#include "backend/CompletionStream.h"
#include "backend/LocalTurn.h"
#include "backend/RecentDiscussion.h"
#include "backend/UserPrefs.h"
#include "backend/UserPrefsChange.h"
#include "backend/VennicHTTP.h"
#include "base/SecretText.h"
#include "base/Task.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace vennic {

class APIConfig;

/// What a pairing code is exchanged for.
struct PairingClaimResponse {
    SecretText user_token;
    QString email;
};

/// The backend as one caller sees it now: a plain value, built from a token, used for a call or a few, dropped.
/// Every operation raises APIError, TransportError or DecodingError, and Cancelled. Nothing is sent twice.
/// `http` and `config` outlive the calls; the value itself need not.
class APIService {
public:
    using BridgeHeaders = std::vector<HttpHeader>;

    APIService(VennicHTTP& http, const APIConfig& config, std::optional<SecretText> token, BridgeHeaders bridgeHeaders);

    const std::optional<SecretText>& token() const { return token_; }
    const BridgeHeaders& bridgeHeaders() const { return bridgeHeaders_; }

    /// POST /pairings/claim: a token for a code. Needs no token; a 401 means a wrong code.
    static Task<PairingClaimResponse> claimPairing(VennicHTTP& http, const APIConfig& config, const QString& code);
    /// DELETE /session: ends this token at the backend.
    Task<> revokeCurrentSession() const;
    /// GET /me.json: the account's defaults.
    Task<UserPrefs> fetchUserPrefs() const;
    /// PATCH /users/ID.json: writes the account's defaults.
    Task<> patchUserPrefs(qint64 userId, const UserPrefsChange& change) const;
    /// GET /discussions.json: the account's latest discussions, in the server's order.
    Task<std::vector<RecentDiscussion>> fetchRecentDiscussions(qint64 limit) const;
    /// POST /queries.json: the answer to one text, read as it comes. The one call that trusts the system's roots
    /// instead of the pinned ones and doesn't announce a 401.
    Task<ChatReply> complete(const CompletionRequest& request, CompletionStream::OnDelta onDelta = {}) const;
    /// POST /queries/import.json: files a turn; the id of its discussion where the answer has one.
    Task<std::optional<qint64>> importLocalTurn(const LocalTurn& turn) const;
    /// GET /bridge/tasks/next: the next task, none when the wait (in seconds) ended without one (204).
    Task<std::optional<BridgeTask>> pollBridgeTask(qint64 wait) const;
    /// PATCH /bridge/tasks/ID with the "done" envelope around `result`.
    Task<> reportBridgeTaskSuccess(const QString& id, const BridgeResult& result) const;
    /// PATCH /bridge/tasks/ID with the "error" envelope.
    Task<> reportBridgeTaskError(const QString& id, const QString& message) const;
    /// PATCH /bridge/tasks/ID with the "streaming" envelope around a piece of output.
    Task<> reportBridgeTaskStream(const QString& id, const QString& delta) const;
    /// The same with an envelope that is encoded already: what is large is encoded where it is made.
    Task<> reportBridgeTask(const QString& id, QByteArray encodedBody) const;

private:
    VennicHTTP* http_;
    const APIConfig* config_;
    std::optional<SecretText> token_;
    BridgeHeaders bridgeHeaders_;
};

} // namespace vennic
