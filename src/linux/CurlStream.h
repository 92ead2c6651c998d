#pragma once
#include "linux/CurlTransfer.h"

namespace vennic {

/// An exchange whose answer is taken as it comes. What nobody has taken yet is kept up to a bound; beyond it the
/// connection is left to fill.
class CurlStream final : public HttpStream, public CurlTransfer {
public:
    using CurlTransfer::CurlTransfer;

    /// Ends when the header is there, or what isn't HTTP has begun or ended. Raises TransportError.
    Task<> untilHead();

    std::optional<int> status() const override;
    Task<std::optional<QByteArray>> next() override;

private:
    std::size_t takeBody(QByteArrayView bytes) override;
    void headEnded() override;
    void completed(std::optional<TransportFault> fault) override;
    void wake();

    bool begun_ = false; // the header is there, or what isn't HTTP has begun
    bool ended_ = false;
    std::optional<TransportFault> fault_;
    qint64 received_ = 0;
    QByteArray waiting_;
    std::optional<Event<>> news_; // of whoever waits
};

} // namespace vennic
