#pragma once
#include "base/PhotoFacts.h"

namespace vennic::photos {

/// Where the facts of pictures come from. Used by the library's thread; may block.
class PhotoFactsReader {
public:
    enum class Outcome {
        read,        // the facts hold; a file that is no picture says so in its format
        refused,     // there are none to be had until the file changes
        failed,      // the reader died or couldn't be started
        ended,       // the reader has been ended with the program: nothing is said of the file
        interrupted, // `hurry` was called: to be asked again
    };
    struct Result {
        Outcome outcome = Outcome::refused;
        PhotoFacts facts;
    };

    virtual ~PhotoFactsReader() = default;
    enum class Haste {
        none,    // only when nothing else wants to run
        awaited, // somebody waits
    };
    /// Reads an open regular file. Raises nothing.
    virtual Result read(int file, Haste haste) = 0;
    /// Somebody waits from now on: what is being read without haste is given up. From any thread.
    virtual void hurry() = 0;
};

} // namespace vennic::photos
