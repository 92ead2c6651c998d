#include "linux/CurlTransfer.h"

#include "linux/CurlFault.h"

#include <algorithm>
#include <sys/socket.h>
#include <utility>

namespace vennic {

namespace {

constexpr qint64 maxHeaderBytes = 256LL * 1024;
constexpr int usualDeadlineFactor = 4;

// RFC 9110, 5.6.2: what a method and a field name are made of.
bool isToken(QByteArrayView text) {
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               QByteArrayView("!#$%&'*+-.^_`|~").contains(c);
    });
}

std::chrono::milliseconds usable(std::chrono::milliseconds limit) {
    return std::clamp<std::chrono::milliseconds>(limit, std::chrono::milliseconds{1}, std::chrono::hours{24});
}

bool isIdempotent(const QByteArray& method) { return method == "GET" || method == "HEAD"; }

bool isBlank(QByteArrayView text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == ' '; });
}

// The machine's own addresses never go through a proxy; the rest follows the environment.
QByteArray hostsWithoutProxy() {
    QByteArray hosts = "localhost,127.0.0.1,::1";
    for (const char* name : {"no_proxy", "NO_PROXY"}) {
        if (const QByteArray more = qgetenv(name); !more.isEmpty())
            return more.trimmed() == "*" ? QByteArray("*") : hosts + ',' + more;
    }
    return hosts;
}

} // namespace

CurlTransfer::CurlTransfer(std::shared_ptr<CurlLoop> loop, HttpRequest request, CurlTrust trust)
    : loop_(std::move(loop)), request_(std::move(request)), trust_(std::move(trust)), easy_(curl_easy_init()) {
    if (!easy_)
        throw std::bad_alloc{};
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { watchTime(); });
}

CurlTransfer::~CurlTransfer() {
    finish();
    curl_easy_cleanup(easy_);
    curl_slist_free_all(headerLines_);
}

template <class V>
void CurlTransfer::set(CURLoption option, V value) {
    if (curl_easy_setopt(easy_, option, value) != CURLE_OK)
        throw TransportError(TransportFault::badRequest);
}

void CurlTransfer::start() {
    set(CURLOPT_PRIVATE, static_cast<CurlListener*>(this));
    set(CURLOPT_ERRORBUFFER, detail_.data());
    set(CURLOPT_NOSIGNAL, 1L);
    // A name lookup that hangs in its thread must not hold up who cancels.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::openSocket);
    set(CURLOPT_PREREQFUNCTION, &CurlTransfer::onReadyToSend);
    set(CURLOPT_PREREQDATA, this);
    set(CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    set(CURLOPT_WRITEDATA, this);
    setTarget();
    setTrust();
    setBody();
    setHeaders();

    begun_ = lastMoved_ = std::chrono::steady_clock::now();
    if (loop_->add(easy_) != CURLM_OK)
        throw TransportError(TransportFault::badRequest);
    onTheLoop_ = true;
    watchTime();
}

void CurlTransfer::setTarget() {
    const QString scheme = request_.url.scheme();
    if (!request_.url.isValid() || request_.url.host().isEmpty() ||
        (scheme != QLatin1String("https") && scheme != QLatin1String("http")) || !isToken(request_.method))
        throw TransportError(TransportFault::badRequest);
    // A name and password in the address would become an Authorization header that nobody asked for.
    set(CURLOPT_URL, request_.url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment).constData());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, "https,http");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_HTTP09_ALLOWED, 1L); // what isn't HTTP at all is handed back as such
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    set(CURLOPT_NOPROXY, hostsWithoutProxy().constData());
    set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE)); // a proxy sees none of our headers
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(std::max<qint64>(request_.maxAnswerBytes, 1)));
}

void CurlTransfer::setTrust() {
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_CAINFO, nullptr);
    if (!trust_.anchorsPem) {
        set(CURLOPT_CAPATH, trust_.systemFolder.constData());
        return;
    }
    if (trust_.anchorsPem->isEmpty() || request_.url.scheme() != QLatin1String("https"))
        throw TransportError(TransportFault::tlsRefused);
    set(CURLOPT_CAPATH, nullptr);
    curl_blob blob{trust_.anchorsPem->data(), static_cast<std::size_t>(trust_.anchorsPem->size()), CURL_BLOB_NOCOPY};
    set(CURLOPT_CAINFO_BLOB, &blob);
}

void CurlTransfer::setBody() {
    const QByteArray& method = request_.method;
    const bool sendsLength = request_.body || method == "POST" || method == "PUT" || method == "PATCH";
    if (method == "HEAD") {
        set(CURLOPT_NOBODY, 1L);
    } else if (sendsLength) {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDS, request_.body ? request_.body->constData() : "");
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body ? request_.body->size() : 0));
    }
    set(CURLOPT_CUSTOMREQUEST, method.constData());
}

void CurlTransfer::setHeaders() {
    const auto isSet = [this](QByteArrayView name) {
        return std::any_of(request_.headers.begin(), request_.headers.end(), [&](const HttpHeader& header) {
            return header.name.compare(name, Qt::CaseInsensitive) == 0;
        });
    };
    // libcurl adds these by itself unless they are named with nothing behind.
    for (const char* name : {"Accept", "Content-Type", "Expect", "User-Agent"}) {
        if (!isSet(name))
            addHeaderLine((QByteArray(name) + ':').constData());
    }
    for (const HttpHeader& header : request_.headers)
        addHeader(header.name, header.value);
    for (const SecretHttpHeader& header : request_.secretHeaders)
        addHeader(header.name, header.value.reveal());
    set(CURLOPT_HTTPHEADER, headerLines_);
}

