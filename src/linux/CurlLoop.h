#pragma once
#include <QTimer>

#include <curl/curl.h>
#include <memory>

class QSocketNotifier;

namespace vennic {

/// What the loop tells the owner of an easy handle. The owner's address is the handle's CURLOPT_PRIVATE.
class CurlListener {
public:
    virtual ~CurlListener() = default;
    /// Bytes moved, in either direction, TLS included.
    virtual void wireMoved() = 0;
    /// The transfer has ended and has left the loop.
    virtual void ended(CURLcode code) = 0;
};

/// libcurl's multi interface driven by Qt's event loop. Main thread only.
class CurlLoop {
public:
    CurlLoop();
    CurlLoop(const CurlLoop&) = delete;
    CurlLoop& operator=(const CurlLoop&) = delete;
    ~CurlLoop();

    CURLMcode add(CURL* easy);
    /// Ends a transfer that hasn't ended; its connection is closed.
    void remove(CURL* easy);

private:
    struct Watch;
    static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* watch);
    static int onTimer(CURLM* multi, long milliseconds, void* self);
    void follow(CURL* easy, curl_socket_t socket, int what, Watch* watch);
    void act(curl_socket_t socket, int events);

    CURLM* multi_ = nullptr;
    QTimer timer_;
};

} // namespace vennic
