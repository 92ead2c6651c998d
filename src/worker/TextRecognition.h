#pragma once
#include "worker/Picture.h"
#include "worker/Reader.h"

namespace vennic::worker {

/// The lines of text in a picture, in reading order, joined by newlines; empty where there are none. `unavailable` when
/// no language of the recogniser is installed, `beyondBox` when the picture is larger than it takes.
///
/// The languages are loaded with the first picture, since most that this program does needs none.
ReadResult recognizedText(Picture picture);

} // namespace vennic::worker
