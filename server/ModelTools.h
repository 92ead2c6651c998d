#pragma once
#include "server/ModelSource.h"

namespace vennic::server {

/// What a model may ask of the user's machine: some of the bridge's kinds of tasks, under their own names, in the form
/// of OpenAI's function calling.
QJsonArray modelTools();

/// The arguments of a task, as the machine takes them, out of what the model wrote: what the tool doesn't know is left
/// out. Raises LocalizedError with an English sentence for the model when the tool is unknown, or when an argument is
/// missing or of another type, which a machine would leave without an answer.
QJsonObject toolArguments(const ToolCall& call);

/// A task's result as text for the model, cut at `longest` characters.
QString toolText(const QJsonObject& result, qsizetype longest);

} // namespace vennic::server
