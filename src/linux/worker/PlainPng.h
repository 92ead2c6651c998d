#pragma once
#include "base/DocumentWire.h"

#include <QByteArray>

namespace vennic {

/// Whether these bytes are, from the first to the last, the chunks of a PNG of that size in eight-bit colours, with or
/// without alpha, and hold nothing else: no text, no tags, no second picture. The compressed pixels aren't looked into.
bool isPlainPng(const QByteArray& bytes, const wire::PictureSize& size);

} // namespace vennic
