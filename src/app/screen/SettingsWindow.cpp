#include "app/screen/SettingsWindow.h"

#include <QKeyEvent>

namespace vennic {

SettingsWindow::SettingsWindow(QQmlEngine* engine) : QQuickView(engine, nullptr) {
    setTitle(QStringLiteral("Réglages de Vennic"));
    setResizeMode(QQuickView::SizeRootObjectToView);
    setMinimumSize({520, 620});
    resize(580, 660);
}

void SettingsWindow::keyPressEvent(QKeyEvent* event) {
    // What has the keyboard comes first: Escape in a menu closes the menu.
    QQuickView::keyPressEvent(event);
    const bool isCommand = event->modifiers() == Qt::ControlModifier || event->modifiers() == Qt::MetaModifier;
    if (event->isAccepted() || (event->key() != Qt::Key_Escape && !(event->key() == Qt::Key_W && isCommand)))
        return;
    event->accept();
    close();
}

} // namespace vennic
