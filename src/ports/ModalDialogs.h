#pragma once
#include "base/Task.h"

#include <QString>

#include <functional>

namespace vennic {

enum class DialogStyle {
    question,      // Enter and Escape refuse
    informational, // Enter accepts: the user has asked for what the dialog asks about
};

/// A question with two answers. All of it is plain text.
struct DialogQuestion {
    QString title;
    QString informativeText;
    QString accept; // the words of the two buttons, the first one first
    QString refuse;
    DialogStyle style = DialogStyle::question;
    QString suppression = {}; // the words of a check box, unchecked, by which the user isn't asked again; empty: no box
    bool operator==(const DialogQuestion&) const = default;
};

enum class DialogAnswer {
    accepted,
    acceptedForGood, // with the box checked
    refused,         // closing the dialog refuses too, whatever the box says
    none,            // nobody could be asked
};

/// Dialogs that the user has to close before they go on. Main thread.
class ModalDialogs {
public:
    virtual ~ModalDialogs() = default;
    /// Whether there is somebody to see a dialog.
    virtual bool hasScreen() const = 0;
    /// Waits for the answer, however long it takes. Cancelling takes the dialog away.
    virtual Task<DialogAnswer> ask(DialogQuestion question) = 0;
    /// A warning, plain text; ends when the user has closed it. Without a screen it goes to standard error and ends at
    /// once.
    virtual Task<> warn(QString title, QString informativeText) = 0;
    /// Whether a dialog waits for the user right now.
    virtual bool isShowing() const = 0;
    /// Calls `closed` whenever the last of them has gone. Replaces who was told before.
    virtual void onClosed(std::function<void()> closed) = 0;
};

} // namespace vennic
