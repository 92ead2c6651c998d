#pragma once
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

namespace vennic::test {

/// Data folders with made-up desktop entries: "installed" and "system", and "own" for the user's. GLib reads the
/// environment once in a process, so all tests of one process share this one, and entries are written before the first
/// look at them.
class MadeUpDesktop {
public:
    static MadeUpDesktop& shared() {
        static MadeUpDesktop desktop;
        return desktop;
    }

    QString data(const char* folder) const { return temporary_.filePath(QLatin1String(folder)); }
    QString entry(const char* folder, const char* file) const {
        return data(folder) + QStringLiteral("/applications/") + QLatin1String(file);
    }
    /// What the application wrote when it was started: its arguments, environment, descriptors and process.
    QString log(const char* name) const { return temporary_.filePath(QLatin1String(name) + QStringLiteral(".log")); }

    /// An entry named `name` whose program writes its log; `more` are further lines.
    void add(const char* folder, const char* file, const char* name, const QByteArray& more = {}) const {
        const QByteArray program = QFile::encodeName(temporary_.filePath(QStringLiteral("program")));
        write(entry(folder, file), QByteArray("[Desktop Entry]\nType=Application\nName=") + name + "\nExec=" + program +
                                       ' ' + QFile::encodeName(log(name)) + " %F\n" + more);
    }
    static void write(const QString& path, const QByteArray& text) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            throw std::runtime_error("a file of the made-up desktop could not be written");
    }

private:
    MadeUpDesktop() {
        qputenv("XDG_DATA_HOME", QFile::encodeName(data("own")));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(data("installed") + u':' + data("system")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(data("config")));
        qputenv("XDG_CURRENT_DESKTOP", "Essai");
        qputenv("LANGUAGE", "fr");
        qputenv("LC_ALL", "C.UTF-8");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DISPLAY");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(data("runtime")));
        const QString program = temporary_.filePath(QStringLiteral("program"));
        write(program, R"sh(#!/bin/sh
log=$1; shift
ls -l /proc/$$/fd >"$log.fd"
{
    for argument; do printf 'argument %s\n' "$argument"; done
    env | sed -n 's/^\(DESKTOP_STARTUP_ID\|XDG_ACTIVATION_TOKEN\|NOTIFY_SOCKET\|VENNIC_TEST_KEPT\)=/\1 /p'
    sed -n 's/.* \([0-9]*\) -> /descriptor \1 /p' "$log.fd"
    printf 'umask %s\n' "$(umask)"
    printf 'session %s\n' "$([ "$(cut -d' ' -f6 /proc/$$/stat)" = $$ ] && echo own)"
    sed -n 's/^\(SigBlk\|SigIgn\):[[:space:]]*/\1 /p' /proc/self/status
    sed -n 's/^Max core file size *\([^ ]*\) .*/core \1/p' /proc/self/limits
} >"$log.new" && mv "$log.new" "$log"
)sh");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QTemporaryDir temporary_;
};

} // namespace vennic::test
