#pragma once
#include "base/DocumentWire.h"
#include "worker/Document.h"

#include <string>
#include <type_traits>

namespace vennic::worker {

/// What a reader makes of a document: the body that the client gets, or why there is none.
struct ReadResult {
    wire::Outcome outcome = wire::Outcome::done;
    std::string body; // of the form's shape, within its ceiling
    bool truncated = false;

    static ReadResult unparsable() { return {wire::Outcome::unparsable, {}, false}; }
    static ReadResult beyondBox() { return {wire::Outcome::beyondBox, {}, false}; }
    static ReadResult unavailable() { return {wire::Outcome::unavailable, {}, false}; }
    /// A body of one record.
    template <class Record>
    static ReadResult record(const Record& record) {
        static_assert(std::is_trivially_copyable_v<Record>);
        return {wire::Outcome::done, std::string(reinterpret_cast<const char*>(&record), sizeof record), false};
    }
};

/// One form of what a boxed program can do. The reader may throw std::bad_alloc: a document that is beyond the box, and
/// the process's last.
struct Reader {
    wire::Form form;
    ReadResult (*read)(const Document& document, const wire::Parameters& parameters);
};

} // namespace vennic::worker
