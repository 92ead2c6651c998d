#pragma once
#include <QByteArray>

namespace vennic {

/// Which of the toolkit's platforms has a screen for this process: "xcb", "wayland", or empty for none. The servers
/// that the environment names are knocked at, since the toolkit ends a program whose screen isn't there and waits for
/// ever for one that is silent.
QByteArray usableScreen();

} // namespace vennic
