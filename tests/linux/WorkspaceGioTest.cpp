#include "linux/WorkspaceGio.h"

#include "base/LocalizedError.h"
#include "base/Pool.h"
#include "linux/GlibOwned.h"
#include "linux/ProcessLimits.h"
#include "support/Await.h"
#include "support/MadeUpDesktop.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

/// An application that the bus has started: keeps what it is told, and answers as it should.
class ApplicationOnTheBus final : public QDBusVirtualObject {
public:
    enum class Manner { willing, refusing, mute };

    ApplicationOnTheBus(const PrivateBus& bus, const QString& name, const QString& path, Manner manner)
        : connection_(QDBusConnection::connectToBus(bus.address(), name)), name_(name), manner_(manner) {
        connection_.registerVirtualObject(path, this);
        connection_.registerService(name);
    }
    ~ApplicationOnTheBus() override { QDBusConnection::disconnectFromBus(name_); }
    Q_DISABLE_COPY_MOVE(ApplicationOnTheBus)

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        told.push_back(message);
        if (manner_ == Manner::willing)
            connection.send(message.createReply());
        else if (manner_ == Manner::refusing)
            connection.send(
                message.createErrorReply(QStringLiteral("org.example.Error"), QStringLiteral("Pas maintenant.")));
        return true;
    }

    std::vector<QDBusMessage> told;

private:
    QDBusConnection connection_;
    QString name_;
    Manner manner_;
};

