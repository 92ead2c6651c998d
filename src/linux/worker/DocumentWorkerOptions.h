#pragma once
#include <QString>

#include <chrono>

namespace vennic {

/// How one document process is run.
struct DocumentWorkerOptions {
    QString executable;                       // absolute path of vennic-worker
    bool background = false;                  // at idle priority
    std::chrono::milliseconds mostCpu{10000}; // processor time of one document
    std::chrono::milliseconds mostWall{60000};
    std::chrono::milliseconds idleEnd{60000}; // a process that nobody asks anything is ended after this

    /// For somebody who waits.
    static DocumentWorkerOptions interactive(const QString& executable) { return {.executable = executable}; }
    /// For the index: an idle-priority process may wait long for its turn, which isn't its fault.
    static DocumentWorkerOptions backgroundLane(const QString& executable) {
        return {.executable = executable, .background = true, .mostWall = std::chrono::minutes{10}};
    }
};

} // namespace vennic
