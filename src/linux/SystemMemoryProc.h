#pragma once
#include "ports/SystemMemory.h"

#include <QByteArray>

namespace vennic {

/// Reads /proc/meminfo: used is MemTotal without MemAvailable (proc(5)). Where that file says nothing, the total is
/// sysinfo(2)'s.
class SystemMemoryProc final : public SystemMemory {
public:
    explicit SystemMemoryProc(QByteArray file = "/proc/meminfo") : file_(std::move(file)) {}

    MemoryUse use() const override;
    /// What the text of such a file says.
    static MemoryUse parse(QByteArrayView text);

private:
    QByteArray file_;
};

} // namespace vennic
