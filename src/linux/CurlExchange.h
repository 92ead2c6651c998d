#pragma once
#include "linux/CurlTransfer.h"

namespace vennic {

/// An exchange whose answer is wanted whole.
class CurlExchange final : public CurlTransfer {
public:
    using CurlTransfer::CurlTransfer;
    Event<HttpResponse>& done() { return done_; }

private:
    std::size_t takeBody(QByteArrayView bytes) override;
    void completed(std::optional<TransportFault> fault) override;

    QByteArray body_;
    Event<HttpResponse> done_;
};

} // namespace vennic
