#pragma once
#include "base/DocumentWire.h"

#include <memory>
#include <string_view>

namespace vennic::worker {

/// The bytes of the file that a request came with. Copies share the bytes, which stay until the last copy is gone.
class Document {
public:
    Document() = default;
    /// Reads the file into memory: what happens to it meanwhile does no harm. `number` is the client's.
    static Document read(int file, std::uint64_t number, std::int64_t mostBytes);
    /// Maps the file, so that a large one takes no memory. Whoever cuts it short meanwhile ends this process.
    static Document map(int file, std::uint64_t number, std::int64_t mostBytes);

    /// `done` when the bytes are there; else `unreadable`, `tooLarge` or `beyondBox`.
    wire::Outcome outcome() const { return outcome_; }
    int systemError() const { return systemError_; }
    std::string_view bytes() const { return {data_.get(), size_}; }
    /// Whether both came from one file that the client has open.
    bool isSameAs(const Document& other) const { return number_ != 0 && number_ == other.number_; }

private:
    explicit Document(std::uint64_t number) : number_(number) {}
    void refuse(wire::Outcome outcome, int error = 0);
    bool measure(int file, std::int64_t mostBytes);

    wire::Outcome outcome_ = wire::Outcome::done;
    int systemError_ = 0;
    std::uint64_t number_ = 0;
    std::shared_ptr<const char> data_;
    std::size_t size_ = 0;
};

} // namespace vennic::worker
