#include "linux_desktop/StandInTray.h"

#include <array>
#include <stdexcept>

namespace vennic::test {

StandInTray::StandInTray(QColor ground) : link_(XcbLink::open()) {
    if (!link_)
        throw std::runtime_error("there is no X server");
    xcb_connection_t* const server = link_->connection();
    window_ = xcb_generate_id(server);
    opcode_ = link_->atom("_NET_SYSTEM_TRAY_OPCODE");
    const std::array<std::uint32_t, 3> values{ground.rgb() & 0xffffffU, 1, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window_, link_->root(), 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(server, window_);
    const xcb_atom_t selection = link_->atom("_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(server, window_, selection, XCB_CURRENT_TIME);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = link_->root();
    message.type = link_->atom("MANAGER");
    message.data.data32[1] = selection;
    message.data.data32[2] = window_;
    xcb_send_event(server, 0, link_->root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY, reinterpret_cast<const char*>(&message));
    link_->follow([this](const xcb_generic_event_t& event) { onEvent(event); });
}

void StandInTray::onEvent(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return;
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    if (message.type != opcode_ || message.data.data32[1] != 0)
        return;
    docked_ = message.data.data32[2];
    xcb_reparent_window(link_->connection(), docked_, window_, place.x(), place.y());
    const std::array<std::uint32_t, 2> size{place.width(), place.height()};
    xcb_configure_window(link_->connection(), docked_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
    xcb_map_window(link_->connection(), docked_);
    xcb_flush(link_->connection());
}

QByteArray StandInTray::nameOfDocked() const {
    const auto cookie = xcb_get_property(link_->connection(), 0, docked_, link_->atom("_NET_WM_NAME"),
                                         link_->atom("UTF8_STRING"), 0, 64);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(link_->connection(), cookie, nullptr));
    return reply ? QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                              xcb_get_property_value_length(reply.get()))
                 : QByteArray();
}

QImage StandInTray::shown() const {
    const auto cookie = xcb_get_image(link_->connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, link_->root(), place.x(),
                                      place.y(), place.width(), place.height(), ~0U);
    const XcbReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(link_->connection(), cookie, nullptr));
    if (!reply)
        return {};
    return QImage(xcb_get_image_data(reply.get()), place.width(), place.height(), QImage::Format_RGB32).copy();
}

} // namespace vennic::test
