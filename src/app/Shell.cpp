#include "app/Shell.h"

namespace vennic {

namespace {
/// Addresses that are being opened at a time; a page that asks for more is up to something.
constexpr std::size_t mostOpenings = 8;
} // namespace

Shell::Shell(Surroundings surroundings)
    : with_(std::move(surroundings)), links_(with_.client), menuBar_({.popover = with_.popover,
                                                                      .windows = with_.windows,
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
    with_.desktop.offer({.activate = [this] { activate(); },
                         .open = [this](const QStringList& addresses) { open(addresses); },
                         .act = [this](const QString& action) { act(action); },
                         .allow = with_.allow});
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

void Shell::activate() {
    try {
        comeForward();
    } catch (const LocalizedError& error) {
        warn(error.errorDescription());
    }
}

void Shell::act(const QString& action) {
    if (action == QLatin1String("quit"))
        terminate();
    else if (action == QLatin1String("toggle"))
        menuBar_.handleDoubleCommand();
    else if (action == QLatin1String("settings"))
        try {
            commands_.openSettingsWindow(SettingsTab::general);
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
        if (!deepLinks_.take(address) && jobs_.size() < mostOpenings)
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

bool Shell::DeepLinks::take(const QString& address) const {
    if (!handler_ || !anchorOfDesktopDeepLink(QUrl(address, QUrl::StrictMode)))
        return false;
    handler_(address);
    return true;
}

void Shell::warn(const QString& reason) { with_.client.warn(QStringLiteral("Vennic"), reason); }

} // namespace vennic
