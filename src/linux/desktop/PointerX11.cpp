#include "linux/desktop/PointerX11.h"

#include <xcb/xinput.h>

namespace vennic {

namespace {

constexpr std::uint32_t firstWheelButton = 4; // four of them are turns of a wheel, no presses
constexpr std::uint32_t lastWheelButton = 7;

/// The number under which the server speaks XInput 2.2; none when it doesn't.
std::optional<std::uint8_t> inputOpcode(xcb_connection_t* connection) {
    const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || extension->present == 0)
        return std::nullopt;
    const XcbReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    if (!version || version->major_version < 2)
        return std::nullopt;
    return extension->major_opcode;
}

void selectEvents(const XcbLink& link, std::uint32_t bits) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t bits;
    } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, bits};
    xcb_input_xi_select_events(link.connection(), link.root(), 1, &mask.head);
}

} // namespace

std::optional<QPoint> PointerX11::position() {
    if (!link_ || link_->isBroken()) {
        const auto link = XcbLink::open();
        return link ? link->pointer() : std::nullopt;
    }
    return link_->pointer();
}

bool PointerX11::watchPresses(Pressed pressed) {
    pressed_ = {};
    if (!link_ || link_->isBroken()) {
        auto link = XcbLink::open();
        const auto opcode = link ? inputOpcode(link->connection()) : std::nullopt;
        if (!opcode)
            return false;
        inputOpcode_ = *opcode;
        link_ = std::move(link);
        link_->follow([this](const xcb_generic_event_t& event) { onEvent(event); });
    }
    pressed_ = std::move(pressed);
    selectEvents(*link_, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS);
    xcb_flush(link_->connection());
    return true;
}

void PointerX11::stopWatching() {
    pressed_ = {};
    if (!link_)
        return;
    selectEvents(*link_, 0);
    xcb_flush(link_->connection());
}

void PointerX11::onEvent(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_GE_GENERIC || !pressed_)
        return;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension != inputOpcode_ || generic.event_type != XCB_INPUT_RAW_BUTTON_PRESS)
        return;
    const auto& press = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    if (press.detail >= firstWheelButton && press.detail <= lastWheelButton)
        return;
    if (const auto place = link_->pointer()) {
        const Pressed pressed = pressed_; // which may end the watch
        pressed(*place);
    }
}

} // namespace vennic
