#pragma once
#include "worker/Reader.h"

#include <span>

namespace vennic::worker {

/// The readers of texts: each gives at most the asked number of user-perceived characters, in UTF-8.
std::span<const Reader> textReaders();

/// Loads what they would otherwise load from disk in the middle of their first document.
void warmUpTextReaders();

} // namespace vennic::worker
