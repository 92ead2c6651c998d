#include "linux/CurlLoop.h"

#include <QSocketNotifier>

#include <cstring>
#include <malloc.h>
#include <new>

namespace vennic {

namespace {

// libcurl copies header lines, and with them the token, into buffers of its own. Whatever it gives back is wiped.
void wipeAndFree(void* at) {
    if (!at)
        return;
    explicit_bzero(at, malloc_usable_size(at));
    std::free(at);
}

void* reallocateWiping(void* at, std::size_t size) {
    if (!at)
        return std::malloc(size);
    const std::size_t had = malloc_usable_size(at);
    if (size <= had && size > had / 2)
        return at;
    void* fresh = std::malloc(size);
    if (!fresh)
        return nullptr;
    std::memcpy(fresh, at, std::min(had, size));
    wipeAndFree(at);
    return fresh;
}

void initialiseCurlOnce() {
    static const CURLcode code =
        curl_global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, wipeAndFree, reallocateWiping, strdup, std::calloc);
    if (code != CURLE_OK)
        throw std::bad_alloc{};
}

CurlListener* listenerOf(CURL* easy) {
    char* listener = nullptr;
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, &listener);
    return reinterpret_cast<CurlListener*>(listener);
}

} // namespace

struct CurlLoop::Watch {
    CURL* easy = nullptr;
    std::unique_ptr<QSocketNotifier> read;
    std::unique_ptr<QSocketNotifier> write;

    void forget() {
        // One of them may be the notifier that is telling us right now.
        for (auto* notifier : {read.release(), write.release()}) {
            if (!notifier)
                continue;
            notifier->setEnabled(false);
            notifier->deleteLater();
        }
    }
};

CurlLoop::CurlLoop() {
    initialiseCurlOnce();
    multi_ = curl_multi_init();
    if (!multi_)
        throw std::bad_alloc{};
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &CurlLoop::onSocket);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &CurlLoop::onTimer);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_PIPELINING, CURLPIPE_NOTHING);
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, 8L);
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

CurlLoop::~CurlLoop() { curl_multi_cleanup(multi_); }

CURLMcode CurlLoop::add(CURL* easy) { return curl_multi_add_handle(multi_, easy); }

void CurlLoop::remove(CURL* easy) { curl_multi_remove_handle(multi_, easy); }

int CurlLoop::onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* watch) {
    static_cast<CurlLoop*>(self)->follow(easy, socket, what, static_cast<Watch*>(watch));
    return 0;
}

void CurlLoop::follow(CURL* easy, curl_socket_t socket, int what, Watch* watch) {
    if (what == CURL_POLL_REMOVE) {
        if (watch) {
            watch->forget();
            delete watch;
            curl_multi_assign(multi_, socket, nullptr);
        }
        return;
    }
    if (!watch) {
        watch = new Watch;
        curl_multi_assign(multi_, socket, watch);
    }
    watch->easy = easy;
    const auto arm = [&](std::unique_ptr<QSocketNotifier>& notifier, QSocketNotifier::Type type, int event) {
        const bool wanted = (what & (type == QSocketNotifier::Read ? CURL_POLL_IN : CURL_POLL_OUT)) != 0;
        if (!notifier && !wanted)
            return;
        if (!notifier) {
            notifier = std::make_unique<QSocketNotifier>(socket, type);
            QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this, watch, socket, event] {
                listenerOf(watch->easy)->wireMoved();
                act(socket, event);
            });
        }
        notifier->setEnabled(wanted);
    };
    arm(watch->read, QSocketNotifier::Read, CURL_CSELECT_IN);
    arm(watch->write, QSocketNotifier::Write, CURL_CSELECT_OUT);
}

int CurlLoop::onTimer(CURLM*, long milliseconds, void* self) {
    auto& timer = static_cast<CurlLoop*>(self)->timer_;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(std::chrono::milliseconds{milliseconds});
    return 0;
}

void CurlLoop::act(curl_socket_t socket, int events) {
    int running = 0;
    curl_multi_socket_action(multi_, socket, events, &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* easy = message->easy_handle;
        const CURLcode code = message->data.result;
        auto* listener = listenerOf(easy);
        curl_multi_remove_handle(multi_, easy);
        listener->ended(code);
    }
}

} // namespace vennic
