#pragma once
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

namespace vennic::test {

/// The user's automations in a data folder of the test's own, which the environment names while this lives.
class AutomationsFolder {
public:
    AutomationsFolder() {
        qputenv("XDG_DATA_HOME", QFile::encodeName(temporary_.path()));
        QDir().mkpath(path());
    }
    ~AutomationsFolder() { qunsetenv("XDG_DATA_HOME"); }
    AutomationsFolder(const AutomationsFolder&) = delete;
    AutomationsFolder& operator=(const AutomationsFolder&) = delete;

    QString path() const { return temporary_.filePath(QStringLiteral("vennic/shortcuts")); }
    /// A place for what automations leave behind.
    QString beside(const char* name) const { return temporary_.filePath(QLatin1String(name)); }
    /// An automation that is a shell's script.
    void add(const char* file, const QByteArray& script) const {
        QFile written(path() + u'/' + QString::fromUtf8(file));
        if (!written.open(QIODevice::WriteOnly))
            throw std::runtime_error("an automation could not be written");
        written.write("#!/bin/sh\n" + script + '\n');
        written.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

private:
    QTemporaryDir temporary_;
};

} // namespace vennic::test
