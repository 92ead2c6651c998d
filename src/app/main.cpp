#include "app/Client.h"
#include "app/ClientCommands.h"
#include "app/CommandClient.h"
#include "linux/InstanceSocket.h"
#include "linux/ProcessLimits.h"
#include "linux/SignalWatch.h"
#include "linux/Terminal.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QScopeGuard>

#include <thread>

using namespace vennic;

namespace {

constexpr auto handOverPatience = std::chrono::seconds{10};

/// The answer of the running client when it is asked to come forward. None when nobody takes requests: it has yet to
/// begin, is ending, or was killed while it started a program, which holds its place until it is itself.
std::optional<QByteArray> askForward(Instance& instance) {
    try {
        return instance.ask(encodeCommandRequest({QStringLiteral("activate"), {}, {}}), handOverPatience);
    } catch (const InstanceHungUp&) {
        return std::nullopt;
    }
}

/// Has the running client come forward. None when nobody takes requests.
std::optional<ExitStatus> handOver(Instance& instance) {
    const auto answer = askForward(instance);
    if (!answer)
        return std::nullopt;
    const auto decoded = decodeCommandAnswer(*answer);
    if (!decoded)
        throw LocalizedError(QStringLiteral("Vennic a donné une réponse incompréhensible."));
    writeOutput(decoded->text + QLatin1Char('\n'));
    return decoded->status;
}

/// Runs the client until it is asked to end, or hands over to the one that runs already.
ExitStatus runClient(const Paths& paths, InstanceSocket& instance) {
    std::optional<ClientCommands> commands;
    // The place is taken before anything is opened: two clients never share a store.
    const auto answer = [&commands](QByteArray request) { return commands->answer(std::move(request)); };
    const QDeadlineTimer deadline(handOverPatience);
    while (!instance.claim(answer)) {
        if (const auto status = handOver(instance))
            return *status;
        if (deadline.hasExpired())
            throw LocalizedError(QStringLiteral("Vennic tourne déjà, mais ne répond pas."));
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
    Client client(paths, Deployment::load(paths.resources + QStringLiteral("/deployment.json")));
    // Before the client goes, which the requests still being answered use.
    const auto hangUp = qScopeGuard([&instance] { instance.hangUp(); });
    // From the event loop, so that who asked for the end is answered first.
    const auto quit = [&client] {
        client.end([] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection); });
    };
    commands.emplace(client, quit);
    const SignalWatch endings(quit);
    return static_cast<ExitStatus>(QCoreApplication::exec());
}

} // namespace

int main(int argc, char** argv) {
    limitProcess();
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QFile::decodeName(argv[i]));
    const ParsedCommandLine parsed = parseCommandLine(arguments);
    if (parsed.error) {
        writeError(*parsed.error + QLatin1Char('\n'));
        return static_cast<int>(ExitStatus::usage);
    }
    if (parsed.line.help) {
        writeOutput(helpText(parsed.line.verb));
        return 0;
    }
    if (parsed.line.version) {
        writeOutput(QStringLiteral("vennic " VENNIC_VERSION "\n"));
        return 0;
    }
    const Paths paths = Paths::ofThisProcess();
    InstanceSocket instance(paths.runtime);
    if (parsed.line.verb)
        return static_cast<int>(runVerb(parsed.line, paths, instance));
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vennic"));
    try {
        return static_cast<int>(runClient(paths, instance));
    } catch (const LocalizedError& error) {
        writeError(error.errorDescription() + QLatin1Char('\n'));
        return static_cast<int>(ExitStatus::failed);
    }
}
