#pragma once
#include "linux/dialog/DialogRequest.h"
#include "ports/ModalDialogs.h"

namespace vennic {

/// Dialogs shown by a small program of our own, which is started for each and ends with it. It goes with the client.
class ModalDialogsProgram final : public ModalDialogs {
public:
    /// Absolute path of vennic-dialog.
    explicit ModalDialogsProgram(QString executable) : executable_(std::move(executable)) {}

    /// By the environment, as all programs of the desktop do.
    bool hasScreen() const override;
    Task<DialogAnswer> ask(DialogQuestion question) override;
    Task<> warn(QString title, QString informativeText) override;
    bool isShowing() const override { return shown_ > 0; }
    /// Asked before each dialog whether the desktop likes it dark. Nobody to ask: it doesn't.
    void setDark(std::function<bool()> dark) { dark_ = std::move(dark); }
    void onClosed(std::function<void()> closed) override { closed_ = std::move(closed); }

private:
    Task<DialogExit> show(DialogRequest request);

    QString executable_;
    std::function<bool()> dark_;
    int shown_ = 0;
    std::function<void()> closed_;
};

} // namespace vennic
