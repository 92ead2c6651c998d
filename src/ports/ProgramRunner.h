#pragma once
#include "base/Task.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <utility>
#include <vector>

namespace vennic {

/// A program and what it is started with.
struct ProgramCommand {
    QString executable; // absolute path
    QStringList arguments;
    std::vector<std::pair<QString, QString>> variables = {}; // environment variables, beside ours or in their place
    bool operator==(const ProgramCommand&) const = default;
};

/// Programs that are run for the user and watched while they run.
class ProgramRunner {
public:
    /// What one read of the output gave: at least one byte, at most 64 KiB.
    using OnOutput = std::function<void(const QByteArray& piece)>;

    virtual ~ProgramRunner() = default;
    /// Starts the program with nothing to read and awaits its end, however long that takes: its exit status, or 128 and
    /// the number of the signal that ended it, as shells count. `onOutput` hears standard output and standard error,
    /// which are one stream, piece by piece on the main thread, all of them before the task ends; a program that writes
    /// faster than it is heard is held up. A cancelled job, or one whose owner ends, ends the program with its process
    /// group. Raises LocalizedError in the platform's own words when the program can't be started, and Cancelled;
    /// `onOutput` raises nothing.
    virtual Task<int> run(ProgramCommand command, OnOutput onOutput) = 0;
};

} // namespace vennic
