#pragma once
#include "linux/CurlLoop.h"
#include "ports/HttpTransport.h"

#include <array>

namespace vennic {

/// Where the trust of one transfer comes from: PEM text of the only anchors, or the system's folder.
struct CurlTrust {
    std::optional<QByteArray> anchorsPem;
    QByteArray systemFolder;
};

/// One exchange on a CurlLoop. Its end takes it off the wire.
class CurlTransfer final : public CurlListener {
public:
    CurlTransfer(std::shared_ptr<CurlLoop> loop, HttpRequest request, CurlTrust trust);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;
    ~CurlTransfer() override;

    /// Puts the request on its way. Raises TransportError.
    void start();
    Event<HttpResponse>& done() { return done_; }

    void wireMoved() override;
    void ended(CURLcode code) override;

private:
    using Instant = std::chrono::steady_clock::time_point;

    template <class V>
    void set(CURLoption option, V value);
    void setTarget();
    void setBody();
    void setTrust();
    void setHeaders();
    void addHeader(const QByteArray& name, QByteArrayView value);
    void addHeaderLine(const char* line);
    void watchTime();
    void finish();
    HttpResponse takeResponse();

    std::size_t takeHeaderLine(QByteArrayView line);
    std::size_t takeBody(QByteArrayView bytes);
    int allowSending();
    static std::size_t onHeader(char* at, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* at, std::size_t size, std::size_t count, void* self);
    static int onReadyToSend(void* self, char*, char*, int, int);
    static curl_socket_t openSocket(void*, curlsocktype, curl_sockaddr* address);

    std::shared_ptr<CurlLoop> loop_;
    HttpRequest request_;
    CurlTrust trust_;
    CURL* easy_ = nullptr;
    curl_slist* headerLines_ = nullptr;
    bool onTheLoop_ = false;
    int sendings_ = 0;
    std::array<char, CURL_ERROR_SIZE> detail_{};

    std::vector<HttpHeader> headers_;
    QByteArray body_;
    qint64 headerBytes_ = 0;
    int lastStatus_ = 0;
    bool headersEnded_ = false;
    bool overflowed_ = false;

    Instant begun_;
    Instant lastMoved_;
    QTimer timer_;
    Event<HttpResponse> done_;
};

} // namespace vennic
