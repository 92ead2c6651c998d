#pragma once
#include <unistd.h>
#include <utility>

namespace vennic {

/// Owns an open descriptor.
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) noexcept : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~FileDescriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    int number() const noexcept { return number_; }
    bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_;
};

} // namespace vennic
