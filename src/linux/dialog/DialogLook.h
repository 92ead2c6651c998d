#pragma once
#include <QApplication>
#include <QMessageBox>

namespace vennic {

/// Gives the program's dialogs the letters and the colours of its windows, which this small program doesn't draw with.
void dressApplication(QApplication& application, bool dark);
/// The same for a question or a warning: bold title, the program's own picture, the accepting button in the accent.
void dressBox(QMessageBox& box, bool dark);

} // namespace vennic
