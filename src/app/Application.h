#pragma once
#include <QCoreApplication>

#include <functional>
#include <memory>

namespace vennic {

/// The toolkit's application: with windows where there is a screen that answers, else without. It reads none of the
/// desktop's theme plugins, which bring a second toolkit along, and no command line.
std::unique_ptr<QCoreApplication> makeApplication();

/// The same without windows and without asking for a screen, for a verb that waits. None where there is an application.
std::unique_ptr<QCoreApplication> makeConsoleApplication();
/// Calls `ended` instead of ending the program when the desktop's session manager ends the session; while the object
/// that it gives lives.
std::unique_ptr<QObject> watchEndOfSession(std::function<void()> ended);

/// Whether the application can have windows.
bool hasWindows();

} // namespace vennic
