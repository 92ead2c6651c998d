#pragma once
#include "base/Task.h"

#include <QByteArray>

#include <optional>

namespace vennic {

/// Makes the record of this machine's local model for the backend.
class HeartbeatSource {
public:
    virtual ~HeartbeatSource() = default;
    /// A fresh record as compact JSON in UTF-8; none when there is nothing to tell. Raises LocalizedError when it
    /// can't be encoded.
    virtual Task<std::optional<QByteArray>> encodedHeartbeat() = 0;
};

} // namespace vennic
