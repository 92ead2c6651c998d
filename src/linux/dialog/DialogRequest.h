#pragma once
#include "ports/ModalDialogs.h"

#include <QByteArray>

#include <optional>

namespace vennic {

/// What the client has its dialog program show: one JSON object on its standard input.
struct DialogRequest {
    DialogQuestion question; // of a warning: title and text; its one button has the words of `accept`
    bool isWarning = false;
    bool isDark = false; // on a desktop that likes it dark
    bool operator==(const DialogRequest&) const = default;

    static constexpr qsizetype mostBytes = qsizetype{64} * 1024;
    static DialogRequest ofQuestion(const DialogQuestion& question);
    static DialogRequest ofWarning(const QString& title, const QString& informativeText);
};

QByteArray encoded(const DialogRequest& request);
/// None for anything that `encoded` doesn't give.
std::optional<DialogRequest> decodedDialogRequest(const QByteArray& json);

/// Exit status of the dialog program. Any other end means that nobody saw a dialog.
enum class DialogExit { accepted = 10, refused = 11, notShown = 12, acceptedForGood = 13 };

} // namespace vennic
