#pragma once
#include "linux/desktop/XcbLink.h"
#include "ports/Pointer.h"

namespace vennic {

/// The pointer of the X server, by the raw events of XInput 2. The server sends something only while somebody watches.
class PointerX11 final : public Pointer {
public:
    std::optional<QPoint> position() override;
    bool watchPresses(Pressed pressed) override;
    void stopWatching() override;

private:
    void onEvent(const xcb_generic_event_t& event);

    std::unique_ptr<XcbLink> link_;
    std::uint8_t inputOpcode_ = 0;
    Pressed pressed_;
};

} // namespace vennic
