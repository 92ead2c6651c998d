#include "app/Client.h"
#include "app/ClientCommands.h"
#include "app/CommandClient.h"
#include "linux/InstanceSocket.h"
#include "linux/ProcessLimits.h"
#include "linux/SignalWatch.h"
#include "linux/Terminal.h"

#include <QCoreApplication>
#include <QFile>

using namespace vennic;

namespace {

constexpr auto handOverPatience = std::chrono::seconds{10};

/// Runs the client until it is asked to end, or hands over to the one that runs already.
ExitStatus runClient(const Paths& paths, InstanceSocket& instance) {
    std::optional<ClientCommands> commands;
    // The place is taken before anything is opened: two clients never share a store.
    const bool first = instance.claim([&commands](QByteArray request) { return commands->answer(std::move(request)); });
    if (!first) {
        const auto answer = instance.ask(encodeCommandRequest({QStringLiteral("activate"), {}, {}}), handOverPatience);
        const auto decoded = answer ? decodeCommandAnswer(*answer) : std::nullopt;
        if (!decoded)
            throw LocalizedError(QStringLiteral("Vennic tourne déjà, mais ne répond pas."));
        writeOutput(decoded->text + QLatin1Char('\n'));
        return decoded->status;
    }
    Client client(paths, Deployment::load(paths.resources + QStringLiteral("/deployment.json")));
    // From the event loop, so that who asked for the end is answered first.
    const auto quit = [] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection); };
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
