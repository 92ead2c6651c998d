#include "settings/SettingsView.h"

#include "base/Localized.h"

namespace vennic {

namespace {

struct Tab {
    SettingsTab tab;
    const char* title;
    const char* symbol;
};

constexpr std::array tabsWithBody{
    Tab{SettingsTab::general, "Général", "gearshape"},
    Tab{SettingsTab::bridge, "Bridge local", "externaldrive.connected.to.line.below"},
    Tab{SettingsTab::localLlm, "LLM local", "cpu"},
};

std::optional<SettingsTab> tabNamed(const QString& name) {
    for (const Tab& tab : tabsWithBody)
        if (rawValue(tab.tab) == name)
            return tab.tab;
    return std::nullopt;
}

} // namespace

SettingsView::SettingsView(KeyValueStore& store, GeneralSettingsTab::Surroundings general,
                           BridgeSettingsView::Surroundings bridge, LocalLLMSettingsView::Surroundings localLlm)
    : store_(store), general_(std::move(general)), bridge_(std::move(bridge)), localLlm_(std::move(localLlm)) {}

QVariantList SettingsView::tabs() const {
    QVariantList rows;
    for (const Tab& tab : tabsWithBody)
        rows.append(QVariantMap{{QStringLiteral("name"), QString(rawValue(tab.tab))},
                                {QStringLiteral("title"), localized(tab.title)},
                                {QStringLiteral("symbol"), QString::fromLatin1(tab.symbol)}});
    return rows;
}

void SettingsView::setSelected(const QString& name) {
    if (const auto tab = tabNamed(name))
        select(*tab);
}

void SettingsView::appear() {
    const auto named = storedAs<QString>(store_, PreferenceKey::settingsInitialTab);
    select(tabNamed(named.value_or(QString())).value_or(SettingsTab::general));
    if (shown_)
        return;
    shown_ = true;
    general_.appear();
    bridge_.appear();
    lookAtLocalModel();
}

void SettingsView::disappear() {
    if (!shown_)
        return;
    shown_ = false;
    general_.disappear();
    bridge_.disappear();
    localLlm_.disappear();
}

void SettingsView::select(SettingsTab tab) {
    if (selected_ == tab)
        return;
    selected_ = tab;
    Q_EMIT selectedChanged();
    if (shown_)
        lookAtLocalModel();
}

void SettingsView::lookAtLocalModel() {
    if (selected_ == SettingsTab::localLlm)
        localLlm_.appear();
}

} // namespace vennic