QString openOnPool(const std::stop_token& stop, const QString& entry) {
    try {
        WorkspaceGio().openApplication(entry, stop);
    } catch (const LocalizedError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("no failure");
}

struct WorkspaceGioTest : ::testing::Test {
    MadeUpDesktop& desktop = MadeUpDesktop::shared();
    WorkspaceGio workspace{desktop.data("system")};

    /// Whether the desktop has read what was written, up to that entry.
    bool hasRead(const char* identifier) {
        return waitUntil([&] { return application(identifier).has_value(); });
    }
    std::optional<Application> application(const char* identifier) {
        for (Application& each : workspace.applications()) {
            if (each.identifier == QLatin1String(identifier))
                return std::move(each);
        }
        return std::nullopt;
    }
    QString failureOf(const char* file, const std::stop_token& stop = {}) {
        try {
            workspace.openApplication(desktop.entry("installed", file), stop);
        } catch (const LocalizedError& error) {
            return error.errorDescription();
        }
        return QStringLiteral("no failure");
    }
    /// Starts the application of the name and gives the lines of its log.
    QStringList start(const char* file, const char* name) {
        workspace.openApplication(desktop.entry("installed", file), {});
        return logged(name);
    }
    QStringList logged(const char* name) const {
        QFile log(desktop.log(name));
        if (!waitUntil([&] { return log.exists(); }) || !log.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
    static QStringList about(const char* subject, const QStringList& lines) {
        return lines.filter(QRegularExpression(u'^' + QString::fromLatin1(subject) + u' '));
    }
};

} // namespace

TEST_F(WorkspaceGioTest, entriesAreToldByWhoseFolderTheyLieIn) {
    desktop.add("own", "mine.desktop", "Mine");
    desktop.add("installed", "sub/there.desktop", "There");
    desktop.add("installed", "sub/deep/deeper.desktop", "Deeper");
    desktop.add("system", "sub/shipped.desktop", "Shipped");
    using Place = Application::Place;
    const std::vector<std::tuple<const char*, Place, const char16_t*>> expected{
        {"mine.desktop", Place::user, u"mine.desktop"},
        {"sub-there.desktop", Place::installed, u"sub/there.desktop"},
        {"sub-deep-deeper.desktop", Place::installed, u"sub/deep/deeper.desktop"},
        {"sub-shipped.desktop", Place::system, u"sub/shipped.desktop"}};
    for (const auto& [identifier, place, path] : expected) {
        ASSERT_TRUE(hasRead(identifier)) << identifier;
        const auto found = application(identifier);
        EXPECT_EQ(found->place, place) << identifier;
        EXPECT_EQ(found->pathInFolder, QStringView(path)) << identifier;
    }
}

TEST_F(WorkspaceGioTest, anEntryOfTheUsersOwnHidesTheOthersOfItsIdentifier) {
    desktop.add("own", "twice.desktop", "Own");
    desktop.add("installed", "twice.desktop", "Installed");
    desktop.add("own", "taken-away.desktop", "x", "Hidden=true\n");
    desktop.add("installed", "taken-away.desktop", "y");
    desktop.add("installed", "thrice.desktop", "z");
    ASSERT_TRUE(hasRead("thrice.desktop"));
    EXPECT_EQ(application("twice.desktop")->name, QStringLiteral("Own"));
    EXPECT_FALSE(application("taken-away.desktop"));
}

TEST_F(WorkspaceGioTest, whatCannotBeStartedIsNotThere) {
    desktop.add("installed", "hidden.desktop", "a", "Hidden=true\n");
    desktop.add("installed", "tryexec.desktop", "b", "TryExec=/absent\n");
    desktop.add("installed", "link.desktop", "c");
    MadeUpDesktop::write(desktop.entry("installed", "link.desktop"),
                         "[Desktop Entry]\nType=Link\nName=c\nURL=https://example.test/\n");
    MadeUpDesktop::write(desktop.entry("installed", "noexec.desktop"),
                         "[Desktop Entry]\nType=Application\nName=d\nExec=/absent/program\n");
    MadeUpDesktop::write(desktop.entry("installed", "damaged.desktop"), QByteArray("\0\xff[Desk\n=\n[", 12));
    MadeUpDesktop::write(desktop.entry("installed", "empty.desktop"), {});
    QDir().mkpath(desktop.entry("installed", "folder.desktop"));
    desktop.add("installed", "fine.desktop", "fine");
    ASSERT_TRUE(hasRead("fine.desktop"));
    for (const char* identifier : {"hidden.desktop", "tryexec.desktop", "link.desktop", "noexec.desktop",
                                   "damaged.desktop", "empty.desktop", "folder.desktop"})
        EXPECT_FALSE(application(identifier)) << identifier;
}

TEST_F(WorkspaceGioTest, whatTheMenusLeaveOutIsThereAllTheSame) {
    desktop.add("installed", "nodisplay.desktop", "a", "NoDisplay=true\n");
    desktop.add("installed", "elsewhere.desktop", "b", "OnlyShowIn=Ailleurs;\n");
    desktop.add("installed", "shown.desktop", "c");
    for (const char* identifier : {"nodisplay.desktop", "elsewhere.desktop", "shown.desktop"})
        ASSERT_TRUE(hasRead(identifier)) << identifier;
    EXPECT_FALSE(application("nodisplay.desktop")->isShown);
    EXPECT_FALSE(application("elsewhere.desktop")->isShown);
    EXPECT_TRUE(application("shown.desktop")->isShown);
}

TEST_F(WorkspaceGioTest, aStartedApplicationHasNothingOfOurs) {
    qputenv("XDG_ACTIVATION_TOKEN", "stale");
    qputenv("DESKTOP_STARTUP_ID", "stale");
    qputenv("NOTIFY_SOCKET", "/run/x");
    qputenv("VENNIC_TEST_KEPT", "kept");
    desktop.add("installed", "plain.desktop", "plain");
    ::umask(0027);
    rlimit core{};
    ::getrlimit(RLIMIT_CORE, &core);
    core.rlim_cur = std::min<rlim_t>(core.rlim_max, 1 << 20);
    ::setrlimit(RLIMIT_CORE, &core);
    limitProcess();
    ::getrlimit(RLIMIT_CORE, &core);
    EXPECT_EQ(core.rlim_cur, 0U);
    QFile open(desktop.data("open"));
    ASSERT_TRUE(open.open(QIODevice::WriteOnly));
    ASSERT_GE(::dup(open.handle()), 0); // without close-on-exec
    const QStringList lines = start("plain.desktop", "plain");
    const QStringList descriptors = about("descriptor", lines);
    EXPECT_GE(descriptors.size(), 3);
    // Beside these, the shell's own: where it writes its log, and its script.
    EXPECT_EQ(descriptors.filter(QRegularExpression(QStringLiteral("(?<! /dev/null|/plain\\.log\\.fd|/program)$"))),
              QStringList());
    EXPECT_EQ(about("(DESKTOP_STARTUP_ID|XDG_ACTIVATION_TOKEN|NOTIFY_SOCKET|VENNIC_TEST_KEPT)", lines),
              QStringList{QStringLiteral("VENNIC_TEST_KEPT kept")});
    EXPECT_EQ(about("umask", lines), QStringList{QStringLiteral("umask 0027")});
    EXPECT_EQ(about("core", lines),
              QStringList{QStringLiteral("core %1").arg(std::min<rlim_t>(core.rlim_max, 1 << 20))});
    EXPECT_EQ(about("session", lines), QStringList{QStringLiteral("session own")});
    EXPECT_EQ(about("SigBlk", lines), QStringList{QStringLiteral("SigBlk 0000000000000000")});
    EXPECT_EQ(about("SigIgn", lines), QStringList{QStringLiteral("SigIgn 0000000000000000")});
}

TEST_F(WorkspaceGioTest, anApplicationThatTellsOfItsStartGetsAnIdWithTheTime) {
    desktop.add("installed", "telling.desktop", "telling", "StartupNotify=true\n");
    const QStringList ids = about("DESKTOP_STARTUP_ID", start("telling.desktop", "telling"));
    ASSERT_EQ(ids.size(), 1);
    const auto match = QRegularExpression(QStringLiteral("vennic-\\d+-\\d+_TIME(\\d+)$")).match(ids[0]);
    ASSERT_TRUE(match.hasMatch()) << ids[0].toStdString();
    const auto now =
        static_cast<quint32>(std::chrono::steady_clock::now().time_since_epoch() / std::chrono::milliseconds{1});
    EXPECT_LT(now - match.captured(1).toUInt(), 60'000U);
}

TEST_F(WorkspaceGioTest, withoutATerminalAnApplicationOfTheTerminalSaysSo) {
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/absent");
    desktop.add("installed", "terminal.desktop", "terminal", "Terminal=true\n");
    const QString words = failureOf("terminal.desktop");
    qputenv("PATH", path);
    EXPECT_EQ(words, QStringLiteral("« terminal » a besoin d'un terminal, et il n'y en a pas."));
    EXPECT_FALSE(QFile::exists(desktop.log("terminal")));
}

TEST_F(WorkspaceGioTest, anEntryThatHasGoneMeanwhileFailsInWords) {
    desktop.add("installed", "going.desktop", "going");
    ASSERT_TRUE(hasRead("going.desktop"));
    QFile::remove(desktop.entry("installed", "going.desktop"));
    EXPECT_EQ(failureOf("going.desktop"), QStringLiteral("L'application n'est plus installée."));
}

TEST_F(WorkspaceGioTest, aBusThatStartsTheApplicationIsAskedAndItsRefusalTold) {
    const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
    desktop.add("installed", "org.example.OnTheBus.desktop", "OnTheBus", "DBusActivatable=true\n");
    EXPECT_EQ(failureOf("org.example.OnTheBus.desktop"),
              QStringLiteral("Personne ne répond à ce nom sur le bus de la session."));
    EXPECT_FALSE(QFile::exists(desktop.log("OnTheBus")));
}

TEST_F(WorkspaceGioTest, anApplicationOnTheBusIsToldToShowItselfAndWhy) {
    const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
    desktop.add("installed", "org.example.On-Bus.desktop", "OnBus", "DBusActivatable=true\n");
    const QString entry = desktop.entry("installed", "org.example.On-Bus.desktop");
    using Manner = ApplicationOnTheBus::Manner;
    const QString name = QStringLiteral("org.example.On-Bus");
    const QString path = QStringLiteral("/org/example/On_Bus");
    {
        ApplicationOnTheBus application(bus, name, path, Manner::willing);
        EXPECT_EQ(await(onPoolWaiting(openOnPool, entry)), QStringLiteral("no failure"));
        ASSERT_EQ(application.told.size(), 1U);
        EXPECT_EQ(application.told[0].interface(), QStringLiteral("org.freedesktop.Application"));
        EXPECT_EQ(application.told[0].member(), QStringLiteral("Activate"));
        const auto about = qdbus_cast<QVariantMap>(application.told[0].arguments().value(0));
        const QString id = about.value(QStringLiteral("desktop-startup-id")).toString();
        EXPECT_TRUE(id.startsWith(QStringLiteral("vennic-")) && id.contains(QStringLiteral("_TIME")))
            << id.toStdString();
        EXPECT_EQ(about.value(QStringLiteral("activation-token")).toString(), id);
    }
    {
        const ApplicationOnTheBus application(bus, name, path, Manner::refusing);
        EXPECT_EQ(await(onPoolWaiting(openOnPool, entry)), QStringLiteral("Pas maintenant."));
    }
    EXPECT_FALSE(QFile::exists(desktop.log("OnBus")));
}

TEST_F(WorkspaceGioTest, anApplicationThatNeverAnswersIsGivenUpWhenAsked) {
    const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
    desktop.add("installed", "org.example.Mute.desktop", "Mute", "DBusActivatable=true\n");
    const ApplicationOnTheBus application(bus, QStringLiteral("org.example.Mute"), QStringLiteral("/org/example/Mute"),
                                          ApplicationOnTheBus::Manner::mute);
    QString words;
    std::stop_source source;
    std::thread opening(
        [&] { words = openOnPool(source.get_token(), desktop.entry("installed", "org.example.Mute.desktop")); });
    EXPECT_TRUE(waitUntil([&] { return application.told.size() == 1; }));
    source.request_stop();
    opening.join();
    EXPECT_EQ(words, QStringLiteral("La demande a été interrompue."));
}

TEST_F(WorkspaceGioTest, aDocumentGoesToAnApplicationOnTheBusAsItsAddress) {
    const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
    desktop.add("installed", "org.example.Viewer.desktop", "Viewer", "DBusActivatable=true\nMimeType=image/png;\n");
    MadeUpDesktop::write(desktop.data("own") + QStringLiteral("/applications/mimeapps.list"),
                         "[Default Applications]\nimage/png=org.example.Viewer.desktop;\n");
    MadeUpDesktop::write(desktop.data("installed") + QStringLiteral("/mime/globs2"),
                         "50:image/png:*.png\n50:text/plain:*.txt\n");
    const QString document = desktop.data("été.png");
    MadeUpDesktop::write(document, "x");
    ASSERT_TRUE(hasRead("org.example.Viewer.desktop"));
    ApplicationOnTheBus application(bus, QStringLiteral("org.example.Viewer"), QStringLiteral("/org/example/Viewer"),
                                    ApplicationOnTheBus::Manner::willing);
    const auto open = [](const QString& path) { WorkspaceGio().open(path, {}); };
    await(onPool(open, document));
    ASSERT_EQ(application.told.size(), 1U);
    EXPECT_EQ(application.told[0].member(), QStringLiteral("Open"));
    EXPECT_EQ(application.told[0].arguments().value(0).toStringList(),
              QStringList{QString::fromLatin1(QUrl::fromLocalFile(document).toEncoded())});
}

TEST_F(WorkspaceGioTest, withoutABusSuchAnApplicationIsStartedByItsCommand) {
    desktop.add("installed", "org.example.Alone.desktop", "Alone", "DBusActivatable=true\n");
    EXPECT_FALSE(start("org.example.Alone.desktop", "Alone").isEmpty());
}

TEST_F(WorkspaceGioTest, aStartLeavesNoConnectionToTheBusBehind) {
    desktop.add("installed", "plain.desktop", "plain");
    desktop.add("installed", "org.example.OnTheBus.desktop", "OnTheBus", "DBusActivatable=true\n");
    desktop.add("installed", "org.example.Telling.desktop", "Telling", "DBusActivatable=true\nStartupNotify=true\n");
    ASSERT_TRUE(hasRead("plain.desktop") && hasRead("org.example.OnTheBus.desktop"));
    const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
    const auto sockets = [] {
        const QDir own(QStringLiteral("/proc/self/fd"));
        return std::ranges::count_if(own.entryList(QDir::System | QDir::Files), [&](const QString& each) {
            return QFile::symLinkTarget(own.filePath(each)).contains(QStringLiteral("socket:"));
        });
    };
    const auto before = sockets();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(failureOf("plain.desktop"), QStringLiteral("no failure"));
        EXPECT_NE(failureOf("org.example.OnTheBus.desktop"), QStringLiteral("no failure"));
        EXPECT_NE(failureOf("org.example.Telling.desktop"), QStringLiteral("no failure"));
    }
    EXPECT_TRUE(waitUntil([&] { return sockets() == before; }));
}

TEST_F(WorkspaceGioTest, theEndOfTheBusIsNotOurs) {
    desktop.add("installed", "plain.desktop", "plain");
    ASSERT_TRUE(hasRead("plain.desktop"));
    auto bus = std::make_unique<PrivateBus>(PrivateBus::Kind::session, desktop.data("."));
    // As anything of GIO's may have it, and ready to end this process.
    const GlibOwned<GDBusConnection> kept(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    ASSERT_TRUE(kept && g_dbus_connection_get_exit_on_close(kept.get()));
    EXPECT_EQ(failureOf("plain.desktop"), QStringLiteral("no failure"));
    EXPECT_FALSE(g_dbus_connection_get_exit_on_close(kept.get()));
    bus.reset();
    EXPECT_TRUE(waitUntil([&] { return g_dbus_connection_is_closed(kept.get()) != FALSE; }));
    QElapsedTimer quiet;
    quiet.start();
    waitUntil([&] { return quiet.hasExpired(50); }); // the end would come out of the event loop
}

TEST_F(WorkspaceGioTest, afterTheEndOfABusTheNextOneIsUsed) {
    desktop.add("installed", "org.example.Again.desktop", "Again", "DBusActivatable=true\n");
    desktop.add("installed", "before.desktop", "before");
    QString words;
    {
        const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
        EXPECT_FALSE(start("before.desktop", "before").isEmpty());
        words = failureOf("org.example.Again.desktop");
    }
    const PrivateBus next(PrivateBus::Kind::session, desktop.data("."));
    // The new bus's refusal, not the old one's absence, as soon as the old one's end has been noticed.
    EXPECT_TRUE(waitUntil([&] { return failureOf("org.example.Again.desktop") == words; }));
}

TEST_F(WorkspaceGioTest, aConnectionStillInUseWhenItsBusEndsMakesWayForTheNext) {
    desktop.add("installed", "org.example.Again.desktop", "Again", "DBusActivatable=true\n");
    desktop.add("installed", "plain.desktop", "plain");
    QString words;
    GlibOwned<GDBusConnection> kept;
    {
        const PrivateBus bus(PrivateBus::Kind::session, desktop.data("."));
        EXPECT_EQ(failureOf("plain.desktop"), QStringLiteral("no failure"));
        kept.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)); // what the start still tells the bus by
        words = failureOf("org.example.Again.desktop");
    }
    ASSERT_TRUE(kept);
    EXPECT_TRUE(waitUntil([&] { return g_dbus_connection_is_closed(kept.get()) != FALSE; }));
    kept.reset();
    const PrivateBus next(PrivateBus::Kind::session, desktop.data("."));
    EXPECT_TRUE(waitUntil([&] { return failureOf("org.example.Again.desktop") == words; }));
}

TEST_F(WorkspaceGioTest, aBusThatNeverAnswersIsGivenUpWhenAsked) {
    const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(desktop.data("mute-bus"));
    ASSERT_LT(path.size(), static_cast<qsizetype>(sizeof address.sun_path));
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    ASSERT_EQ(::bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening, 5), 0);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    desktop.add("installed", "waiting.desktop", "waiting");
    std::stop_source source;
    std::thread asking([&] {
        const int connected = ::accept(listening, nullptr, nullptr); // the bus has been asked, and says nothing
        source.request_stop();
        ::close(connected);
    });
    EXPECT_EQ(failureOf("waiting.desktop", source.get_token()), QStringLiteral("La demande a été interrompue."));
    asking.join();
    ::close(listening);
    EXPECT_FALSE(QFile::exists(desktop.log("waiting")));
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

TEST_F(WorkspaceGioTest, aDocumentIsOpenedWithItsDefaultApplication) {
    desktop.add("installed", "reader.desktop", "reader", "MimeType=text/plain;\n");
    MadeUpDesktop::write(desktop.data("installed") + QStringLiteral("/applications/mimeinfo.cache"),
                         "[MIME Cache]\ntext/plain=reader.desktop;\n");
    MadeUpDesktop::write(desktop.data("installed") + QStringLiteral("/mime/globs2"),
                         "50:image/png:*.png\n50:text/plain:*.txt\n");
    const QString document = desktop.data("-été & $(x).txt");
    MadeUpDesktop::write(document, "x");
    ASSERT_TRUE(hasRead("reader.desktop"));
    workspace.open(document, {});
    EXPECT_EQ(about("argument", logged("reader")), QStringList{QStringLiteral("argument ") + document});
    EXPECT_THROW(workspace.open(desktop.data("absent.txt"), {}), LocalizedError);
}
