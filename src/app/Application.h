#pragma once
#include <QCoreApplication>

#include <memory>

namespace vennic {

/// The toolkit's application: with windows where there is a screen that answers, else without. It reads none of the
/// desktop's theme plugins, which bring a second toolkit along, and no command line.
std::unique_ptr<QCoreApplication> makeApplication();

/// The same without windows and without asking for a screen, for a verb that waits. None where there is an application.
std::unique_ptr<QCoreApplication> makeConsoleApplication();

/// Whether the application can have windows.
bool hasWindows();

} // namespace vennic
