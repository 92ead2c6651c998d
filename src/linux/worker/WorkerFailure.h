#pragma once
#include "ports/DocumentReadError.h"

namespace vennic {

/// A document process gave no answer, with what that says of the document.
class WorkerFailure final : public DocumentReadError {
public:
    enum class Cause {
        unavailable, // no process could be had, or it was told to end: nothing is said of the document
        interrupted, // somebody else ended it, or the machine was too slow: most likely nothing is
        document,    // it crashed, ran out of its processor time or answered nonsense: most likely the document's doing
    };

    WorkerFailure(Cause cause, const QString& description)
        : DocumentReadError(DocumentFault::worker, description), cause_(cause) {}
    Cause cause() const noexcept { return cause_; }

private:
    Cause cause_;
};

} // namespace vennic
