#pragma once
#include "backend/LocalCompletionStream.h"
#include "base/Identifier.h"

namespace vennic {

/// A streamed answer as one `chat.completion` object, as if it had come in one piece; compact JSON. Unlike in a turn
/// that this machine leads itself, no tool call is dropped and arguments stay as they came.
QString assembledCompletion(const LocalCompletionStream& answer, const QString& model,
                            const IdentifierSource& newId = newIdentifier);

} // namespace vennic
