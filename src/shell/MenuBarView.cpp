#include "shell/MenuBarView.h"

#include "base/Localized.h"

#include <algorithm>

namespace vennic {

namespace {

using State = BridgeService::Status::State;
using Content = MenuBarView::Content;

Mode modeOf(Content body) { return body == Content::chat ? Mode::chat : Mode::microphone; }

std::vector<Mode> modesOf(const std::vector<Content>& bodies) {
    std::vector<Mode> modes;
    for (const Mode mode : allCases<Mode>)
        if (std::any_of(bodies.begin(), bodies.end(), [mode](Content body) { return modeOf(body) == mode; }))
            modes.push_back(mode);
    return modes;
}

} // namespace

MenuBarView::MenuBarView(Surroundings surroundings)
    : with_(std::move(surroundings)), modes_(with_.session, modesOf(with_.bodies)),
      recents_({with_.session, with_.http, with_.config, with_.openURL}) {
    connect(&with_.session, &AppSession::modeChanged, this, &MenuBarView::contentChanged);
    connect(&with_.session, &AppSession::voiceModeChanged, this, &MenuBarView::contentChanged);
    connect(&with_.session, &AppSession::lastErrorChanged, this, &MenuBarView::lastErrorChanged);
    connect(&with_.bridge, &BridgeService::statusChanged, this, &MenuBarView::bridgeChanged);
}

bool MenuBarView::canShow(Content content) const {
    return std::find(with_.bodies.begin(), with_.bodies.end(), content) != with_.bodies.end();
}

Content MenuBarView::content() const {
    if (with_.session.mode() == Mode::chat)
        return Content::chat;
    const Content wanted = with_.session.voiceMode() == VoiceMode::realtime ? Content::realtime : Content::microphone;
    return canShow(wanted) ? wanted : Content::chat;
}

MenuBarView::Color MenuBarView::bridgeColor(const BridgeService::Status& status) {
    switch (status.state) {
    case State::busy:
        return Color::blue;
    case State::error:
        return Color::red;
    case State::off:
        return Color::gray;
    case State::idle:
    case State::polling:
        return Color::green;
    }
    Q_UNREACHABLE();
}

double MenuBarView::bridgeOpacity(const BridgeService::Status& status) {
    return status.state == State::off ? 0.4 : 1.0;
}

QString MenuBarView::bridgeHelp(const BridgeService::Status& status) {
    switch (status.state) {
    case State::busy:
        // Not a translated label: the kind's own name.
        return localized("Tâche locale en cours: ") + (status.kind ? caseName(*status.kind) : QLatin1String());
    case State::error:
        return localized("Connexion locale en erreur: ") + shownReason(status.message);
    case State::off:
        return localized("Mac non connecté");
    case State::idle:
        return localized("Mac connecté");
    case State::polling:
        return localized("Mac connecté, en attente");
    }
    Q_UNREACHABLE();
}

void MenuBarView::newDiscussion() {
    if (canStartDiscussion())
        with_.session.clearConversation();
}

void MenuBarView::openSettings() {
    if (with_.openSettings)
        with_.openSettings();
}

} // namespace vennic
