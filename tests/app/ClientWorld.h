#pragma once
#include "app/Client.h"
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
    std::unique_ptr<Client> built;
};

} // namespace vennic::test
