#include "linux/dialog/DialogProgram.h"

#include "linux/ProgramOfTheUser.h"

#include <QProcess>

#include <csignal>
#include <limits>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace vennic {

namespace {

/// A dialog nobody waits for any more is taken away.
class DialogProcess final : public QProcess {
public:
    ~DialogProcess() override {
        if (state() == NotRunning)
            return;
        disconnect();
        kill();
        waitForFinished(1000);
    }
    DialogProcess() = default;
    Q_DISABLE_COPY_MOVE(DialogProcess)
};

/// What a program that shows windows needs of ours, which says where the screen, the bus and the user's settings are.
QProcessEnvironment environmentForTheUser() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* const* name = variablesOfThisProcess(); *name != nullptr; ++name)
        environment.remove(QString::fromLatin1(*name));
    return environment;
}

/// Runs in the child, between fork and exec.
void becomeDialog() {
    becomeProgramOfTheUser(nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Unlike GLib, Qt leaves descriptors open that libraries opened without close-on-exec.
    close_range(STDERR_FILENO + 1, std::numeric_limits<unsigned>::max(), CLOSE_RANGE_CLOEXEC);
}

} // namespace

Task<std::optional<DialogProgramEnd>> runDialogProgram(QString executable, QByteArray request, qsizetype mostOutput) {
    Event<std::optional<DialogProgramEnd>> ended;
    QByteArray output;
    DialogProcess process;
    process.setProgram(executable);
    process.setStandardErrorFile(QProcess::nullDevice()); // the toolkit's grumbling is nobody's business
    process.setProcessEnvironment(environmentForTheUser());
    process.setChildProcessModifier(becomeDialog);
    const auto read = [&process, &output, mostOutput] {
        output += process.readAllStandardOutput();
        if (output.size() > mostOutput)
            process.kill();
    };
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, read);
    QObject::connect(&process, &QProcess::finished, &process,
                     [&ended, &output, &read, mostOutput](int code, QProcess::ExitStatus status) {
                         read();
                         if (status == QProcess::NormalExit && output.size() <= mostOutput)
                             ended.set(DialogProgramEnd{code, output});
                         else
                             ended.set(std::nullopt);
                     });
    QObject::connect(&process, &QProcess::errorOccurred, &process, [&ended](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            ended.set(std::nullopt);
    });
    process.start();
    process.write(request);
    process.closeWriteChannel();
    co_return co_await ended;
}

} // namespace vennic
