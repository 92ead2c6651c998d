#include "app/Shell.h"

#include "Bridge/LocalLinks.h"

namespace vennic {

namespace {
/// Links that are being followed at a time, until their failures are read; a page that asks for more is up to
/// something.
constexpr std::size_t mostOpenings = 8;

bool leadsToAFile(const QString& address) { return address.startsWith(documentLink) || address.startsWith(photoLink); }
} // namespace

Shell::Shell(Surroundings surroundings)
    : with_(std::move(surroundings)), links_({.idCache = with_.client.bridge().idCache(),
                                              .photos = with_.client.sharedPhotos(),
                                              .workspace = with_.client.workspace(),
                                              .dialogs = with_.client.dialogs()}),
      menuBar_({.popover = with_.popover,
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
        if (leadsToAFile(address))
            follow(address);
        else
            deepLinks_.take(address);
    }
}

void Shell::follow(const QString& address) {
    if (following_.size() < mostOpenings)
        following_.start(links_.follow(address));
}

void Shell::DeepLinks::take(const QString& address) const {
    if (handler_)
        handler_(address);
}

void Shell::warn(const QString& reason) { with_.client.warn(QStringLiteral("Vennic"), reason); }

} // namespace vennic
