#pragma once
#include "ports/SystemMemory.h"

namespace vennic::test {

/// Says what it was given.
class SystemMemoryFake final : public SystemMemory {
public:
    MemoryUse use() const override { return told; }

    MemoryUse told{.used = 6LL << 30, .total = 16LL << 30};
};

} // namespace vennic::test
