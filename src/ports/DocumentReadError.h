#pragma once
#include "base/LocalizedError.h"

namespace vennic {

/// Why a document gave nothing.
enum class DocumentFault {
    unreadable, // the file couldn't be opened or read; the description says why
    unparsable, // the bytes are not a document of that form
    worker,     // the boxed process died, ran out of its time or memory, or couldn't be boxed
};

/// A document that nobody vetted couldn't be read.
class DocumentReadError : public LocalizedError {
public:
    DocumentReadError(DocumentFault fault, const QString& description) : LocalizedError(description), fault_(fault) {}
    DocumentFault fault() const noexcept { return fault_; }

private:
    DocumentFault fault_;
};

} // namespace vennic
