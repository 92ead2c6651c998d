#pragma once
#include "worker/BoxedProgram.h"

namespace vennic::worker {

/// Says on `socket` whether this process is boxed.
bool sendHello(int socket, wire::BoxState box);

/// Answers requests one after another until the other side closes, or until memory has run out. False when it sent
/// something malformed, a form that the program doesn't know included.
bool serve(int socket, const BoxedProgram& program);

} // namespace vennic::worker
