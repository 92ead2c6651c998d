#pragma once
#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <stop_token>

namespace vennic {

class OpenedDocument;

/// A program that was not written for a box, run in one of bubblewrap's: it sees the system's programs and libraries,
/// one file to read and one to write, and neither the user's files, nor the network, nor any other process. It is one
/// process with as many threads as it likes: where it would start another program, that fails. So its memory is bounded
/// by what one address space may have, 2 GiB, and the files that it leaves in memory, 64 MiB; its processor time and
/// what it may write are bounded too.
struct SandboxedCommand {
    /// Where the program finds the file to read, under the ending of `path`.
    static QByteArray inputInside(const QString& path);
    /// Where it writes its output.
    static QByteArray outputInside();

    QList<QByteArray> command; // program and arguments, in words of the inside
    std::chrono::milliseconds mostTime{20000};

    /// Whether the programs that make the box are installed. Where they aren't, nothing is run.
    static bool isPossible();

    /// Runs it to its end, or to the end of its time, or until `abandon` becomes readable or `stop` is asked for; it is
    /// not left running. `input` is the file that was opened: when its path names another one by now, nothing is run.
    /// `output` is the absolute path of an existing file, which the program overwrites. True when it ended by itself
    /// with status 0. Blocks.
    bool run(const OpenedDocument& input, const QString& output, int abandon, std::stop_token stop = {}) const;
};

} // namespace vennic
