#pragma once

namespace vennic {

/// Where a status item would stand on this desktop.
enum class TrayKind {
    none,
    statusNotifier, // a bar that follows the StatusNotifierItem protocol
    embedding,      // a tray of the older kind, which embeds windows
};

/// Asks the session bus, which may take a second to answer (see DBusLink for one that greets nobody), then the X
/// server.
TrayKind trayOfThisDesktop();

} // namespace vennic
