#include "app/ScreenHost.h"

#include "base/LocalizedError.h"

#include <QLibrary>
#include <QLoggingCategory>

namespace vennic {

namespace {
Q_LOGGING_CATEGORY(screenLog, "vennic.screen", QtWarningMsg)

constexpr quint64 popoverNumber = 1;
constexpr quint64 settingsNumber = 2;
} // namespace

ScreenHost::ScreenHost(Make make, std::function<void()> released, std::chrono::milliseconds patience)
    : make_(std::move(make)), released_(std::move(released)) {
    unused_.setSingleShot(true);
    unused_.setInterval(patience);
    connect(&unused_, &QTimer::timeout, this, [this] {
        screen_.reset();
        released_();
    });
}

std::unique_ptr<Screen> ScreenHost::load(const QString& path, const Screen::Surroundings& surroundings) {
    QLibrary module(path);
    module.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    auto* const make = reinterpret_cast<MakeScreen*>(module.resolve("vennicMakeScreen"));
    if (!make) {
        qWarning("%s", qUtf8Printable(module.errorString()));
        throw LocalizedError(QStringLiteral("L'écran de Vennic ne se charge pas : réinstalle Vennic."));
    }
    std::unique_ptr<Screen> screen;
    make(&surroundings, &screen);
    return screen;
}

Screen& ScreenHost::screen() {
    if (!screen_) {
        screen_ = make_();
        connect(screen_.get(), &Screen::popoverClosed, this, [this] {
            letGoLater();
            Q_EMIT closed();
        });
        connect(screen_.get(), &Screen::popoverLeft, this, &ScreenHost::left);
        connect(screen_.get(), &Screen::popoverPainted, this, [this] {
            qCDebug(screenLog, "first frame after %.1f ms", static_cast<double>(summoned_.nsecsElapsed()) / 1e6);
        });
        connect(screen_.get(), &Screen::settingsClosed, this, &ScreenHost::letGoLater);
    }
    return *screen_;
}

void ScreenHost::letGoLater() {
    if (!screen_->isPopoverShown() && !screen_->isSettingsShown())
        unused_.start();
}

void ScreenHost::show(std::optional<QRect> anchor) {
    summoned_.start();
    screen().showPopover(anchor);
    unused_.stop();
}

void ScreenHost::close() {
    if (screen_)
        screen_->closePopover();
}

void ScreenHost::takeKeyboard() {
    if (isShown())
        screen_->activatePopover();
}

std::vector<ApplicationWindow> ScreenHost::windows() const {
    if (!screen_)
        return {};
    std::vector<ApplicationWindow> windows{{popoverNumber, false, screen_->isPopoverShown()}};
    if (screen_->isSettingsShown())
        windows.push_back({settingsNumber, true, true});
    return windows;
}

void ScreenHost::showSettings() {
    screen().showSettings();
    unused_.stop();
}

void ScreenHost::bringForward(quint64 number) {
    if (number == settingsNumber && screen_)
        screen_->raiseSettings();
}

} // namespace vennic
