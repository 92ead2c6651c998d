#pragma once
#include <unistd.h>
#include <utility>

namespace vennic {

/// Owns a file descriptor.
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(int number) noexcept : number_(number) {}
    FileHandle(FileHandle&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { close(); }

    void close() noexcept {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }
    /// Gives the descriptor away.
    [[nodiscard]] int release() noexcept { return std::exchange(number_, -1); }
    int number() const noexcept { return number_; }
    bool isOpen() const noexcept { return number_ >= 0; }

private:
    int number_ = -1;
};

} // namespace vennic
