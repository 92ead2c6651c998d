#pragma once
#include "core/SettingsTab.h"
#include "localllm/LocalLLMSettingsView.h"
#include "settings/BridgeSettingsView.h"
#include "settings/GeneralSettingsTab.h"

#include <QObject>

namespace vennic {

/// The settings window: its tabs and which one is open. It outlives what shows it. Main thread only.
class SettingsView final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList tabs READ tabs CONSTANT)
    Q_PROPERTY(QString selected READ selected WRITE setSelected NOTIFY selectedChanged)
    Q_PROPERTY(vennic::GeneralSettingsTab* general READ general CONSTANT)
    Q_PROPERTY(vennic::BridgeSettingsView* bridge READ bridge CONSTANT)
    Q_PROPERTY(vennic::LocalLLMSettingsView* localLlm READ localLlm CONSTANT)
public:
    SettingsView(KeyValueStore& store, GeneralSettingsTab::Surroundings general,
                 BridgeSettingsView::Surroundings bridge, LocalLLMSettingsView::Surroundings localLlm);

    /// The tabs that have a body, in order: `name`, `title`, `symbol`.
    QVariantList tabs() const;
    /// The name of the open tab, a SettingsTab's raw value.
    QString selected() const { return rawValue(selected_); }
    /// Opens a tab; a name that none has changes nothing.
    void setSelected(const QString& name);
    GeneralSettingsTab* general() { return &general_; }
    BridgeSettingsView* bridge() { return &bridge_; }
    LocalLLMSettingsView* localLlm() { return &localLlm_; }

    /// To be called each time that the window is asked for, before it shows: opens the tab that the preferences name.
    void appear();
    /// To be called when the window has gone.
    void disappear();

Q_SIGNALS:
    void selectedChanged();

private:
    void select(SettingsTab tab);
    /// Only who looks at the local model has its server asked.
    void lookAtLocalModel();

    KeyValueStore& store_;
    SettingsTab selected_ = SettingsTab::general;
    bool shown_ = false;
    GeneralSettingsTab general_;
    BridgeSettingsView bridge_;
    LocalLLMSettingsView localLlm_;
};

} // namespace vennic
