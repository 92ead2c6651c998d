#pragma once
#include "linux/desktop/XcbLink.h"
#include "ports/StatusItem.h"

#include <QImage>
#include <QObject>

namespace vennic {

/// The icon in a system tray of the older kind, which takes windows of other programs into its own: the System Tray
/// Protocol of freedesktop.org. A tray that comes late or again gets it too. Main thread only.
class XEmbedIcon final : public QObject {
    Q_OBJECT

public:
    /// Shows nothing where there is no X server.
    XEmbedIcon();

    void setImage(const std::optional<StatusImage>& image, bool highlighted);
    void setLabel(const QString& label);
    /// While it isn't wanted it is in no tray.
    void setWanted(bool wanted);
    /// In global device pixels; none while it is in no tray.
    std::optional<QRect> place() const;

Q_SIGNALS:
    void activated(QRect place);

private:
    void onEvent(const xcb_generic_event_t& event);
    void dock();
    void undock();
    void makeWindow(xcb_window_t tray);
    void nameWindow();
    void draw();
    QColor ink(const QImage& background) const;
    QImage background(int width, int height) const;
    void put(const QImage& pixels);

    std::unique_ptr<XcbLink> link_;
    xcb_atom_t selection_ = XCB_ATOM_NONE;
    xcb_atom_t manager_ = XCB_ATOM_NONE;
    xcb_window_t tray_ = XCB_WINDOW_NONE;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    xcb_colormap_t colours_ = XCB_NONE;
    std::uint8_t depth_ = 0;
    QSize size_;
    bool isWanted_ = false;
    bool isHighlighted_ = false;
    std::optional<StatusImage> image_;
    QString label_;
};

} // namespace vennic
