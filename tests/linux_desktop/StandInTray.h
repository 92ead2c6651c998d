#pragma once
#include "linux/desktop/XcbLink.h"

#include <QColor>
#include <QImage>

namespace vennic::test {

/// A system tray of the older kind on the X server that the environment names: one window with one place of 24 by 24
/// at (40, 30), on a ground of one colour.
class StandInTray {
public:
    explicit StandInTray(QColor ground = QColor(0x20, 0x20, 0x20));

    static constexpr QRect place{40, 30, 24, 24};
    /// The window that was docked last.
    xcb_window_t docked() const { return docked_; }
    QByteArray nameOfDocked() const;
    /// What the place shows.
    QImage shown() const;

private:
    void onEvent(const xcb_generic_event_t& event);

    std::unique_ptr<XcbLink> link_;
    xcb_window_t window_;
    xcb_atom_t opcode_;
    xcb_window_t docked_ = XCB_WINDOW_NONE;
};

} // namespace vennic::test
