#include "linux/CurlExchange.h"

#include <algorithm>

namespace vennic {

namespace {

constexpr qsizetype firstBodyReserve = 1024LL * 1024;

} // namespace

std::size_t CurlExchange::takeBody(QByteArrayView bytes) {
    if (body_.size() + bytes.size() > maxAnswerBytes())
        return overflow();
    if (body_.isEmpty())
        body_.reserve(std::clamp<qsizetype>(static_cast<qsizetype>(announcedBytes()), bytes.size(), firstBodyReserve));
    body_.append(bytes.data(), bytes.size());
    return static_cast<std::size_t>(bytes.size());
}

void CurlExchange::completed(std::optional<TransportFault> fault) {
    if (fault) {
        done_.fail(std::make_exception_ptr(TransportError(*fault)));
        return;
    }
    HttpResponse response;
    if (lastStatus() != 0)
        response.status = lastStatus();
    response.headers = takeHeaders();
    response.body = std::move(body_);
    done_.set(std::move(response));
}

} // namespace vennic
