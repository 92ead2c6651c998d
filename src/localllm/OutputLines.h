#pragma once
#include <QByteArray>
#include <QStringList>

namespace vennic {

/// The lines of one piece of a program's output, as it was read: what stands between its line feeds, without what is
/// empty. A line that was cut by the reading is two; a piece that isn't UTF-8 as a whole gives nothing.
QStringList outputLines(const QByteArray& piece);

/// What a terminal would show in the end of a line that was written over by carriage returns, as progress is.
QString settledLine(const QString& line);

} // namespace vennic
