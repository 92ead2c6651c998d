#pragma once
#include <QtGlobal>

#include <optional>

namespace vennic {

/// Main memory as the system sees it, in bytes; none where the system doesn't tell.
struct MemoryUse {
    std::optional<qint64> used; // total without what programs could still get
    std::optional<qint64> total;
    bool operator==(const MemoryUse&) const = default;
};

/// How full this machine's memory is. Quick enough for the main thread.
class SystemMemory {
public:
    virtual ~SystemMemory() = default;
    virtual MemoryUse use() const = 0;
};

} // namespace vennic
