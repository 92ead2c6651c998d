#pragma once
#include <QString>

namespace vennic {

/// Writes UTF-8 to standard output or standard error, whatever the locale. On a terminal, what isn't
/// drawable but newline and tab is replaced.
void writeOutput(const QString& text);
void writeError(const QString& text);

/// One line of standard input, at most 16 KiB, without its newline. On a terminal `prompt` is shown and nothing
/// that is typed. Raises LocalizedError when it is longer or not UTF-8.
QString readSecretLine(const QString& prompt);

} // namespace vennic
