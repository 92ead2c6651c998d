#pragma once
#include "base/LocalizedError.h"
#include "screen/ScreenFixture.h"

#include <QAccessible>
#include <QClipboard>
#include <QEasingCurve>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QQmlComponent>
#include <QQuickTextDocument>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextLayout>

namespace vennic::test {

/// The popover, driven by the keyboard and the mouse.
struct PopoverFixture : ScreenFixture {
    QString draft() { return item("draft")->property("text").toString(); }
    QColor ground() { return root().property("color").value<QColor>(); }
    void click(QPointF at) {
        using Type = QEvent::Type;
        for (const auto& [type, button, held] : {std::tuple{Type::MouseMove, Qt::NoButton, Qt::NoButton},
                                                 {Type::MouseButtonPress, Qt::LeftButton, Qt::LeftButton},
                                                 {Type::MouseButtonRelease, Qt::LeftButton, Qt::NoButton}}) {
            QMouseEvent event(type, at, popover().mapToGlobal(at), button, held, Qt::NoModifier);
            QCoreApplication::sendEvent(&popover(), &event);
            paint();
        }
    }
    /// The text items below, the draft's included, as they are seen: a list's rows have no other parent.
    static void collectTexts(QQuickItem& at, std::vector<QQuickItem*>& found) {
        if (at.property("textDocument").isValid())
            found.push_back(&at);
        for (QQuickItem* child : at.childItems())
            collectTexts(*child, found);
    }
    std::vector<QQuickItem*> texts() {
        std::vector<QQuickItem*> found;
        collectTexts(root(), found);
        return found;
    }
    static QTextDocument& documentOf(const QQuickItem& text) {
        return *text.property("textDocument").value<QQuickTextDocument*>()->textDocument();
    }
    /// The text item of the only message.
    QQuickItem& message() {
        for (QQuickItem* text : texts())
            if (text->property("readOnly").toBool())
                return *text;
        throw std::runtime_error("no message is shown");
    }
    /// What a screen reader finds, from the window downwards.
    template <class F>
    void walk(QAccessibleInterface* at, F visit) {
        if (!at || at->state().invisible)
            return;
        visit(*at);
        for (int i = 0; i < at->childCount(); ++i)
            walk(at->child(i), visit);
    }
    /// Goes from control to control until the keyboard is at that one.
    bool goTo(const char* name) {
        for (int step = 0; step < 20; ++step) {
            press(Qt::Key_Tab);
            const QAccessibleInterface* const at = QAccessible::queryAccessibleInterface(popover().activeFocusItem());
            if (at && at->text(QAccessible::Name) == QString::fromUtf8(name))
                return true;
        }
        return false;
    }
    QStringList names() {
        QStringList names;
        walk(QAccessible::queryAccessibleInterface(&popover()),
             [&](QAccessibleInterface& at) { names.append(at.text(QAccessible::Name)); });
        return names;
    }
};

} // namespace vennic::test