void CurlTransfer::addHeader(const QByteArray& name, QByteArrayView value) {
    if (!isToken(name))
        throw TransportError(TransportFault::badRequest);
    QByteArray line;
    line.reserve(name.size() + value.size() + 2); // one allocation, so that one wipe reaches every copy
    line += name;
    line += ": ";
    const qsizetype valueAt = line.size();
    for (const char c : value) {
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f)
            line += c;
    }
    if (isBlank(QByteArrayView(line).sliced(valueAt)))
        line = name + ';'; // libcurl's form of a header without a value
    addHeaderLine(line.constData());
    wipe(line);
}

void CurlTransfer::addHeaderLine(const char* line) {
    auto* longer = curl_slist_append(headerLines_, line);
    if (!longer)
        throw std::bad_alloc{};
    headerLines_ = longer;
}

curl_socket_t CurlTransfer::openSocket(void*, curlsocktype, curl_sockaddr* address) {
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

// libcurl repeats a request whose kept-alive connection died before an answer. The first try may have arrived:
// only what changes nothing may go out a second time.
int CurlTransfer::allowSending() {
    ++sendings_;
    return sendings_ <= (isIdempotent(request_.method) ? 2 : 1) ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

std::size_t CurlTransfer::takeHeaderLine(QByteArrayView line) {
    headerBytes_ += line.size();
    if (headerBytes_ > maxHeaderBytes)
        return overflow();
    const auto size = static_cast<std::size_t>(line.size());
    if (line.startsWith("HTTP/") && !headersEnded_) {
        headers_.clear(); // those of an interim answer
        long status = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
        lastStatus_ = static_cast<int>(status);
        return size;
    }
    const auto text = line.trimmed();
    if (text.isEmpty()) {
        if (lastStatus_ >= 200 && !std::exchange(headersEnded_, true))
            headEnded();
        return size;
    }
    if (headersEnded_)
        return size; // a trailer
    if ((line.startsWith(' ') || line.startsWith('\t')) && !headers_.empty()) {
        headers_.back().value += ' ' + text.toByteArray();
        return size;
    }
    const qsizetype colon = text.indexOf(':');
    if (colon > 0)
        headers_.push_back({text.first(colon).trimmed().toByteArray(), text.sliced(colon + 1).trimmed().toByteArray()});
    return size;
}

std::size_t CurlTransfer::overflow() {
    overflowed_ = true;
    return 0;
}

qint64 CurlTransfer::announcedBytes() const {
    curl_off_t length = -1;
    curl_easy_getinfo(easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return length;
}

std::size_t CurlTransfer::pause() {
    paused_ = true;
    pausedAt_ = std::chrono::steady_clock::now();
    return CURL_WRITEFUNC_PAUSE;
}

void CurlTransfer::goOn() {
    if (!std::exchange(paused_, false) || !onTheLoop_)
        return;
    lastMoved_ = std::chrono::steady_clock::now();
    begun_ += lastMoved_ - pausedAt_;
    curl_easy_pause(easy_, CURLPAUSE_CONT);
    if (onTheLoop_)
        watchTime();
}

std::size_t CurlTransfer::onHeader(char* at, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->takeHeaderLine({at, static_cast<qsizetype>(size * count)});
}

std::size_t CurlTransfer::onBody(char* at, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->takeBody({at, static_cast<qsizetype>(size * count)});
}

int CurlTransfer::onReadyToSend(void* self, char*, char*, int, int) {
    return static_cast<CurlTransfer*>(self)->allowSending();
}

void CurlTransfer::wireMoved() { lastMoved_ = std::chrono::steady_clock::now(); }

// One timer for both limits: it is set for the nearer one and looks again when it fires, so bytes cost no timer. While
// the exchange is paused there is nothing to look at.
void CurlTransfer::watchTime() {
    if (paused_)
        return;
    const auto silence = usable(request_.timeout);
    const auto total = request_.deadline ? usable(*request_.deadline) : usualDeadlineFactor * silence;
    const auto now = std::chrono::steady_clock::now();
    const auto due = std::min(lastMoved_ + silence, begun_ + total);
    if (now < due) {
        timer_.start(std::chrono::ceil<std::chrono::milliseconds>(due - now));
        return;
    }
    finish();
    completed(TransportFault::timedOut);
}

void CurlTransfer::finish() {
    timer_.stop();
    if (std::exchange(onTheLoop_, false))
        loop_->remove(easy_);
}

void CurlTransfer::ended(CURLcode code) {
    onTheLoop_ = false;
    timer_.stop();
    const bool endedAfterInterim = code == CURLE_GOT_NOTHING && lastStatus_ >= 100;
    // libcurl is content with a header that the connection's end cut short.
    const bool headerCutShort = code == CURLE_OK && lastStatus_ >= 200 && !headersEnded_;
    if (headerCutShort)
        code = CURLE_PARTIAL_FILE;
    if (code == CURLE_OK || endedAfterInterim) {
        completed(std::nullopt);
        return;
    }
    long systemError = 0;
    curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &systemError);
    completed(overflowed_ ? TransportFault::tooLarge : curlFault(code, systemError, detail_.data()));
}

} // namespace vennic
