#include "linux/CurlStream.h"

#include <utility>

namespace vennic {

namespace {

constexpr qsizetype mostWaitingBytes = 256LL * 1024;

} // namespace

std::optional<int> CurlStream::status() const { return lastStatus() == 0 ? std::nullopt : std::optional(lastStatus()); }

Task<> CurlStream::untilHead() {
    if (!begun_ && !ended_) {
        news_.emplace();
        co_await *news_;
    }
    // A failure behind the header is told by `next`, after what came before it.
    if (fault_ && !begun_)
        throw TransportError(*fault_);
}

Task<std::optional<QByteArray>> CurlStream::next() {
    if (waiting_.isEmpty() && !ended_) {
        news_.emplace();
        co_await *news_;
    }
    if (!waiting_.isEmpty()) {
        QByteArray bytes = std::exchange(waiting_, {});
        goOn();
        co_return bytes;
    }
    if (fault_)
        throw TransportError(*fault_);
    co_return std::nullopt;
}

std::size_t CurlStream::takeBody(QByteArrayView bytes) {
    if (received_ + bytes.size() > maxAnswerBytes())
        return overflow();
    if (waiting_.size() >= mostWaitingBytes)
        return pause();
    received_ += bytes.size();
    waiting_.append(bytes.data(), bytes.size());
    begun_ = true;
    wake();
    return static_cast<std::size_t>(bytes.size());
}

void CurlStream::headEnded() {
    begun_ = true;
    wake();
}

void CurlStream::completed(std::optional<TransportFault> fault) {
    ended_ = true;
    fault_ = fault;
    wake();
}

void CurlStream::wake() {
    if (news_)
        news_->set();
}

} // namespace vennic
