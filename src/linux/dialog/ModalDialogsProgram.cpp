#include "linux/dialog/ModalDialogsProgram.h"

#include "linux/Terminal.h"
#include "linux/dialog/DialogProgram.h"

#include <QScopeGuard>

namespace vennic {

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

Task<DialogExit> ModalDialogsProgram::show(DialogRequest request) {
    ++shown_;
    const auto gone = qScopeGuard([this] {
        if (--shown_ == 0 && closed_)
            closed_();
    });
    request.isDark = dark_ && dark_();
    const auto end = co_await runDialogProgram(executable_, encoded(request), 0);
    if (!end)
        co_return DialogExit::notShown;
    switch (const auto exit = static_cast<DialogExit>(end->status)) {
    case DialogExit::accepted:
    case DialogExit::acceptedForGood:
    case DialogExit::refused:
        co_return exit;
    case DialogExit::notShown:
        break;
    }
    co_return DialogExit::notShown;
}

} // namespace vennic
