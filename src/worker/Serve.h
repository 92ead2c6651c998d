#pragma once
#include "base/DocumentWire.h"

namespace vennic::worker {

/// Says on `socket` whether this process is boxed.
bool sendHello(int socket, wire::BoxState box);

/// Answers requests one after another until the other side closes. False when it sent something malformed.
bool serve(int socket);

} // namespace vennic::worker
