#pragma once
#include "linux/index/TextSource.h"

#include <atomic>
#include <functional>
#include <set>
#include <string>

namespace vennic::index::test {

/// Reads .txt as plain text and .rtf as rich text, as they stand, and remembers what it was asked.
class PlainTextSource final : public TextSource {
public:
    Form formOf(std::string_view name) const override;
    Result read(int file, std::string_view name) override;

    std::atomic<int> reads = 0;
    std::string deadly = "deadly";                     // a file whose name holds this crashes the reader
    std::atomic<bool> dead = false;                    // the reader can't be had at all
    std::atomic<bool> ended = false;                   // the reader ends with the program
    std::atomic<int> killed = 0;                       // so many times more it is ended from outside while it reads
    std::atomic<int> halves = 0;                       // so many times more what it reads hasn't the form of a document
    std::function<void(std::string_view name)> during; // while a file is read; set before the index is open
};

} // namespace vennic::index::test
