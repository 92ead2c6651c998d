#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why a request got no usable answer from the wire. `cancelled` is a request that the transport itself gave up
/// (a refused certificate challenge); a cancelled job raises Cancelled instead.
enum class TransportFault {
    noNetwork,
    nameNotFound,
    refused,
    timedOut,
    tlsRefused,
    cutOff,
    tooLarge,
    badAnswer,
    badRequest,
    cancelled,
};

/// The French sentence of a fault, the only place that writes them.
QString transportFaultText(TransportFault fault);

/// A failure of the transport itself.
class TransportError : public LocalizedError {
public:
    explicit TransportError(TransportFault fault) : LocalizedError(transportFaultText(fault)), fault_(fault) {}
    TransportFault fault() const noexcept { return fault_; }

private:
    TransportFault fault_;
};

} // namespace vennic
