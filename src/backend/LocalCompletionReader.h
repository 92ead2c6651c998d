#pragma once
#include "backend/LocalCompletionStream.h"
#include "backend/VennicHTTP.h"

namespace vennic {

/// What is asked of the local server: `endpoint` (a base address such as "http://localhost:8080/v1") with `path` behind
/// it, as plain text. None when that is no http or https address with a host.
std::optional<QUrl> localServerURL(const QString& endpoint, QLatin1String path);

/// How long the local server may take to tell its models; one that takes longer isn't there.
inline constexpr std::chrono::seconds localServerPatience{2};

/// GET /models of the local server, which has `timeout` for the whole answer. No token, no cookie.
HttpRequest localModelsRequest(QUrl url, std::chrono::milliseconds timeout);
/// The same of the server at `endpoint`; none when that is no address.
std::optional<HttpRequest> localModelsRequest(const QString& endpoint, std::chrono::milliseconds timeout);

/// POST /chat/completions of the local server, which may write for twelve hours, and fall silent for four minutes. No
/// token, no cookie.
HttpRequest localCompletionRequest(QUrl url, QByteArray body);

/// Reads a local server's streamed answer. No byte is taken from the wire before the pieces of the ones before it have
/// been asked for, so a slow reader holds up the server. Its end closes the connection, and so does that of the answer.
class LocalCompletionReader {
public:
    explicit LocalCompletionReader(std::unique_ptr<HttpStream> stream) : stream_(std::move(stream)) {}

    /// The next piece of text, not empty; none once the answer is over. Raises TransportError and Cancelled.
    Task<std::optional<QString>> nextText();
    /// What has been read so far.
    const LocalCompletionStream& answer() const { return answer_; }

private:
    std::unique_ptr<HttpStream> stream_;
    LocalCompletionStream answer_;
};

} // namespace vennic
