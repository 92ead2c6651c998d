#pragma once
#include "base/DocumentWire.h"

#include <string>
#include <string_view>

namespace vennic::worker {

struct ReadResult {
    wire::Outcome outcome = wire::Outcome::text;
    std::string text; // UTF-8, at most the asked number of user-perceived characters
    bool truncated = false;
};

/// Loads what the readers would otherwise load from disk in the middle of their first document.
void warmUpReaders();

/// The text of a document's bytes.
ReadResult readDocument(wire::Form form, std::string_view bytes, std::uint64_t mostCharacters);

} // namespace vennic::worker
