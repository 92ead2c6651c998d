#include "app/Autostart.h"

#include "base/LocalizedError.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace vennic;

namespace {

struct AutostartTest : testing::Test {
    QTemporaryDir folder;
    QString configuration = folder.filePath(QStringLiteral("config"));
    Autostart autostart{configuration, QStringLiteral("/opt/vennic/bin/vennic")};

    void write(const QByteArray& text) const {
        QDir().mkpath(configuration + QStringLiteral("/autostart"));
        QFile file(autostart.entry());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    static QByteArray read(const Autostart& of) {
        QFile file(of.entry());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

} // namespace

TEST_F(AutostartTest, isOffUntilItIsTurnedOnAndOffAgainAfterwards) {
    EXPECT_FALSE(autostart.isOn());
    autostart.turnOff(); // nothing to do
    autostart.turnOn();
    EXPECT_TRUE(autostart.isOn());
    EXPECT_EQ(autostart.entry(), configuration + QStringLiteral("/autostart/com.vennic.desktop.desktop"));
    EXPECT_TRUE(read(autostart).contains("\nExec=\"/opt/vennic/bin/vennic\"\n")) << read(autostart).toStdString();
    autostart.turnOff();
    EXPECT_FALSE(autostart.isOn());
    EXPECT_FALSE(QFile::exists(autostart.entry()));
}

TEST_F(AutostartTest, anEntryThatTheDesktopSwitchedOffIsOff) {
    for (const char* line : {"Hidden=true", "Hidden = true", "X-GNOME-Autostart-enabled=false"}) {
        write(QByteArray("[Desktop Entry]\nType=Application\n") + line + "\n");
        EXPECT_FALSE(autostart.isOn()) << line;
        autostart.turnOn();
        EXPECT_TRUE(autostart.isOn()) << line;
    }
    write("[Desktop Entry]\nHidden=false\nX-GNOME-Autostart-enabled=true");
    EXPECT_TRUE(autostart.isOn());
}

TEST_F(AutostartTest, whateverThePathTheDesktopReadsItBack) {
    const QStringList paths{QStringLiteral("/opt/mes programmes/vennic"), QStringLiteral("/opt/été/vennic"),
                            QStringLiteral("/opt/a\"b`c$d\\e/vennic")};
    for (const QString& path : paths) {
        // The desktop's own reader gives the path back, when a program stands there.
        const QString program = folder.path() + path;
        QDir().mkpath(QFileInfo(program).path());
        QFile script(program);
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\n: >\"$(dirname \"$0\")/started\"\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::ExeOwner | QFile::WriteOwner);
        const Autostart own(configuration, program);
        own.turnOn();
        QProcess gio;
        gio.start(QStringLiteral("gio"), {QStringLiteral("launch"), own.entry()});
        ASSERT_TRUE(gio.waitForFinished(20000));
        EXPECT_EQ(gio.exitCode(), 0) << gio.readAllStandardError().toStdString();
        QDeadlineTimer deadline(std::chrono::seconds{20});
        const QString started = QFileInfo(program).path() + QStringLiteral("/started");
        while (!QFile::exists(started) && !deadline.hasExpired())
            QThread::yieldCurrentThread();
        EXPECT_TRUE(QFile::exists(started)) << path.toStdString();
    }
}

TEST_F(AutostartTest, aPercentSignInThePathIsNoFieldCode) {
    const Autostart own(configuration, QStringLiteral("/opt/50%/vennic"));
    own.turnOn();
    EXPECT_TRUE(read(own).contains("\nExec=\"/opt/50%%/vennic\"\n")) << read(own).toStdString();
}

TEST_F(AutostartTest, aFolderThatCannotBeWrittenIsSaid) {
    QDir().mkpath(configuration);
    QFile file(configuration + QStringLiteral("/autostart")); // where the folder should be
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    try {
        autostart.turnOn();
        ADD_FAILURE() << "it was written";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Le dossier ") + file.fileName() +
                                                QStringLiteral(" ne peut pas être créé : ce n'est pas un dossier"));
    }
    EXPECT_FALSE(autostart.isOn());
}

TEST_F(AutostartTest, anEntryThatCannotBeRemovedIsSaid) {
    QDir().mkpath(autostart.entry()); // a folder of that name
    EXPECT_THROW(autostart.turnOff(), LocalizedError);
}
