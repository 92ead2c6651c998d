#pragma once
#include <QQuickView>

namespace vennic {

/// The window of the settings. Escape closes it, and so do the keys that close a window on any desktop.
class SettingsWindow final : public QQuickView {
    Q_OBJECT
public:
    explicit SettingsWindow(QQmlEngine* engine);

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

} // namespace vennic
