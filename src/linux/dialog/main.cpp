// One dialog, in a process of its own, so that the client that waits in the background carries no widgets.
#include "linux/dialog/DialogRequest.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <cstdio>

namespace {

using namespace vennic;

std::optional<DialogRequest> readRequest() {
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return std::nullopt;
    return decodedDialogRequest(input.read(DialogRequest::mostBytes + 1));
}

DialogExit show(const DialogRequest& request) {
    const DialogQuestion& words = request.question;
    QMessageBox box;
    box.setWindowTitle(QStringLiteral("Vennic"));
    box.setIcon(request.isWarning ? QMessageBox::Warning : QMessageBox::Question);
    // An error may name a file, and a file's name may look like markup that loads pictures: both labels are made plain
    // before they get their words.
    box.setInformativeText(QStringLiteral(" "));
    for (QLabel* const label : box.findChildren<QLabel*>())
        label->setTextFormat(Qt::PlainText);
    box.setText(words.title);
    box.setInformativeText(words.informativeText);
    box.setWindowFlag(Qt::WindowStaysOnTopHint);
    box.setStyleSheet(QStringLiteral("QLabel#qt_msgbox_label { font-weight: bold; }"
                                     "QLabel#qt_msgbox_informativelabel { min-width: 24em; }"));
    const QAbstractButton* const accept = box.addButton(words.accept, QMessageBox::AcceptRole);
    if (!request.isWarning) {
        // Whoever hits Enter or Escape while typing elsewhere has agreed to nothing.
        QPushButton* const refuse = box.addButton(words.refuse, QMessageBox::RejectRole);
        box.setDefaultButton(refuse);
        box.setEscapeButton(refuse);
    }
    box.show();
    box.raise();
    box.activateWindow();
    box.exec();
    return box.clickedButton() == accept || request.isWarning ? DialogExit::accepted : DialogExit::refused;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        std::fputs("vennic-dialog: programme interne, lancé par vennic\n", stderr);
        return 2;
    }
    const auto request = readRequest();
    if (!request)
        return static_cast<int>(DialogExit::notShown);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vennic"));
    QApplication::setApplicationDisplayName(QStringLiteral("Vennic"));
    QApplication::setDesktopFileName(QStringLiteral("com.vennic.desktop"));
    return static_cast<int>(show(*request));
}
