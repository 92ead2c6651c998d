#pragma once
#include "worker/Reader.h"

#include <span>

namespace vennic::worker {

/// The readers of everything that takes a picture library.
std::span<const Reader> pictureReaders();

/// Loads what they would otherwise load from disk in the middle of their first document.
void warmUpPictureReaders();

} // namespace vennic::worker
