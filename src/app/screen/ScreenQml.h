#pragma once
#include "app/screen/ChatLinks.h"
#include "app/screen/ClosedEngine.h"
#include "app/screen/PickerMenu.h"
#include "app/screen/PopoverWindow.h"
#include "app/screen/SettingsWindow.h"
#include "backend/ChatTranscript.h"
#include "shell/Screen.h"

#include <QAccessible>
#include <QVariantMap>

namespace vennic {

/// The windows, drawn by QML with the software renderer. Main thread only.
class ScreenQml final : public Screen {
    Q_OBJECT
public:
    explicit ScreenQml(Surroundings surroundings);
    ~ScreenQml() override;

    void showPopover(std::optional<QRect> anchor) override;
    void closePopover() override;
    bool isPopoverShown() const override;
    bool isInPopover(QPoint place) const override;
    void activatePopover() override;
    void showSettings() override;
    void raiseSettings() override;
    bool isSettingsShown() const override;

    /// Null until it was shown.
    PopoverWindow* popover() const { return popover_.get(); }
    QQuickView* settings() const { return settings_.get(); }
    ClosedEngine& engine() { return engine_; }

private:
    void followAppearance();
    void makePopover();
    void announceReply();
    void tellPresented(const QWindow& window) const;
    std::unique_ptr<SettingsWindow> makeSettings();

    Surroundings with_;
    ClosedEngine engine_;
    ChatTranscript transcript_;
    ChatLinks links_;
    PickerMenu picker_;
    QObject* theme_ = nullptr; // of the engine
    bool unpainted_ = false;
    std::unique_ptr<PopoverWindow> popover_;
    std::unique_ptr<SettingsWindow> settings_;
};

} // namespace vennic
