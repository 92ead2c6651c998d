#pragma once
#include "base/Task.h"

#include <QStringList>

namespace vennic {

/// What a panel in which folders are chosen says. Plain text.
struct FolderPanel {
    QString prompt;  // of the button that confirms
    QString message; // above the folders
    bool operator==(const FolderPanel&) const = default;
};

/// Lets the user choose folders. Main thread.
class FolderPicker {
public:
    virtual ~FolderPicker() = default;
    /// Shows a panel for folders only, several at a time, and waits however long it takes. Absolute paths, in the
    /// order of the panel; none when the user confirmed nothing. Cancelling takes the panel away. Raises
    /// LocalizedError when no panel can be shown.
    virtual Task<QStringList> pick(FolderPanel panel) = 0;
};

} // namespace vennic
