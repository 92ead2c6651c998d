#pragma once
#include "Bridge/BridgeService.h"
#include "base/ShownText.h"
#include "core/AppSession.h"
#include "shell/ModeSwitcher.h"
#include "shell/RecentsMenu.h"

#include <QObject>

#include <functional>

namespace vennic {

/// The popover's content: the bridge light, the commands, and which body stands below. Main thread only.
class MenuBarView final : public QObject {
    Q_OBJECT
    Q_PROPERTY(vennic::MenuBarView::Content content READ content NOTIFY contentChanged)
    Q_PROPERTY(vennic::MenuBarView::Color bridgeColor READ bridgeColor NOTIFY bridgeChanged)
    Q_PROPERTY(double bridgeOpacity READ bridgeOpacity NOTIFY bridgeChanged)
    Q_PROPERTY(QString bridgeHelp READ bridgeHelp NOTIFY bridgeChanged)
    Q_PROPERTY(bool canStartDiscussion READ canStartDiscussion NOTIFY contentChanged)
    Q_PROPERTY(bool canOpenSettings READ canOpenSettings CONSTANT)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(vennic::ModeSwitcher* modes READ modes CONSTANT)
    Q_PROPERTY(vennic::RecentsMenu* recents READ recents CONSTANT)
public:
    enum class Content { chat, realtime, microphone };
    Q_ENUM(Content)
    enum class Color { blue, red, gray, green };
    Q_ENUM(Color)

    /// What the view touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        BridgeService& bridge;
        VennicHTTP& http;
        const APIConfig& config;
        std::vector<Content> bodies;              // that this program can show; `chat` is always one
        std::function<void(const QUrl&)> openURL; // in the default browser
        std::function<void()> openSettings;       // on the default tab; empty where there are none
        std::function<void()> terminate;
    };

    explicit MenuBarView(Surroundings surroundings);

    /// What the mode asks for, or the chat where that can't be shown.
    Content content() const;
    Color bridgeColor() const { return bridgeColor(with_.bridge.status()); }
    double bridgeOpacity() const { return bridgeOpacity(with_.bridge.status()); }
    QString bridgeHelp() const { return bridgeHelp(with_.bridge.status()); }
    static Color bridgeColor(const BridgeService::Status& status);
    static double bridgeOpacity(const BridgeService::Status& status);
    static QString bridgeHelp(const BridgeService::Status& status);
    bool canStartDiscussion() const { return content() == Content::chat; }
    bool canOpenSettings() const { return static_cast<bool>(with_.openSettings); }
    /// Empty when there is none.
    QString lastError() const { return shownReason(with_.session.lastError().value_or(QString())); }
    ModeSwitcher* modes() { return &modes_; }
    RecentsMenu* recents() { return &recents_; }

    /// Forgets the conversation, where that is enabled.
    Q_INVOKABLE void newDiscussion();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void quit() { with_.terminate(); }
    /// Takes the error off the screen.
    Q_INVOKABLE void dismissError() { with_.session.setLastError(std::nullopt); }

Q_SIGNALS:
    void contentChanged();
    void bridgeChanged();
    void lastErrorChanged();

private:
    bool canShow(Content content) const;

    Surroundings with_;
    ModeSwitcher modes_;
    RecentsMenu recents_;
};

} // namespace vennic
