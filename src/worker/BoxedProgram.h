#pragma once
#include "worker/Box.h"
#include "worker/Reader.h"

#include <span>

namespace vennic::worker {

/// A program that reads documents in a box.
struct BoxedProgram {
    const char* name;
    /// Loads what the readers would otherwise load from disk in the middle of their first document: inside the box it
    /// could no longer be had.
    void (*warmUp)();
    BoxRules rules;
    bool mapsFiles = false; // else a file is read into memory
    std::span<const Reader> readers;
};

/// Warms up, locks itself in, and only then reads the first byte that somebody else wrote; answers requests on
/// descriptor 3 until the client closes it. The program's exit status: 2 when it wasn't started by the client.
int runBoxed(const BoxedProgram& program, int count, char** arguments);

} // namespace vennic::worker
