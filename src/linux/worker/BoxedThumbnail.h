#pragma once
#include "ports/Thumbnailer.h"

namespace vennic {

class OpenedDocument;
class WorkerLane;

/// A picture of what the document shows, drawn in the boxed process: no side is longer than `edge` pixels. Blocks.
/// Raises DocumentReadError when there is none, and soon after `stop` asks for an end.
Thumbnail boxedThumbnail(WorkerLane& pictures, const OpenedDocument& document, int edge, std::stop_token stop = {});

} // namespace vennic
