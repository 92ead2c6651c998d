#pragma once
#include <QString>

namespace vennic {

/// Where things are, by the XDG base directory specification and from the executable's folder.
struct Paths {
    QString data;               // $XDG_DATA_HOME/vennic
    QString cache;              // $XDG_CACHE_HOME/vennic
    QString runtime;            // $XDG_RUNTIME_DIR/vennic, or a folder of the cache where there is none
    QString resources;          // ../share/vennic seen from the executable's folder
    QString programs;           // the executable's folder
    QString configuration = {}; // $XDG_CONFIG_HOME

    /// The client itself.
    QString client() const { return programs + QStringLiteral("/vennic"); }

    /// The module that draws the windows: beside the client, or in the folder of libraries of its installation.
    QString screenModule() const;

    /// The boxed programs, which stand beside the client.
    QString textWorker() const { return programs + QStringLiteral("/vennic-worker"); }
    QString pictureWorker() const { return programs + QStringLiteral("/vennic-picture-worker"); }
    /// The program that shows a dialog.
    QString dialogProgram() const { return programs + QStringLiteral("/vennic-dialog"); }

    /// Read from the environment and /proc.
    static Paths ofThisProcess();
};

} // namespace vennic
