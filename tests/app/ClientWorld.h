#pragma once
#include "app/Shell.h"
#include "fakes/ApplicationWindowsFake.h"
#include "fakes/DesktopActivationFake.h"
#include "fakes/PointerFake.h"
#include "fakes/PopoverFake.h"
#include "fakes/StatusItemFake.h"
#include "support/Answers.h"
#include "support/LoopbackServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

/// A whole client in folders of its own, without buses, against a scripted backend behind TLS on loopback.
struct ClientWorld : testing::Test {
    ClientWorld() {
        // No bus is there: the file vault keeps the token, and nothing of the machine's user is touched.
        for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
            qputenv(bus, "unix:path=" + QFile::encodeName(root.filePath(QStringLiteral("no-bus"))));
        QDir().mkpath(paths.resources);
        QDir().mkpath(paths.data);
        QFile pem(paths.resources + QStringLiteral("/pinned-roots.pem"));
        EXPECT_TRUE(pem.open(QIODevice::WriteOnly));
        pem.write("-----BEGIN CERTIFICATE-----\n" + LoopbackServer::authority().der().toBase64() +
                  "\n-----END CERTIFICATE-----\n");
    }

    Client& client() {
        if (!built)
            built = std::make_unique<Client>(paths, Deployment{.backendUrl = server.url({}).toString(),
                                                               .backendDomain = QStringLiteral("127.0.0.1"),
                                                               .apiHost = QStringLiteral("127.0.0.1"),
                                                               .pairingPage = {},
                                                               .packageManagerSite = {}});
        return *built;
    }
    Shell& shell() {
        if (!builtShell)
            builtShell = std::make_unique<Shell>(
                Shell::Surroundings{.client = client(),
                                    .popover = popover,
                                    .windows = windows,
                                    .pointer = pointer,
                                    .images = images,
                                    .makeStatusItem = [] { return std::make_unique<NoStatusItem>(); },
                                    .summon = summon,
                                    .desktop = desktop,
                                    .quit = [this] { ++quitsOfShell; },
                                    .allow = [this](const QString& token) { allowed.append(token); }});
        return *builtShell;
    }
    QString folder(const QString& name) {
        const QString path = root.filePath(name);
        QDir().mkpath(path);
        return path;
    }

    QTemporaryDir root;
    Paths paths{.data = root.filePath(QStringLiteral("data")),
                .cache = root.filePath(QStringLiteral("cache")),
                .runtime = root.filePath(QStringLiteral("run")),
                .resources = root.filePath(QStringLiteral("share")),
                .programs = QStringLiteral(VENNIC_PROGRAMS)};
    LoopbackServer server;
    PopoverFake popover;
    QStringList allowed; // tokens for the next window
    PointerFake pointer;
    ApplicationWindowsFake windows;
    StatusImagesFake images;
    NoSummonMonitor summon;
    DesktopActivationFake desktop;
    int quitsOfShell = 0;
    std::unique_ptr<Client> built;
    std::unique_ptr<Shell> builtShell;
};

} // namespace vennic::test
