#include "linux/dialog/FolderChooser.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLibraryInfo>
#include <QListView>
#include <QTranslator>
#include <QTreeView>

namespace vennic {

std::optional<QStringList> chooseFolders(const FolderPanel& panel) {
    QTranslator french;
    if (french.load(QStringLiteral("qtbase_fr"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&french);
    QLocale::setDefault(QLocale(QLocale::French)); // dates of the folders
    QFileDialog dialog(nullptr, panel.message, QDir::homePath());
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::ShowDirsOnly | QFileDialog::ReadOnly);
    dialog.setLabelText(QFileDialog::Accept, panel.prompt);
    dialog.setLabelText(QFileDialog::FileName, QStringLiteral("Dossiers :"));
    dialog.setViewMode(QFileDialog::List);
    dialog.resize(720, 480);
    // It has no mode for several folders; its views have.
    for (QAbstractItemView* const view : dialog.findChildren<QAbstractItemView*>())
        if (qobject_cast<QListView*>(view) || qobject_cast<QTreeView*>(view))
            if (view->objectName() == QLatin1String("listView") || view->objectName() == QLatin1String("treeView"))
                view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // There is nothing to choose from among the kinds of folders.
    for (const char* const part : {"fileTypeLabel", "fileTypeCombo"})
        if (auto* const widget = dialog.findChild<QWidget*>(QLatin1String(part)))
            widget->hide();
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.selectedFiles();
}

} // namespace vennic
