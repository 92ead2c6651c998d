#include "linux/DefaultHandler.h"

#include "base/LocalizedError.h"
#include "base/Pool.h"
#include "linux/ProcessLimits.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vennic::test {

namespace {

enum class FolderHandler { none, some };

/// Desktop entries, default applications and nothing else of this machine. GIO reads where they lie once a process.
class Desktop {
public:
    explicit Desktop(FolderHandler folders) : folders_(folders) {
        qputenv("HOME", QFile::encodeName(root_.path()));
        qputenv("XDG_DATA_HOME", QFile::encodeName(path("home")));
        qputenv("XDG_DATA_DIRS", QFile::encodeName(path("data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(path("config")));
        qputenv("XDG_CONFIG_DIRS", "/proc/nowhere");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/proc/no-bus");
        QDir().mkpath(path("data"));
        QFile::link(QStringLiteral("/usr/share/mime"), path("data/mime"));
        const QByteArray log = QFile::encodeName(path("log"));
        program("logger", "#!/bin/sh\n{ umask; for each; do printf '%s\\0' \"$each\"; done; } >" + log + ".new\nmv " +
                              log + ".new " + log + "\n");
        entry("logger", "Exec=" + QFile::encodeName(path("bin/logger")) + " %F\n");
        entry("in-a-terminal", "Exec=" + QFile::encodeName(path("bin/logger")) + " %f\nTerminal=true\n");
        entry("gone", "Exec=/nowhere/program %f\n");
        entry("org.example.Told", "DBusActivatable=true\n");
        write("config/mimeapps.list",
              "[Default Applications]\ntext/plain=logger.desktop\nimage/png=in-a-terminal.desktop\n"
              "application/pdf=org.example.Told.desktop\napplication/zip=gone.desktop\n" +
                  QByteArray(folders == FolderHandler::some ? "inode/directory=logger.desktop\n" : ""));
    }

    FolderHandler folders() const { return folders_; }
    QString path(const char* name) const { return root_.filePath(QString::fromUtf8(name)); }
    QString write(const char* name, const QByteArray& content) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return path(name);
    }
    /// What the logging application was started with: its umask, then its arguments.
    QList<QByteArray> logged() const {
        QFile file(path("log"));
        EXPECT_TRUE(waitUntil([&] { return file.exists(); }));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QList<QByteArray> parts = file.readAll().replace("\n", QByteArray(1, '\0')).split('\0');
        file.remove();
        parts.removeLast();
        return parts;
    }

private:
    void program(const char* name, const QByteArray& text) const {
        QFile::setPermissions(write(("bin/" + std::string(name)).c_str(), text),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    void entry(const char* id, const QByteArray& lines) const {
        write(("home/applications/" + std::string(id) + ".desktop").c_str(),
              "[Desktop Entry]\nType=Application\nName=Essai\n" + lines);
    }

    QTemporaryDir root_;
    FolderHandler folders_;
};

class DefaultHandlerTest : public testing::Test {
protected:
    Desktop& desktop(FolderHandler folders = FolderHandler::none) {
        static Desktop desktop(folders);
        return desktop;
    }
    /// The words of the failure, empty when there was none; the main thread goes on meanwhile.
    static QString failure(const QString& path) {
        try {
            await(onPool(openWithDefaultHandler, path));
        } catch (const LocalizedError& error) {
            EXPECT_FALSE(error.errorDescription().isEmpty());
            return error.errorDescription();
        }
        return {};
    }
};

/// Somebody on the bus who is asked to open something, and answers as told.
class AskedService final : public QDBusVirtualObject {
public:
    AskedService(const QString& address, const QString& name, const QString& path)
        : connection_(QDBusConnection::connectToBus(address, QStringLiteral("asked"))) {
        EXPECT_TRUE(connection_.registerVirtualObject(path, this) && connection_.registerService(name));
    }
    ~AskedService() override { QDBusConnection::disconnectFromBus(QStringLiteral("asked")); }

    QStringList uris;
    QString member;
    bool refuses = false;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        member = message.interface() + u'.' + message.member();
        uris = message.arguments().value(0).toStringList();
        return connection.send(refuses ? message.createErrorReply(QDBusError::AccessDenied, QStringLiteral("Pas ici"))
                                       : message.createReply());
    }

private:
    QDBusConnection connection_;
};

constexpr const char* pdf = "%PDF-1.4\n";

} // namespace

TEST_F(DefaultHandlerTest, aDocumentIsGivenToItsDefaultApplicationUnderItsOwnName) {
    for (const char* name : {"a.txt", "Déjà vu à Noël.txt", "-rf; $(reboot) `id` 'x' \"y\".txt", "two\nlines %f.txt"}) {
        const QString path = desktop().write(name, "bonjour\n");
        EXPECT_EQ(failure(path), QString());
        EXPECT_EQ(desktop().logged().mid(1), QFile::encodeName(path).split('\n')) << name;
    }
}

TEST_F(DefaultHandlerTest, whatTheApplicationMakesIsForWhomTheUsersMaskSays) {
    umask(0022);
    limitProcess();
    const QString path = desktop().write("a.txt", "bonjour\n");
    EXPECT_EQ(failure(path), QString());
    EXPECT_EQ(desktop().logged().value(0), "0022");
    EXPECT_EQ(umask(0077), 0077U); // ours stays
}

TEST_F(DefaultHandlerTest, aFileThatIsNotThereFails) { EXPECT_NE(failure(desktop().path("missing.txt")), QString()); }

TEST_F(DefaultHandlerTest, aFileThatNoApplicationHandlesFails) {
    EXPECT_NE(failure(desktop().write("a.gz", "\x1f\x8b\x08")), QString());
}

TEST_F(DefaultHandlerTest, anApplicationWhoseProgramIsGoneDoesNotHandleAnything) {
    EXPECT_NE(failure(desktop().write("a.zip", "PK\x03\x04")), QString());
}

TEST_F(DefaultHandlerTest, anApplicationThatCannotBeStartedFails) {
    qputenv("PATH", "/proc/nowhere"); // where there is no terminal to run it in
    EXPECT_NE(failure(desktop().write("a.png", "\x89PNG\r\n\x1a\n")), QString());
}

TEST_F(DefaultHandlerTest, aFolderIsGivenToTheApplicationForFolders) {
    if (desktop(FolderHandler::some).folders() != FolderHandler::some)
        GTEST_SKIP() << "GIO has read another test's applications";
    EXPECT_EQ(failure(desktop().path("bin")), QString());
    EXPECT_EQ(desktop().logged().mid(1), QList<QByteArray>{QFile::encodeName(desktop().path("bin"))});
}

TEST_F(DefaultHandlerTest, aFolderThatNoApplicationHandlesIsGivenToTheFileManager) {
    const PrivateBus bus(PrivateBus::Kind::session, desktop().path("."));
    AskedService manager(bus.address(), QStringLiteral("org.freedesktop.FileManager1"),
                         QStringLiteral("/org/freedesktop/FileManager1"));
    const QString folder = desktop().path("bin");
    EXPECT_EQ(failure(folder), QString());
    EXPECT_EQ(manager.member, QStringLiteral("org.freedesktop.FileManager1.ShowFolders"));
    EXPECT_EQ(manager.uris, QStringList{QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)});
    manager.refuses = true;
    EXPECT_TRUE(failure(folder).contains(QStringLiteral("Pas ici")));
}

TEST_F(DefaultHandlerTest, aFolderWithoutApplicationAndWithoutFileManagerFails) {
    EXPECT_NE(failure(desktop().path("bin")), QString());
    const PrivateBus bus(PrivateBus::Kind::session, desktop().path("."));
    EXPECT_NE(failure(desktop().path("bin")), QString());
}

TEST_F(DefaultHandlerTest, anApplicationThatIsToldOverTheBusAnswersForItself) {
    const QString path = desktop().write("é.pdf", pdf);
    const PrivateBus bus(PrivateBus::Kind::session, desktop().path("."));
    AskedService application(bus.address(), QStringLiteral("org.example.Told"), QStringLiteral("/org/example/Told"));
    EXPECT_EQ(failure(path), QString());
    EXPECT_EQ(application.member, QStringLiteral("org.freedesktop.Application.Open"));
    EXPECT_EQ(application.uris, QStringList{QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded())});
    application.refuses = true;
    EXPECT_TRUE(failure(path).contains(QStringLiteral("Pas ici")));
}

TEST_F(DefaultHandlerTest, anApplicationThatNobodyCanTellFails) {
    const QString path = desktop().write("a.pdf", pdf);
    EXPECT_NE(failure(path), QString()); // no bus, and no program
    const PrivateBus bus(PrivateBus::Kind::session, desktop().path("."));
    EXPECT_NE(failure(path), QString());
}

TEST_F(DefaultHandlerTest, theEndOfTheBusDoesNotEndTheProgram) {
    const QString path = desktop().write("a.txt", "bonjour\n");
    for (int i = 0; i < 2; ++i) {
        {
            const PrivateBus bus(PrivateBus::Kind::session, desktop().path("."));
            EXPECT_EQ(failure(path), QString());
            desktop().logged();
        }
        EXPECT_EQ(failure(path), QString());
        desktop().logged();
    }
}

} // namespace vennic::test
