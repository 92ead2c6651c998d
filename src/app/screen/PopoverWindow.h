#pragma once
#include <QPropertyAnimation>
#include <QQuickView>

#include <optional>

namespace vennic {

/// The frameless window that hangs from the status item. It goes away on Escape, and says when it loses the keyboard.
class PopoverWindow final : public QQuickView {
    Q_OBJECT
public:
    static constexpr QSize popoverSize{380, 520};

    /// `composited`: whether what lies behind it may show through.
    PopoverWindow(QQmlEngine* engine, bool composited);

    bool isComposited() const { return composited_; }
    /// Whether it may come up by degrees: the compositor does that, where the toolkit can ask it to.
    bool canFade() const;
    /// Comes up at the icon (global pixels), or at the pointer, and takes the keyboard.
    void appear(std::optional<QRect> anchor, bool fades);

    /// What it covers, in the pixels of the X server.
    QRect pixels() const;

    /// Where the popover stands: under the anchor, or over it where that is nearer to the lower end; within
    /// `available`.
    static QRect place(const QRect& anchor, const QRect& available, QSize size);

Q_SIGNALS:
    /// Another window has the keyboard now, which this one had.
    void left();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void followKeyboard();

    bool composited_;
    bool hadKeyboard_ = false;
    QPropertyAnimation fading_{this, "opacity"}; // of the window as a whole: nothing is painted for it
};

} // namespace vennic
