#pragma once
#include "linux/FileDescriptor.h"
#include "ports/ProgramRunner.h"

#include <functional>
#include <optional>
#include <stop_token>
#include <sys/types.h>

namespace vennic {

/// A program that runs for the user (see ProgramOfTheUser.h), in the home folder, with pipes as its standard streams,
/// all of which are served while it runs. Gone with this object.
///
/// `await` keeps what it writes; `hear` passes it on.
class PipedProgram {
public:
    enum class End {
        exited,    // `number` is the exit status
        signalled, // `number` is the signal's
        stopped,   // `stop` asked for it
    };
    /// What was read of one of its streams.
    struct Output {
        FileDescriptor pipe;
        QByteArray text;     // its beginning, as much of it as is kept
        bool isWhole = true; // else there was more, which was read and dropped
    };

    /// Starts it. `executable` is an absolute path; an absent `input` is /dev/null. Raises LocalizedError in the
    /// platform's own words.
    PipedProgram(const QString& executable, const QStringList& arguments, const std::optional<QByteArray>& input);
    /// The same with nothing to read and one pipe for both outputs, which is `output`.
    explicit PipedProgram(const ProgramCommand& command);
    ~PipedProgram();
    PipedProgram(const PipedProgram&) = delete;
    PipedProgram& operator=(const PipedProgram&) = delete;

    /// Blocks until the program has ended; once. Of each of its streams the first `mostOutput` bytes are kept: what it
    /// does matters more than what it says, so it isn't held up and goes on. When `stop` asks for it, its whole process
    /// group is asked to end (SIGTERM), and half a second later made to (SIGKILL).
    ///
    /// What the program leaves behind may hold the pipes open for as long as it likes; it isn't waited for.
    End await(qsizetype mostOutput, std::stop_token stop);
    /// The same, keeping nothing: `heard` gets what each read of the output gave, and the next read waits for it.
    End hear(std::function<void(QByteArray)> heard, std::stop_token stop);

    int number() const { return number_; }
    const Output& output() const { return output_; }
    const Output& error() const { return error_; }

private:
    struct Start;
    void start(const ProgramCommand& command, const Start& start);
    void follow();
    End serve(std::stop_token stop);
    void writeSome();
    /// How many bytes were there to be read.
    qsizetype readSome(Output& from) const;
    void readWhatIsLeft(Output& from) const;
    End ended();
    void end();

    pid_t pid_ = 0;          // 0 once it has been waited for
    FileDescriptor process_; // readable once the program has ended
    FileDescriptor inputPipe_;
    QByteArray input_;
    qsizetype written_ = 0;
    qsizetype mostOutput_ = 0;
    std::function<void(QByteArray)> heard_; // empty where the output is kept
    Output output_;
    Output error_;
    int number_ = 0;
};

} // namespace vennic
