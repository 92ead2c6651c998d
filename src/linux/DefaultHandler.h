#pragma once
#include <QString>

namespace vennic {

/// Opens a file or folder (absolute path) with the default handler of its type (freedesktop.org MIME applications), by
/// GIO: by starting the application, or by telling it over D-Bus where its desktop entry asks for that. A folder that
/// no application handles is given to whoever owns org.freedesktop.FileManager1. Blocks, for half a minute at most
/// when the bus is silent. Any thread may call it. Raises LocalizedError with GIO's own words.
void openWithDefaultHandler(const QString& path);

} // namespace vennic
