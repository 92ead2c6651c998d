#include "linux/dialog/ModalDialogsProgram.h"

#include "linux/ProgramOfTheUser.h"
#include "linux/Terminal.h"

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

bool ModalDialogsProgram::hasScreen() const {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

Task<DialogAnswer> ModalDialogsProgram::ask(DialogQuestion question) {
    if (!hasScreen())
        co_return DialogAnswer::none;
    switch (co_await show(DialogRequest::ofQuestion(question))) {
    case DialogExit::accepted:
        co_return DialogAnswer::accepted;
    case DialogExit::acceptedForGood:
        co_return DialogAnswer::acceptedForGood;
    case DialogExit::refused:
        co_return DialogAnswer::refused;
    case DialogExit::notShown:
        break;
    }
    co_return DialogAnswer::none;
}

Task<> ModalDialogsProgram::warn(QString title, QString informativeText) {
    DialogExit exit = DialogExit::notShown;
    if (hasScreen())
        exit = co_await show(DialogRequest::ofWarning(title, informativeText));
    if (exit == DialogExit::notShown)
        writeError(QStringLiteral("%1 : %2\n").arg(title, informativeText));
}

Task<DialogExit> ModalDialogsProgram::show(DialogRequest request) const {
    Event<DialogExit> closed;
    DialogProcess process;
    process.setProgram(executable_);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice()); // the toolkit's grumbling is nobody's business
    process.setProcessEnvironment(environmentForTheUser());
    process.setChildProcessModifier(becomeDialog);
    QObject::connect(&process, &QProcess::finished, &process, [&closed](int code, QProcess::ExitStatus status) {
        const auto exit = static_cast<DialogExit>(code);
        const bool isAnswer =
            exit == DialogExit::accepted || exit == DialogExit::acceptedForGood || exit == DialogExit::refused;
        closed.set(status == QProcess::NormalExit && isAnswer ? exit : DialogExit::notShown);
    });
    QObject::connect(&process, &QProcess::errorOccurred, &process, [&closed](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            closed.set(DialogExit::notShown);
    });
    process.start();
    process.write(encoded(request));
    process.closeWriteChannel();
    co_return co_await closed;
}

} // namespace vennic
