#pragma once
#include "linux/FileDescriptor.h"

#include <cstdint>
#include <stop_token>
#include <sys/eventfd.h>

namespace vennic {

/// A descriptor that becomes readable when somebody asks to stop.
class StopDescriptor {
public:
    explicit StopDescriptor(std::stop_token stop)
        : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), onStop_(std::move(stop), Tell{descriptor_.number()}) {}
    int number() const { return descriptor_.number(); }

private:
    struct Tell {
        int descriptor;
        void operator()() const {
            const std::uint64_t one = 1;
            [[maybe_unused]] const ssize_t written = ::write(descriptor, &one, sizeof one);
        }
    };
    FileDescriptor descriptor_;
    std::stop_callback<Tell> onStop_;
};

} // namespace vennic
