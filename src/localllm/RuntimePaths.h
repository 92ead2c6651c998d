#pragma once
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace vennic {

/// Where a platform keeps what the local model's server is made of, and what it takes there. All paths are absolute.
struct RuntimePaths {
    using Variables = std::vector<std::pair<QString, QString>>;

    QStringList brew; // where Homebrew may be, in the order in which it is looked for
    QStringList uv;   // the same for the package tool uv
    QString package;  // what uv is asked for, to install it and to run it
    QString server;   // the server's program, which the package brings along
    QString serviceFile;
    QString logDirectory;
    QString logFile;
    Variables toolVariables;   // what uv and what it runs are given
    Variables serverVariables; // what the server is given
    bool operator==(const RuntimePaths&) const = default;

    /// On a Mac.
    static RuntimePaths ofLaunchd(const QString& home);
    /// On Linux with systemd; `configuration` is the user's configuration folder ($XDG_CONFIG_HOME).
    static RuntimePaths ofSystemd(const QString& home, const QString& configuration);
};

} // namespace vennic
