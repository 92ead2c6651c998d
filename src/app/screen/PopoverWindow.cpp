#include "app/screen/PopoverWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace vennic {

namespace {

constexpr int distance = 6;   // between the icon, the screen's edges and the popover
constexpr int fadeTime = 120; // milliseconds

struct OnScreen {
    QScreen* screen = nullptr;
    QRect anchor; // in the screen's own units
};

/// Pixels are those of the X server; a scaled screen keeps its origin and counts its inside in larger units.
OnScreen onScreen(const QRect& pixels) {
    for (QScreen* screen : QGuiApplication::screens()) {
        const QRect geometry = screen->geometry();
        const qreal scale = screen->devicePixelRatio();
        const QRect native(geometry.topLeft(), geometry.size() * scale);
        if (!native.contains(pixels.center()))
            continue;
        const QPoint inside = pixels.topLeft() - native.topLeft();
        return {screen, {geometry.topLeft() + inside / scale, pixels.size() / scale}};
    }
    return {QGuiApplication::primaryScreen(), pixels};
}

OnScreen atPointer() {
    const QPoint pointer = QCursor::pos();
    QScreen* screen = QGuiApplication::screenAt(pointer);
    return {screen ? screen : QGuiApplication::primaryScreen(), {pointer, QSize(1, 1)}};
}

} // namespace

PopoverWindow::PopoverWindow(QQmlEngine* engine, bool composited)
    : QQuickView(engine, nullptr), composited_(composited) {
    setFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::WindowStaysOnTopHint);
    setTitle(QStringLiteral("Vennic"));
    setResizeMode(QQuickView::SizeRootObjectToView);
    resize(popoverSize);
    setMinimumSize(popoverSize);
    setMaximumSize(popoverSize);
    if (composited_) {
        QSurfaceFormat withAlpha = format();
        withAlpha.setAlphaBufferSize(8);
        setFormat(withAlpha);
        setColor(Qt::transparent);
    }
    fading_.setDuration(fadeTime);
    fading_.setStartValue(0.0);
    fading_.setEndValue(1.0);
    connect(this, &QWindow::activeChanged, this, &PopoverWindow::followKeyboard);
}

QRect PopoverWindow::place(const QRect& anchor, const QRect& available, QSize size) {
    const bool below = anchor.center().y() < available.center().y();
    QPoint corner(anchor.center().x() - size.width() / 2,
                  below ? anchor.bottom() + 1 + distance : anchor.top() - distance - size.height());
    const auto within = [](int at, int least, int most) { return std::max(least, std::min(at, most)); };
    corner.setX(within(corner.x(), available.left() + distance, available.right() + 1 - distance - size.width()));
    corner.setY(within(corner.y(), available.top() + distance, available.bottom() + 1 - distance - size.height()));
    return {corner, size};
}

bool PopoverWindow::canFade() const { return composited_ && QGuiApplication::platformName() == QLatin1String("xcb"); }

void PopoverWindow::appear(std::optional<QRect> anchor, bool fades) {
    const OnScreen at = anchor && anchor->isValid() ? onScreen(*anchor) : atPointer();
    hadKeyboard_ = false;
    if (at.screen) {
        setScreen(at.screen);
        setGeometry(place(at.anchor, at.screen->availableGeometry(), popoverSize));
    }
    fading_.stop();
    if (fades)
        fading_.start();
    else if (opacity() < 1)
        setOpacity(1);
    show();
    raise();
    requestActivate();
}

QRect PopoverWindow::pixels() const {
    const QPoint origin = screen()->geometry().topLeft();
    const qreal scale = devicePixelRatio();
    return {origin + (geometry().topLeft() - origin) * scale, geometry().size() * scale};
}

void PopoverWindow::followKeyboard() {
    // A window that is coming up hasn't had the keyboard yet.
    if (isActive())
        hadKeyboard_ = true;
    else if (hadKeyboard_ && isVisible())
        Q_EMIT left();
}

void PopoverWindow::keyPressEvent(QKeyEvent* event) {
    QQuickView::keyPressEvent(event);
    if (!event->isAccepted() && event->key() == Qt::Key_Escape) {
        event->accept();
        hide();
    }
}

} // namespace vennic
