#pragma once
#include <unistd.h>
#include <utility>

namespace vennic {

/// Owns an open file descriptor.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) noexcept : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    void close() noexcept {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
    }
    /// Gives the number up: whoever takes it closes it.
    [[nodiscard]] int release() noexcept { return std::exchange(fd_, -1); }
    bool isOpen() const noexcept { return fd_ >= 0; }
    int number() const noexcept { return fd_; }

private:
    int fd_ = -1;
};

} // namespace vennic
