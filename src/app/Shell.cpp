#include "app/Shell.h"

#include "Bridge/LocalLinks.h"

namespace vennic {

namespace {
/// Addresses that are being opened at a time; a page that asks for more is up to something.
constexpr std::size_t mostOpenings = 8;

bool leadsToAFile(const QString& address) { return address.startsWith(documentLink) || address.startsWith(photoLink); }
} // namespace

Shell::Shell(Surroundings surroundings)
    : with_(std::move(surroundings)), links_(with_.client), menuBar_({.popover = with_.popover,
                                                                      .windows = with_.windows,
                                                                      .dialogs = with_.client.dialogs(),
                                                                      .pointer = with_.pointer,
                                                                      .images = with_.images,
                                                                      .makeStatusItem = with_.makeStatusItem,
                                                                      .clock = clock_}),
      commands_({.store = with_.client.preferences(), .windows = with_.windows, .menuBar = menuBar_, .clock = clock_}),
      delegate_({.session = with_.client.session(),
                 .store = with_.client.preferences(),
                 .windows = with_.windows,
                 .dialogs = with_.client.dialogs(),
                 .menuBar = menuBar_,
                 .commands = commands_,
                 .summon = with_.summon,
                 .urls = deepLinks_}) {
    QObject::connect(&menuBar_, &MenuBarController::popoverUnavailable, &menuBar_,
                     [this](const QString& reason) { warn(reason); });
    MenuBarController::install(&menuBar_);
}

void Shell::start() {
    delegate_.applicationDidFinishLaunching();
    with_.desktop.offer({.activate =
                             [this] {
                                 if (!with_.popover.isShown())
                                     menuBar_.toggleFromStatusItem(std::nullopt);
                             },
                         .open = [this](const QStringList& addresses) { open(addresses); },
                         .act = [this](const QString& action) { act(action); }});
}

void Shell::end() {
    with_.desktop.withdraw();
    delegate_.applicationWillTerminate();
    MenuBarController::install(nullptr);
}

void Shell::comeForward() {
    if (!with_.popover.isShown())
        menuBar_.togglePopover();
}

void Shell::act(const QString& action) {
    if (action == QLatin1String("quit"))
        terminate();
    else if (action == QLatin1String("toggle"))
        menuBar_.handleDoubleCommand();
    else if (action == QLatin1String("settings"))
        openSettings(SettingsTab::general);
}

void Shell::openSettings(SettingsTab tab) {
    try {
        commands_.openSettingsWindow(tab);
    } catch (const LocalizedError& error) {
        warn(error.errorDescription());
    }
}

void Shell::terminate() {
    if (isAsking_)
        return;
    isAsking_ = true;
    jobs_.start(askAndQuit());
}

Task<> Shell::askAndQuit() {
    const auto reply = co_await delegate_.applicationShouldTerminate();
    isAsking_ = false;
    if (reply == AppDelegate::TerminateReply::now)
        with_.quit();
}

void Shell::open(const QStringList& addresses) {
    for (const QString& address : addresses) {
        if (!leadsToAFile(address))
            deepLinks_.take(address);
        else if (jobs_.size() < mostOpenings)
            jobs_.start(openDocument(address));
    }
}

Task<> Shell::openDocument(QString address) {
    try {
        const auto failure = co_await links_.open(std::move(address));
        if (failure && !failure->wasShown)
            warn(failure->reason);
    } catch (const LocalizedError& error) {
        warn(error.errorDescription());
    }
}

void Shell::DeepLinks::take(const QString& address) const {
    if (handler_)
        handler_(address);
}

void Shell::warn(const QString& reason) { with_.client.warn(QStringLiteral("Vennic"), reason); }

} // namespace vennic
