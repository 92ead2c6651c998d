#include "linux/CurlFault.h"

#include <cerrno>
#include <ifaddrs.h>
#include <net/if.h>

namespace vennic {

namespace {

// A name that doesn't resolve says nothing of its cause; without an interface that is up, the network is the cause.
bool networkIsDown() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return false;
    bool up = false;
    for (const ifaddrs* at = list; at && !up; at = at->ifa_next) {
        up = at->ifa_addr && (at->ifa_addr->sa_family == AF_INET || at->ifa_addr->sa_family == AF_INET6) &&
             (at->ifa_flags & IFF_UP) && !(at->ifa_flags & IFF_LOOPBACK);
    }
    freeifaddrs(list);
    return !up;
}

TransportFault connectFault(long systemError) {
    switch (systemError) {
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
    case EADDRNOTAVAIL:
        return TransportFault::noNetwork;
    case ETIMEDOUT:
        return TransportFault::timedOut;
    case ECONNRESET: // connected, then reset before a byte was exchanged
    case EPIPE:
        return TransportFault::cutOff;
    default:
        return TransportFault::refused;
    }
}

// A peer that goes away during the handshake gives the same code as one that is refused.
bool wentAway(long systemError, QByteArrayView detail) {
    return systemError == ECONNRESET || systemError == EPIPE || detail.contains("SSL_ERROR_SYSCALL") ||
           detail.contains("unexpected eof") || detail.contains("reset by peer");
}

} // namespace

TransportFault curlFault(CURLcode code, long systemError, QByteArrayView detail) {
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return networkIsDown() ? TransportFault::noNetwork : TransportFault::nameNotFound;
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
        return connectFault(systemError);
    case CURLE_INTERFACE_FAILED:
        return TransportFault::noNetwork;
    case CURLE_OPERATION_TIMEDOUT:
        return TransportFault::timedOut;
    case CURLE_SSL_CONNECT_ERROR:
        return wentAway(systemError, detail) ? TransportFault::cutOff : TransportFault::tlsRefused;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_USE_SSL_FAILED:
        return TransportFault::tlsRefused;
    case CURLE_RECV_ERROR:
        return detail.contains("chunk") ? TransportFault::badAnswer : TransportFault::cutOff;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_SEND_FAIL_REWIND:
    case CURLE_READ_ERROR:
    case CURLE_NO_CONNECTION_AVAILABLE:
    case CURLE_ABORTED_BY_CALLBACK: // the second arrival that was prevented
        return TransportFault::cutOff;
    case CURLE_FILESIZE_EXCEEDED:
    case CURLE_OUT_OF_MEMORY: // a header line above libcurl's own ceiling
        return TransportFault::tooLarge;
    case CURLE_URL_MALFORMAT:
    case CURLE_BAD_FUNCTION_ARGUMENT:
    case CURLE_UNKNOWN_OPTION:
        return TransportFault::badRequest;
    default:
        return TransportFault::badAnswer;
    }
}

} // namespace vennic
