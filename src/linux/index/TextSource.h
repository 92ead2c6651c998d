#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vennic::index {

/// Larger files are found by name only.
constexpr std::int64_t largestTextFile = 10 << 20;

/// Where the text of documents comes from. Used by the index's threads; may block.
class TextSource {
public:
    enum class Form {
        none,  // no text can be had
        plain, // quick to read again
        rich,  // costly to read: its text is kept
    };
    enum class Outcome {
        text,
        refused,     // there is none to be had until the file changes
        crashed,     // the reader crashed on it or took too much for it
        interrupted, // the reader was ended by somebody else, or the file couldn't be read to its end
        unavailable, // no reader could be had: nothing is said of the document
        ended,       // the reader has been ended with the program: nothing is said of the document
    };
    struct Result {
        Outcome outcome = Outcome::refused;
        std::string text; // UTF-8
    };

    virtual ~TextSource() = default;
    /// By the name alone.
    virtual Form formOf(std::string_view name) const = 0;
    /// Reads an open regular file of that name. Raises nothing.
    virtual Result read(int file, std::string_view name) = 0;
};

} // namespace vennic::index
