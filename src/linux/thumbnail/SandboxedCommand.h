#pragma once
#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>

namespace vennic {

/// A program that was not written for a box, run in one of bubblewrap's: it sees the system's programs and libraries,
/// one file to read and one to write, and neither the user's files, nor the network, nor any other process. Its memory,
/// its processor time and what it may write are bounded.
struct SandboxedCommand {
    /// Where the program finds the file to read, under the ending of `path`.
    static QByteArray inputInside(const QString& path);
    /// Where it writes its output.
    static QByteArray outputInside();

    QList<QByteArray> command; // program and arguments, in words of the inside
    QString input;             // absolute path of a regular file
    QString output;            // absolute path of an existing file, which the program overwrites
    std::chrono::milliseconds mostTime{20000};
    /// Whether the programs that make the box are installed. Where they aren't, nothing is run.
    static bool isPossible();

    /// Runs it to its end, or to the end of its time, or until `abandon` becomes readable; none of its processes is
    /// left. True when it ended by itself with status 0. Blocks.
    bool run(int abandon) const;
};

} // namespace vennic
