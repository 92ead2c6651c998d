#pragma once
#include "core/Models.h"

#include <optional>

namespace vennic {

/// The content of an assistant's message while a tool runs.
QString toolLine(const QString& label);

/// What is shown of such a content where it is endless: a tool that doesn't exist is called by a name of any length,
/// which is its label. None for every other message, and for one whose label has blanks in it: that may be an answer.
std::optional<QString> shownToolLine(const ChatMessage& message);

} // namespace vennic
