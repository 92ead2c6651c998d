#pragma once
#include "base/TransportError.h"
#include "linux/CurlLoop.h"
#include "ports/HttpTransport.h"

#include <array>

namespace vennic {

/// Where the trust of one transfer comes from: PEM text of the only anchors, or the system's folder.
struct CurlTrust {
    std::optional<QByteArray> anchorsPem;
    QByteArray systemFolder;
};

/// One exchange on a CurlLoop; what becomes of its body is for the classes below it. Its end takes it off the wire.
class CurlTransfer : public CurlListener {
public:
    CurlTransfer(std::shared_ptr<CurlLoop> loop, HttpRequest request, CurlTrust trust);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;
    ~CurlTransfer() override;

    /// Puts the request on its way. Raises TransportError.
    void start();

    void wireMoved() override;
    void ended(CURLcode code) override;

protected:
    /// Takes bytes of the body. The result is what libcurl's write callback gives: their number when they were taken,
    /// `pause()` to be given them again after `goOn`.
    virtual std::size_t takeBody(QByteArrayView bytes) = 0;
    /// The header is whole; the body follows.
    virtual void headEnded() {}
    /// The exchange has ended; a fault says that it has failed. Called once at most.
    virtual void completed(std::optional<TransportFault> fault) = 0;

    qint64 maxAnswerBytes() const { return request_.maxAnswerBytes; }
    /// Of the last header that came; 0 while none has, or when the answer isn't HTTP.
    int lastStatus() const { return lastStatus_; }
    std::vector<HttpHeader> takeHeaders() { return std::move(headers_); }
    /// Bytes that the header announces; -1 when it doesn't.
    qint64 announcedBytes() const;
    /// Fails the exchange: more came than may come. To be returned by `takeBody`.
    std::size_t overflow();
    /// What `takeBody` gives for CURL_WRITEFUNC_PAUSE. Time stands still until `goOn`: it is we who keep the peer
    /// waiting.
    std::size_t pause();
    /// Takes up what was paused, if it was.
    void goOn();

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

    std::size_t takeHeaderLine(QByteArrayView line);
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
    qint64 headerBytes_ = 0;
    int lastStatus_ = 0;
    bool headersEnded_ = false;
    bool overflowed_ = false;
    bool paused_ = false;

    Instant begun_;
    Instant lastMoved_;
    Instant pausedAt_;
    QTimer timer_;
};

} // namespace vennic
