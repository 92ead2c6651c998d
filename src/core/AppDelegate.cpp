#include "core/AppDelegate.h"

#include "base/Localized.h"

namespace vennic {

namespace {

constexpr qsizetype longestAddress = qsizetype{8} * 1024; // longer than any link that the program gives out

DialogQuestion quitQuestion() {
    return {
        .title = localized("Quitter Vennic ?"),
        .informativeText = localized("Le bridge local et le LLM local ne traiteront plus aucune requête tant que "
                                     "Vennic est fermé."),
        .accept = localized("Quitter"),
        .refuse = localized("Annuler"),
        .style = DialogStyle::informational,
        .suppression = localized("Ne plus demander"),
    };
}

} // namespace

void AppDelegate::applicationDidFinishLaunching() {
    with_.menuBar.configure(&with_.session);
    with_.summon.bind(with_.session, [this] { with_.menuBar.handleDoubleCommand(); });
    with_.urls.setHandler([this](const std::optional<QString>& address) { handleIncomingURL(address); });
}

Task<AppDelegate::TerminateReply> AppDelegate::applicationShouldTerminate() {
    if (storedAs<bool>(with_.store, PreferenceKey::suppressQuitConfirmation).value_or(false))
        co_return TerminateReply::now;
    with_.windows.activate();
    switch (co_await with_.dialogs.ask(quitQuestion())) {
    case DialogAnswer::refused:
        co_return TerminateReply::cancel;
    case DialogAnswer::acceptedForGood:
        with_.store.set(PreferenceKey::suppressQuitConfirmation, true);
        break;
    case DialogAnswer::accepted:
    case DialogAnswer::none:
        break;
    }
    co_return TerminateReply::now;
}

void AppDelegate::applicationWillTerminate() {
    with_.summon.stop();
    with_.urls.removeHandler();
}

void AppDelegate::handleIncomingURL(const std::optional<QString>& address) {
    if (!address || address->size() > longestAddress)
        return;
    const QUrl url(*address, QUrl::StrictMode);
    if (url.isValid())
        jobs_.start(follow(url));
}

Task<> AppDelegate::follow(QUrl url) {
    handleDesktopDeepLink(url);
    co_return;
}

bool AppDelegate::handleDesktopDeepLink(const QUrl& url) {
    const auto anchor = anchorOfDesktopDeepLink(url);
    if (!anchor)
        return false;
    with_.store.set(PreferenceKey::hallwardenPanelAnchor, QString(rawValue(*anchor)));
    with_.commands.openSettingsWindow(SettingsTab::hallwarden);
    return true;
}

HallwardenAnchor AppDelegate::hallwardenAnchor(const std::optional<QString>& section) {
    return vennic::hallwardenAnchor(section);
}

} // namespace vennic
