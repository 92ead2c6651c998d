#pragma once
#include "linux/DBusLink.h"
#include "ports/FolderPicker.h"

namespace vennic {

/// Folders are chosen in the desktop's own panel where its portal has one (org.freedesktop.portal.FileChooser), else in
/// one that our dialog program shows.
class FolderPickerDesktop final : public FolderPicker {
public:
    /// `dialogProgram`: absolute path of vennic-dialog. `hasScreen`: whether there is somebody to see a panel.
    FolderPickerDesktop(QString dialogProgram, std::function<bool()> hasScreen)
        : dialogProgram_(std::move(dialogProgram)), hasScreen_(std::move(hasScreen)) {}

    Task<QStringList> pick(FolderPanel panel) override;

private:
    Task<QStringList> pickInDialog(FolderPanel panel) const;

    QString dialogProgram_;
    std::function<bool()> hasScreen_;
    DBusLink bus_{DBusLink::Bus::session};
};

} // namespace vennic
