#include "shell/MenuBarController.h"

#include "base/LocalizedError.h"

namespace vennic {

namespace {

constexpr QSize iconSize(18, 18);
/// A press on the icon is one elsewhere and closes the popover; the click that follows is then no wish to see it again.
/// Most clicks last no longer than this.
constexpr qint64 sameClick = 400; // milliseconds
constexpr int iconReach = 64;     // pixels from anywhere in an icon to its other end, on a screen of any density

} // namespace

MenuBarController* MenuBarController::shared_ = nullptr;

MenuBarController::MenuBarController(Surroundings surroundings) : with_(std::move(surroundings)) {
    connect(&with_.popover, &Popover::closed, this, &MenuBarController::popoverDidClose);
    connect(&with_.popover, &Popover::left, this, [this] {
        if (!with_.dialogs.isShowing())
            leavePopover();
    });
    with_.dialogs.onClosed([this] { with_.popover.takeKeyboard(); });
}

MenuBarController::~MenuBarController() {
    with_.dialogs.onClosed({});
    with_.pointer.stopWatching();
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
    with_.popover.close();
    if (statusItem_)
        statusItem_->setHighlighted(false);
}

void MenuBarController::showPopover(std::optional<QRect> anchor) {
    with_.windows.activate();
    with_.popover.show(anchor);
    statusItem_->setHighlighted(true);
    left_ = {};
    leftByPress_.reset();
    with_.pointer.watchPresses([this](QPoint place) { pressed(place); });
}

void MenuBarController::popoverDidClose() {
    // Whoever left is watched until their next press, which may be the one that ends on the icon.
    if (!left_.isValid())
        with_.pointer.stopWatching();
    if (statusItem_)
        statusItem_->setHighlighted(false);
}

void MenuBarController::pressed(QPoint place) {
    if (with_.popover.isShown()) {
        const auto icon = statusItem_ ? statusItem_->place() : std::nullopt;
        // The click on the icon closes the popover itself.
        if (with_.dialogs.isShowing() || with_.popover.contains(place) || (icon && icon->contains(place)))
            return;
        leftByPress_ = place;
        leavePopover();
    } else if (!leftByPress_ && sinceLeft() < sameClick) {
        leftByPress_ = place; // told after the keyboard had gone because of it
    } else {
        left_ = {};
        leftByPress_.reset();
        with_.pointer.stopWatching();
    }
}

void MenuBarController::leavePopover() {
    left_ = with_.clock.now();
    with_.popover.close();
}

qint64 MenuBarController::sinceLeft() const {
    const qint64 since = left_.isValid() ? left_.msecsTo(with_.clock.now()) : sameClick;
    return since < 0 ? sameClick : since; // the clock was put back
}

bool MenuBarController::wasLeftByThisClick(std::optional<QRect> icon) const {
    if (sinceLeft() < sameClick)
        return true;
    // The button was held down for long: no other press has come since.
    return leftByPress_ && icon && (icon->center() - *leftByPress_).manhattanLength() <= iconReach;
}

void MenuBarController::handleDoubleCommand() {
    try {
        summon();
    } catch (const LocalizedError& error) {
        Q_EMIT popoverUnavailable(error.errorDescription());
    }
}

void MenuBarController::toggleFromStatusItem(std::optional<QRect> place) {
    const bool wasOpen = wasLeftByThisClick(place);
    left_ = {};
    leftByPress_.reset();
    if (!with_.popover.isShown() && wasOpen)
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
