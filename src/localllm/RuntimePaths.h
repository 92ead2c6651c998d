#pragma once
#include <QString>
#include <QStringList>

namespace vennic {

/// Where a platform keeps what the local model's server is made of; all paths are absolute.
struct RuntimePaths {
    QString home;
    QStringList brew;    // where Homebrew may be, in the order in which it is looked for
    QStringList uv;      // the same for the package tool uv
    QString server;      // the server's program
    QString serviceFile; // what tells the service manager of it
    QString logDirectory;
    QString logFile;
    QString programFolders; // PATH of the server
    bool operator==(const RuntimePaths&) const = default;

    /// On a Mac.
    static RuntimePaths ofLaunchd(const QString& home);
    /// On Linux with systemd; `configuration` is the user's configuration folder.
    static RuntimePaths ofSystemd(const QString& home, const QString& configuration);
};

} // namespace vennic
