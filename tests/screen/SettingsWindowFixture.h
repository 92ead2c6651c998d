#pragma once
#include "screen/ScreenFixture.h"

#include <QDir>
#include <QKeyEvent>

namespace vennic::test {

/// The settings window, driven by the keyboard alone.
struct SettingsWindowFixture : ScreenFixture {
    QQuickView& window() {
        if (!screen().isSettingsShown())
            open();
        return *screen().settings();
    }
    void open(const char* tab = nullptr) {
        if (tab)
            putText("settingsInitialTab", tab);
        screen().showSettings();
        waitUntil([this] { return screen().settings()->isActive(); });
        settleEverywhere();
        paint();
    }
    static QQuickItem* find(QQuickItem* in, const QString& name) {
        if (in->objectName() == name)
            return in;
        for (QQuickItem* const child : in->childItems())
            if (QQuickItem* const found = find(child, name))
                return found;
        return nullptr;
    }
    /// The item of that object name; there has to be one.
    QQuickItem* find(const char* name) {
        QQuickItem* const found = find(window().contentItem(), QLatin1String(name)); // menus and questions too
        if (!found)
            throw std::runtime_error(std::string("there is no ") + name);
        return found;
    }
    /// Whether what has the keyboard looks like it: a ring around it, or a border of its own.
    bool isFocusSeen() {
        const QQuickItem* const item = window().activeFocusItem();
        if (!item)
            return false;
        for (const QQuickItem* part : item->findChildren<QQuickItem*>())
            if (QByteArrayView(part->metaObject()->className()).startsWith("FocusRing") &&
                part->property("of").value<QQuickItem*>() == item)
                return part->isVisible();
        return item->inherits("QQuickTextInput") || item->objectName() == QStringLiteral("token");
    }
    QString focused() { return window().activeFocusItem() ? window().activeFocusItem()->objectName() : QString(); }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString& text = {}) {
        QQuickView& to = window(); // the same for both: a key may close it
        for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, text);
            QCoreApplication::sendEvent(&to, &event);
        }
        paint();
    }
    void write(const QString& text) {
        for (const QChar c : text)
            key(0, Qt::NoModifier, c);
    }
    void tabTo(const char* name) {
        for (int presses = 0; presses < 60 && focused() != QLatin1String(name); ++presses)
            key(Qt::Key_Tab);
        EXPECT_EQ(focused(), QLatin1String(name));
    }
    void keep(const char* name) {
        paint();
        const QImage image = window().grabWindow();
        const qreal scale = window().devicePixelRatio();
        EXPECT_EQ(image.size(), window().size() * scale);
        const QString folder = qEnvironmentVariable("VENNIC_PICTURES");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(image.save(QDir(folder).filePath(
                QStringLiteral("settings-%1%2@%3.png")
                    .arg(QLatin1String(name), appearance.dark ? QStringLiteral("-dark") : QString())
                    .arg(scale))));
        }
    }
};

} // namespace vennic::test
