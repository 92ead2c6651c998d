#pragma once
#include <QString>

#include <gio/gio.h>

namespace vennic {

/// What went wrong, as a French sentence: GLib's own words are in the language of the process's locale, which is
/// English where French isn't installed. What another program said of itself over D-Bus stands as it said it.
QString glibFault(const GError& error);

/// Raises LocalizedError with the sentence. Takes the error.
[[noreturn]] void raiseGlibError(GError* error);

} // namespace vennic
