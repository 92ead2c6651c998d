#pragma once
#include "linux/index/TextSource.h"

#include <atomic>
#include <set>
#include <string>

namespace vennic::index::test {

/// Reads .txt as plain text and .rtf as rich text, as they stand, and remembers what it was asked.
class PlainTextSource final : public TextSource {
public:
    Form formOf(std::string_view name) const override;
    Result read(int file, std::string_view name) override;

    std::atomic<int> reads = 0;
    std::string deadly = "deadly";   // a file whose name holds this kills the reader
    std::atomic<bool> dead = false;  // the reader can't be had at all
    std::atomic<bool> ended = false; // the reader ends with the program
    std::atomic<int> killed = 0;     // so many times more it is ended from outside while it reads
};

} // namespace vennic::index::test
