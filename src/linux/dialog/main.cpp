// One dialog, in a process of its own, so that the client that waits in the background carries no widgets.
#include "linux/dialog/DialogLook.h"
#include "linux/dialog/DialogRequest.h"
#include "linux/dialog/FolderChooser.h"
#include "linux/dialog/FolderRequest.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <cstdio>

namespace {

using namespace vennic;

QByteArray readRequest() {
    QFile input;
    return input.open(stdin, QIODevice::ReadOnly) ? input.read(DialogRequest::mostBytes + 1) : QByteArray();
}

DialogExit show(const DialogRequest& request) {
    const DialogQuestion& words = request.question;
    QMessageBox box;
    box.setWindowTitle(QStringLiteral("Vennic"));
    const bool isInformational = words.style == DialogStyle::informational;
    box.setIcon(request.isWarning ? QMessageBox::Warning
                : isInformational ? QMessageBox::Information
                                  : QMessageBox::Question);
    // An error may name a file, and a file's name may look like markup that loads pictures: both labels are made plain
    // before they get their words.
    box.setInformativeText(QStringLiteral(" "));
    for (QLabel* const label : box.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    box.setText(words.title);
    box.setInformativeText(words.informativeText);
    box.setWindowFlag(Qt::WindowStaysOnTopHint);
    dressBox(box, request.isDark);
    QPushButton* const accept = box.addButton(words.accept, QMessageBox::AcceptRole);
    if (!request.isWarning) {
        QPushButton* const refuse = box.addButton(words.refuse, QMessageBox::RejectRole);
        // Whoever hits Enter or Escape while typing elsewhere has agreed to nothing, unless they asked for the dialog.
        box.setDefaultButton(isInformational ? accept : refuse);
        box.setEscapeButton(refuse);
    }
    const QCheckBox* forGood = nullptr;
    if (!words.suppression.isEmpty()) {
        auto* const check = new QCheckBox(words.suppression); // the box owns it
        box.setCheckBox(check);
        forGood = check;
    }
    box.show();
    box.raise();
    box.activateWindow();
    box.exec();
    if (box.clickedButton() != accept && !request.isWarning)
        return DialogExit::refused;
    return forGood && forGood->isChecked() ? DialogExit::acceptedForGood : DialogExit::accepted;
}

DialogExit choose(const FolderPanel& panel) {
    const auto folders = chooseFolders(panel);
    if (!folders)
        return DialogExit::refused;
    QFile output;
    const QByteArray answer = encodedChoice(*folders);
    const bool told =
        output.open(stdout, QIODevice::WriteOnly) && output.write(answer) == answer.size() && output.flush();
    return told ? DialogExit::accepted : DialogExit::notShown;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        std::fputs("vennic-dialog: programme interne, lancé par vennic\n", stderr);
        return 2;
    }
    const QByteArray json = readRequest();
    const auto request = decodedDialogRequest(json);
    const auto panel = decodedFolderPanel(json);
    if (!request && !panel)
        return static_cast<int>(DialogExit::notShown);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vennic"));
    QApplication::setApplicationDisplayName(QStringLiteral("Vennic"));
    QApplication::setDesktopFileName(QStringLiteral("com.vennic.desktop"));
    if (request)
        dressApplication(application, request->isDark);
    return static_cast<int>(panel ? choose(*panel) : show(*request));
}
