#pragma once

namespace vennic {

/// Where a status item would stand on this desktop.
enum class TrayKind {
    none,
    statusNotifier, // a bar that follows the StatusNotifierItem protocol
    embedding,      // a tray of the older kind, which embeds windows
};

/// Asks the session bus, then the X server, for at most a second.
TrayKind trayOfThisDesktop();

} // namespace vennic
