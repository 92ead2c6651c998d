#pragma once
#include "base/Clock.h"
#include "core/AppSession.h"
#include "core/ApplicationWindows.h"
#include "ports/ModalDialogs.h"
#include "ports/Pointer.h"
#include "ports/StatusItem.h"
#include "shell/Popover.h"

#include <QPointer>

#include <functional>

namespace vennic {

/// Owns the status item, opens and closes the popover, and answers the summon. Main thread only.
class MenuBarController final : public QObject {
    Q_OBJECT

public:
    /// Each outlives the controller.
    struct Surroundings {
        Popover& popover;
        ApplicationWindows& windows;
        ModalDialogs& dialogs;
        Pointer& pointer;
        const StatusImages& images;
        std::function<std::unique_ptr<StatusItem>()> makeStatusItem;
        Clock& clock;
    };
    explicit MenuBarController(Surroundings surroundings);
    ~MenuBarController() override;
    Q_DISABLE_COPY_MOVE(MenuBarController)

    /// The controller that the program installed.
    static MenuBarController& shared() { return *shared_; }
    static void install(MenuBarController* controller) { shared_ = controller; }

    /// Puts the icon there, once. The session is looked at as long as it lives.
    void configure(AppSession* session);
    /// Raises LocalizedError when the popover can't be shown.
    void togglePopover();
    /// The same, and what comes up is what the session's `summonBehavior` asks for. Raises LocalizedError.
    void summon();
    /// Closes the popover and says so at the icon.
    void closePopover();

    /// `summon` for whoever can't be told of a failure.
    void handleDoubleCommand();
    /// The icon was clicked.
    void toggleFromStatusItem(std::optional<QRect> place);

Q_SIGNALS:
    /// The user asked for the popover, and got none.
    void popoverUnavailable(const QString& reason);

private:
    std::optional<StatusImage> makeStatusBarIcon() const;
    void showPopover(std::optional<QRect> anchor);
    void popoverDidClose();
    /// A button was pressed somewhere on the screen, the popover's own places included.
    void pressed(QPoint place);
    /// The user turned to something else.
    void leavePopover();
    /// Whether the popover was open when the button that is being clicked was pressed.
    bool wasLeftByThisClick(std::optional<QRect> icon) const;
    qint64 sinceLeft() const;

    static MenuBarController* shared_;

    Surroundings with_;
    std::unique_ptr<StatusItem> statusItem_;
    QPointer<AppSession> session_;
    QDateTime left_;                    // when the user last turned away from the popover
    std::optional<QPoint> leftByPress_; // where they pressed, as far as it was told
};

} // namespace vennic
