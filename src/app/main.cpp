#include "app/Application.h"
#include "app/Client.h"
#include "app/ClientCommands.h"
#include "app/CommandClient.h"
#include "app/Shell.h"
#include "app/Surfaces.h"
#include "linux/InstanceSocket.h"
#include "linux/ProcessLimits.h"
#include "linux/SignalWatch.h"
#include "linux/Terminal.h"
#include "linux/desktop/DesktopActivationBus.h"
#include "linux/desktop/DesktopAppearancePortal.h"
#include "linux/desktop/PointerX11.h"
#include "linux/desktop/StatusImagesInstalled.h"
#include "linux/desktop/StatusItemDesktop.h"
#include "linux/desktop/WindowActivation.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QGuiApplication>
#include <QScopeGuard>

#include <thread>

using namespace vennic;

namespace {

constexpr auto handOverPatience = std::chrono::seconds{10};

/// The answer of the running client to a request. None when nobody takes requests: it has yet to begin, is ending, or
/// was killed while it started a program, which holds its place until it is itself.
std::optional<QByteArray> askRunning(Instance& instance, const CommandRequest& request) {
    try {
        return instance.ask(encodeCommandRequest(request), handOverPatience);
    } catch (const InstanceHungUp&) {
        return std::nullopt;
    }
}

/// Has the running client come forward, or open the addresses. None when nobody takes requests.
std::optional<ExitStatus> handOver(Instance& instance, const QStringList& addresses, const QString& token) {
    // The desktop's road first: it is the one that knows which program the user just worked with.
    if ((!addresses.isEmpty() || !token.isEmpty()) &&
        DesktopActivationBus().handOver(addresses, token, handOverPatience))
        return ExitStatus::done;
    std::vector<CommandRequest> requests;
    for (const QString& address : addresses)
        requests.push_back({QStringLiteral("open"), {address}, {}});
    if (requests.empty())
        requests.push_back({QStringLiteral("activate"), {}, {}});
    ExitStatus worst = ExitStatus::done;
    for (const CommandRequest& request : requests) {
        const auto answer = askRunning(instance, request);
        if (!answer)
            return std::nullopt;
        const auto decoded = decodeCommandAnswer(*answer);
        if (!decoded)
            throw LocalizedError(QStringLiteral("Vennic a donné une réponse incompréhensible."));
        worst = std::max(worst, printAnswer(*decoded));
    }
    return worst;
}

QString reasonForNoScreen() { return QStringLiteral("Vennic tourne sans écran : il n'y a rien à ouvrir."); }

std::unique_ptr<StatusItem> makeStatusItem() {
    if (hasWindows())
        return std::make_unique<StatusItemDesktop>();
    return std::make_unique<NoStatusItem>();
}

/// On Wayland no program is told of presses over others; what X windows there are would be half of the truth.
std::unique_ptr<Pointer> makePointer() {
    if (hasWindows() && QGuiApplication::platformName() == QLatin1String("xcb"))
        return std::make_unique<PointerX11>();
    return std::make_unique<NoPointer>();
}

/// Runs the client until it is asked to end, or hands over to the one that runs already.
/// `token` is what the desktop gave it for that.
ExitStatus runClient(const Paths& paths, InstanceSocket& instance, const QStringList& addresses, const QString& token) {
    std::optional<ClientCommands> commands;
    // The place is taken before anything is opened: two clients never share a store.
    const auto answer = [&commands](QByteArray request) { return commands->answer(std::move(request)); };
    const QDeadlineTimer deadline(handOverPatience);
    while (!instance.claim(answer)) {
        if (const auto status = handOver(instance, addresses, token))
            return *status;
        if (deadline.hasExpired())
            throw LocalizedError(QStringLiteral("Vennic tourne déjà, mais ne répond pas."));
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
    }
    Client client(paths, Deployment::load(paths.resources + QStringLiteral("/deployment.json")));
    // From the event loop, so that who asked for the end is answered first.
    const auto quit = [&client] {
        client.end([] {
            QMetaObject::invokeMethod(
                QCoreApplication::instance(), [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
        });
    };
    NoPopover noPopover(reasonForNoScreen());
    NoApplicationWindows noWindows(reasonForNoScreen());
    Shell* asked = nullptr; // by the surfaces; they are made before it
    WindowActivation activation;
    activation.allow(token);
    std::unique_ptr<DesktopAppearancePortal> appearance;
    std::optional<Surfaces> surfaces;
    if (hasWindows()) {
        appearance = DesktopAppearancePortal::ofThisDesktop();
        client.follow(*appearance);
        surfaces.emplace(
            Surfaces::Surroundings{.client = client,
                                   .appearance = *appearance,
                                   .screenModule = paths.screenModule(),
                                   .followLink = [&asked](const QString& address) { asked->follow(address); },
                                   .openSettings = [&asked] { asked->openSettings(SettingsTab::general); },
                                   .manageModels = [&asked] { asked->openSettings(SettingsTab::localLlm); },
                                   .terminate = [&asked] { asked->terminate(); },
                                   .presented = [&activation](quint64 window) { activation.present(window); }});
    }
    Popover& popover = surfaces ? surfaces->popover() : noPopover;
    ApplicationWindows& windows = surfaces ? surfaces->windows() : noWindows;
    const StatusImagesInstalled images(paths.resources);
    const auto pointer = makePointer();
    NoSummonMonitor summon;
    DesktopActivationBus desktop;
    Shell shell({.client = client,
                 .popover = popover,
                 .windows = windows,
                 .pointer = *pointer,
                 .images = images,
                 .makeStatusItem = makeStatusItem,
                 .summon = summon,
                 .desktop = desktop,
                 .quit = quit,
                 .allow = [&activation](const QString& given) { activation.allow(given); }});
    asked = &shell;
    // Before the client goes, which the requests still being answered use.
    const auto hangUp = qScopeGuard([&instance, &shell] {
        instance.hangUp();
        shell.end();
    });
    commands.emplace(client, shell, quit);
    const SignalWatch endings(quit);
    const auto endOfSession = watchEndOfSession(quit);
    shell.start();
    shell.open(addresses);
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
    const QString token = WindowActivation::ofThisProcess(); // before the toolkit takes it
    const auto application = makeApplication();
    try {
        return static_cast<int>(runClient(paths, instance, parsed.line.addresses, token));
    } catch (const LocalizedError& error) {
        writeError(error.errorDescription() + QLatin1Char('\n'));
        return static_cast<int>(ExitStatus::failed);
    }
}
