#pragma once
#include "ports/Thumbnailer.h"

namespace vennic {

class OpenedDocument;
class WorkerLane;

/// A picture of what the document shows, drawn in the boxed process: no side is longer than `edge` pixels. Blocks.
/// Raises DocumentReadError when there is none.
Thumbnail boxedThumbnail(WorkerLane& pictures, const OpenedDocument& document, int edge);

} // namespace vennic
