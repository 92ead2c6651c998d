#include "shell/MenuBarController.h"

#include "base/LocalizedError.h"

#include <QScopeGuard>

namespace vennic {

namespace {

constexpr QSize iconSize(18, 18);
/// Under some desktops the press on the icon counts as one elsewhere and closes the popover; the click that follows
/// is then no wish to see it again.
constexpr qint64 sameClick = 400; // milliseconds

} // namespace

MenuBarController* MenuBarController::shared_ = nullptr;

MenuBarController::MenuBarController(Surroundings surroundings) : with_(std::move(surroundings)) {
    connect(&with_.popover, &Popover::closed, this, &MenuBarController::popoverDidClose);
}

void MenuBarController::configure(AppSession* session) {
    session_ = session;
    if (statusItem_)
        return;
    statusItem_ = with_.makeStatusItem();
    statusItem_->setImage(makeStatusBarIcon());
    statusItem_->setAccessibilityLabel(QStringLiteral("Vennic"));
    statusItem_->onActivated([this](std::optional<QRect> place) { toggleFromStatusItem(place); });
}

std::optional<StatusImage> MenuBarController::makeStatusBarIcon() const {
    auto image = with_.images.named(QStringLiteral("VennicStatusIcon"));
    if (!image)
        image = with_.images.symbol(QStringLiteral("waveform"), QStringLiteral("Vennic"));
    if (!image)
        return std::nullopt;
    image->isTemplate = true;
    image->size = iconSize;
    return image;
}

void MenuBarController::togglePopover() {
    if (with_.popover.isShown())
        closePopover();
    else if (statusItem_)
        showPopover(statusItem_->place());
}

void MenuBarController::summon() {
    if (!with_.popover.isShown() && statusItem_ && session_)
        session_->prepareForSummon();
    togglePopover();
}

void MenuBarController::closePopover() {
    isClosing_ = true;
    const auto closed = qScopeGuard([this] { isClosing_ = false; });
    with_.popover.close();
    if (statusItem_)
        statusItem_->setHighlighted(false);
}

void MenuBarController::showPopover(std::optional<QRect> anchor) {
    with_.windows.activate();
    with_.popover.show(anchor);
    statusItem_->setHighlighted(true);
}

void MenuBarController::popoverDidClose() {
    if (!isClosing_)
        closedByElsewhere_ = with_.clock.now();
    if (statusItem_)
        statusItem_->setHighlighted(false);
}

void MenuBarController::handleDoubleCommand() {
    try {
        summon();
    } catch (const LocalizedError& error) {
        Q_EMIT popoverUnavailable(error.errorDescription());
    }
}

void MenuBarController::toggleFromStatusItem(std::optional<QRect> place) {
    const qint64 since = closedByElsewhere_.isValid() ? closedByElsewhere_.msecsTo(with_.clock.now()) : sameClick;
    closedByElsewhere_ = {};
    if (!with_.popover.isShown() && since >= 0 && since < sameClick)
        return;
    try {
        if (with_.popover.isShown() || !place)
            togglePopover();
        else if (statusItem_)
            showPopover(place);
    } catch (const LocalizedError& error) {
        Q_EMIT popoverUnavailable(error.errorDescription());
    }
}

} // namespace vennic
