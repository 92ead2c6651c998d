#include "linux/dialog/FolderPickerDesktop.h"

#include "base/LocalizedError.h"
#include "linux/dialog/DialogProgram.h"
#include "linux/dialog/DialogRequest.h"
#include "linux/dialog/FolderRequest.h"
#include "linux/dialog/PortalFolders.h"

namespace vennic {

Task<QStringList> FolderPickerDesktop::pick(FolderPanel panel) {
    if (!hasScreen_())
        throw LocalizedError(QStringLiteral("Il n'y a pas d'écran où choisir un dossier."));
    if (const auto chosen = co_await foldersFromPortal(bus_.connection(), panel))
        co_return *chosen;
    co_return co_await pickInDialog(panel);
}

Task<QStringList> FolderPickerDesktop::pickInDialog(FolderPanel panel) const {
    const auto end = co_await runDialogProgram(dialogProgram_, encoded(panel), mostChosenBytes);
    if (end && end->status == static_cast<int>(DialogExit::accepted))
        co_return decodedChoice(end->output);
    if (end && end->status == static_cast<int>(DialogExit::refused))
        co_return QStringList();
    throw LocalizedError(QStringLiteral("Le panneau de choix des dossiers ne s'ouvre pas."));
}

} // namespace vennic
