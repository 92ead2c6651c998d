#pragma once
#include "base/PhotoFacts.h"

namespace vennic::photos {

/// Where the facts of pictures come from. Used by the library's thread; may block.
class PhotoFactsReader {
public:
    enum class Outcome {
        read,    // the facts hold; a file that is no picture says so in its format
        refused, // there are none to be had until the file changes
        failed,  // the reader died or couldn't be started
        ended,   // the reader has been ended with the program: nothing is said of the file
    };
    struct Result {
        Outcome outcome = Outcome::refused;
        PhotoFacts facts;
    };

    virtual ~PhotoFactsReader() = default;
    /// Reads an open regular file. Raises nothing.
    virtual Result read(int file) = 0;
};

} // namespace vennic::photos
