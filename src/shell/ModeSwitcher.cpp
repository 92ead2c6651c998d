#include "shell/ModeSwitcher.h"

#include <algorithm>

namespace vennic {

ModeSwitcher::ModeSwitcher(AppSession& session, std::vector<Mode> offered)
    : session_(session), offered_(std::move(offered)) {
    connect(&session, &AppSession::modeChanged, this, &ModeSwitcher::selectedChanged);
}

QVariantList ModeSwitcher::buttons() const {
    QVariantList buttons;
    for (const Mode mode : offered_)
        buttons.append(QVariantMap{{QStringLiteral("label"), label(mode)}, {QStringLiteral("symbol"), symbol(mode)}});
    return buttons;
}

int ModeSwitcher::selected() const {
    const auto found = std::find(offered_.begin(), offered_.end(), session_.mode());
    return found == offered_.end() ? -1 : static_cast<int>(found - offered_.begin());
}

void ModeSwitcher::select(int button) {
    if (button >= 0 && button < static_cast<int>(offered_.size()))
        session_.setMode(offered_[static_cast<std::size_t>(button)]);
}

QLatin1String ModeSwitcher::symbol(Mode mode) {
    switch (mode) {
    case Mode::microphone:
        return QLatin1String("mic.fill");
    case Mode::chat:
        return QLatin1String("text.bubble.fill");
    }
    Q_UNREACHABLE();
}

} // namespace vennic
