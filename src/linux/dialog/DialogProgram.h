#pragma once
#include "base/Task.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic {

/// How a run of the dialog program ended by itself.
struct DialogProgramEnd {
    int status = 0;
    QByteArray output;
};

/// Starts the dialog program, tells it `request`, and waits for its end, however long that takes; none when it can't be
/// started, dies, or says more than `mostOutput` bytes. Cancelling takes the dialog away, and so does the client's end.
Task<std::optional<DialogProgramEnd>> runDialogProgram(QString executable, QByteArray request, qsizetype mostOutput);

} // namespace vennic
