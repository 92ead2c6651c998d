#pragma once
#include "base/DocumentWire.h"

#include <QString>

#include <chrono>
#include <optional>

namespace vennic {

/// How one boxed process is run.
struct DocumentWorkerOptions {
    QString executable;                                    // absolute path of vennic-worker or vennic-picture-worker
    bool background = false;                               // at idle priority
    std::optional<std::chrono::milliseconds> mostCpu = {}; // processor time of one request; absent, its form's
    std::chrono::milliseconds mostWall{60000};
    std::chrono::milliseconds idleEnd{60000}; // a process that nobody asks anything is ended after this
    wire::Life life = wire::textLife;

    /// Texts, for somebody who waits.
    static DocumentWorkerOptions interactive(const QString& executable) { return {.executable = executable}; }
    /// Texts, for the index: an idle-priority process may wait long for its turn, which isn't its fault.
    static DocumentWorkerOptions backgroundLane(const QString& executable) {
        return {.executable = executable, .background = true, .mostWall = std::chrono::minutes{10}};
    }
    /// Pictures, for somebody who waits: recognising a page may take a busy machine long.
    static DocumentWorkerOptions pictures(const QString& executable) {
        return {.executable = executable, .mostWall = std::chrono::minutes{3}, .life = wire::pictureLife};
    }
    /// Pictures, for the photo library.
    static DocumentWorkerOptions backgroundPictures(const QString& executable) {
        return {.executable = executable,
                .background = true,
                .mostWall = std::chrono::minutes{10},
                .life = wire::pictureLife};
    }
};

} // namespace vennic
