#include "support/PrivateBus.h"

#include "support/Await.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

#include <stdexcept>

namespace vennic::test {

namespace {

void end(QProcess& process) {
    process.terminate();
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished();
    }
}

} // namespace

PrivateBus::PrivateBus(Kind kind, const QString& folder)
    : variable_(kind == Kind::session ? "DBUS_SESSION_BUS_ADDRESS" : "DBUS_SYSTEM_BUS_ADDRESS") {
    const QString type = kind == Kind::session ? QStringLiteral("session") : QStringLiteral("system");
    socket_ = QStringLiteral("%1/%2-bus").arg(folder, type);
    address_ = QStringLiteral("unix:path=") + socket_;
    configuration_ = QStringLiteral("%1/%2.conf").arg(folder, type);
    QFile configuration(configuration_);
    if (!configuration.open(QIODevice::WriteOnly))
        throw std::runtime_error("the bus's configuration could not be written");
    configuration.write(QStringLiteral("<busconfig><type>%1</type><listen>%2</listen><auth>EXTERNAL</auth>"
                                       "<policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
                                       "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                                       "</policy></busconfig>")
                            .arg(type, address_)
                            .toUtf8());
    configuration.close();
    start();
    qputenv(variable_.constData(), address_.toUtf8());
}

void PrivateBus::stop() { end(process_); }

void PrivateBus::start() {
    QFile::remove(socket_);
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"), QStringLiteral("--print-address"),
                    QStringLiteral("--config-file=") + configuration_});
    if (!process_.waitForStarted() || !process_.waitForReadyRead(10000)) // it prints once it listens
        throw std::runtime_error("dbus-daemon could not be started");
}

PrivateBus::~PrivateBus() {
    end(process_);
    qunsetenv(variable_.constData());
}

bool PrivateBus::waitForOwner(const QString& name) const {
    const QString connectionName = QStringLiteral("test-watch");
    auto connection = QDBusConnection::connectToBus(address_, connectionName);
    const bool owned = waitUntil([&] { return connection.interface()->isServiceRegistered(name).value(); });
    QDBusConnection::disconnectFromBus(connectionName);
    return owned;
}

PrivateProcess::PrivateProcess(const QString& program, const QStringList& arguments, const QString& folder,
                               const QByteArray& input) {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), folder);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), folder);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), folder + QStringLiteral("/data"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), folder + QStringLiteral("/config"));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), folder + QStringLiteral("/cache"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    process_.setProcessEnvironment(environment);
    process_.setStandardErrorFile(QProcess::nullDevice());
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.start(program, arguments);
    if (!process_.waitForStarted())
        throw std::runtime_error("a test's process could not be started");
    process_.write(input);
    process_.closeWriteChannel();
    process_.waitForBytesWritten(1000);
}

PrivateProcess::~PrivateProcess() { end(process_); }

} // namespace vennic::test
