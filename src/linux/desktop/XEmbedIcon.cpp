#include "linux/desktop/XEmbedIcon.h"

#include "linux/desktop/StatusPicture.h"

#include <QPainter>

#include <array>

namespace vennic {

namespace {

// System Tray Protocol 0.3 and XEmbed Protocol 0.5, freedesktop.org.
constexpr std::uint32_t requestDock = 0;
constexpr std::uint32_t embedVersion = 0;
constexpr std::uint32_t embedMapped = 1;
constexpr std::uint16_t firstSide = 22; // until the tray gives it another
constexpr int largestSide = 512;
constexpr std::uint8_t primaryButton = 1;
constexpr std::uint8_t secondaryButton = 3;

std::uint32_t propertyWord(const XcbLink& link, xcb_window_t window, const QByteArray& name, xcb_atom_t type) {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        link.connection(), xcb_get_property(link.connection(), 0, window, link.atom(name), type, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return 0;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

std::uint8_t depthOf(const xcb_screen_t& screen, xcb_visualid_t visual) {
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == visual)
                return depths.data->depth;
        }
    }
    return 0;
}

QColor average(const QImage& image) {
    const QImage one = image.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return one.isNull() ? QColor(Qt::black) : one.pixelColor(0, 0);
}

} // namespace

XEmbedIcon::XEmbedIcon() : link_(XcbLink::open()) {
    if (!link_)
        return;
    selection_ = link_->atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(link_->screenNumber()));
    manager_ = link_->atom("MANAGER");
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // new trays say so to the root window
    xcb_change_window_attributes(link_->connection(), link_->root(), XCB_CW_EVENT_MASK, &structure);
    link_->follow([this](const xcb_generic_event_t& event) { onEvent(event); });
}

void XEmbedIcon::setImage(const std::optional<StatusImage>& image, bool highlighted) {
    image_ = image;
    isHighlighted_ = highlighted;
    draw();
}

void XEmbedIcon::setLabel(const QString& label) {
    label_ = label;
    nameWindow();
}

void XEmbedIcon::setWanted(bool wanted) {
    if (isWanted_ == wanted)
        return;
    isWanted_ = wanted;
    if (wanted)
        dock();
    else
        undock();
}

std::optional<QRect> XEmbedIcon::place() const {
    if (window_ == XCB_WINDOW_NONE)
        return std::nullopt;
    const XcbReply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
        link_->connection(), xcb_translate_coordinates(link_->connection(), window_, link_->root(), 0, 0), nullptr));
    if (!origin)
        return std::nullopt;
    return QRect(QPoint(origin->dst_x, origin->dst_y), size_);
}

void XEmbedIcon::onEvent(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
        if (message.type == manager_ && message.data.data32[1] == selection_ && isWanted_) {
            undock();
            dock();
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto& gone = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
        if (gone.window == window_)
            window_ = XCB_WINDOW_NONE; // the tray took it with it
        else if (gone.window == tray_)
            undock();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        if (configured.window == window_) {
            size_ = QSize(configured.width, configured.height);
            draw();
        }
        break;
    }
    case XCB_EXPOSE:
        if (reinterpret_cast<const xcb_expose_event_t&>(event).count == 0)
            draw();
        break;
    case XCB_BUTTON_RELEASE: {
        const auto& released = reinterpret_cast<const xcb_button_release_event_t&>(event);
        const bool isInside = QRect(QPoint(), size_).contains(released.event_x, released.event_y);
        if (released.event == window_ && isInside &&
            (released.detail == primaryButton || released.detail == secondaryButton))
            Q_EMIT activated(place().value_or(QRect(released.root_x, released.root_y, 1, 1)));
        break;
    }
    default:
        break;
    }
}

void XEmbedIcon::dock() {
    if (!link_ || link_->isBroken() || !isWanted_)
        return;
    const XcbReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        link_->connection(), xcb_get_selection_owner(link_->connection(), selection_), nullptr));
    if (!owner || owner->owner == XCB_WINDOW_NONE)
        return;
    tray_ = owner->owner;
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // its end
    xcb_change_window_attributes(link_->connection(), tray_, XCB_CW_EVENT_MASK, &structure);
    makeWindow(tray_);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = tray_;
    message.type = link_->atom("_NET_SYSTEM_TRAY_OPCODE");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = requestDock;
    message.data.data32[2] = window_;
    xcb_send_event(link_->connection(), 0, tray_, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
    xcb_flush(link_->connection());
}

void XEmbedIcon::undock() {
    if (!link_)
        return;
    if (window_ != XCB_WINDOW_NONE)
        xcb_destroy_window(link_->connection(), window_);
    if (colours_ != XCB_NONE)
        xcb_free_colormap(link_->connection(), colours_);
    window_ = tray_ = XCB_WINDOW_NONE;
    colours_ = XCB_NONE;
    xcb_flush(link_->connection());
}

void XEmbedIcon::makeWindow(xcb_window_t tray) {
    // A tray that shines through says which visual that takes; in any other the icon stands on the tray's own ground.
    xcb_visualid_t visual = propertyWord(*link_, tray, "_NET_SYSTEM_TRAY_VISUAL", XCB_ATOM_VISUALID);
    depth_ = depthOf(link_->screen(), visual);
    if (depth_ != 32) {
        visual = link_->screen().root_visual;
        depth_ = link_->screen().root_depth;
    }
    colours_ = xcb_generate_id(link_->connection());
    xcb_create_colormap(link_->connection(), XCB_COLORMAP_ALLOC_NONE, colours_, link_->root(), visual);
    window_ = xcb_generate_id(link_->connection());
    size_ = QSize(firstSide, firstSide);
    const std::array<std::uint32_t, 4> values{depth_ == 32 ? XCB_BACK_PIXMAP_NONE : XCB_BACK_PIXMAP_PARENT_RELATIVE, 0,
                                              XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                                                  XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE,
                                              colours_};
    xcb_create_window(link_->connection(), depth_, window_, link_->root(), 0, 0, firstSide, firstSide, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      (depth_ == 32 ? XCB_CW_BACK_PIXEL : XCB_CW_BACK_PIXMAP) | XCB_CW_BORDER_PIXEL |
                          XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values.data());
    const std::array<std::uint32_t, 2> info{embedVersion, embedMapped};
    const xcb_atom_t infoAtom = link_->atom("_XEMBED_INFO");
    xcb_change_property(link_->connection(), XCB_PROP_MODE_REPLACE, window_, infoAtom, infoAtom, 32, info.size(),
                        info.data());
    nameWindow();
}

void XEmbedIcon::nameWindow() {
    if (window_ == XCB_WINDOW_NONE)
        return;
    const QByteArray name = label_.toUtf8();
    xcb_change_property(link_->connection(), XCB_PROP_MODE_REPLACE, window_, link_->atom("_NET_WM_NAME"),
                        link_->atom("UTF8_STRING"), 8, static_cast<std::uint32_t>(name.size()), name.constData());
    // The instance and the class.
    constexpr QByteArrayView classes("vennic\0com.vennic.desktop\0", 26);
    xcb_change_property(link_->connection(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(classes.size()), classes.data());
    xcb_flush(link_->connection());
}

void XEmbedIcon::draw() {
    if (window_ == XCB_WINDOW_NONE || link_->isBroken())
        return;
    const int width = std::clamp(size_.width(), 1, largestSide);
    const int height = std::clamp(size_.height(), 1, largestSide);
    QImage pixels = background(width, height);
    if (image_ && !pixels.isNull()) {
        // A little air, as the pictures of the size meant for bars have it.
        const int side = std::max(1, std::min(width, height) * 9 / 10);
        const QImage picture = statusPicture(*image_, side, ink(pixels), isHighlighted_);
        QPainter painter(&pixels);
        painter.drawImage((width - side) / 2, (height - side) / 2, picture);
    }
    if (!pixels.isNull())
        put(pixels);
    xcb_flush(link_->connection());
}

QColor XEmbedIcon::ink(const QImage& background) const {
    return depth_ == 32 ? inkForAnyBackground : inkOn(average(background));
}

QImage XEmbedIcon::background(int width, int height) const {
    QImage pixels(width, height, QImage::Format_ARGB32_Premultiplied);
    pixels.fill(Qt::transparent);
    if (depth_ == 32)
        return pixels;
    xcb_clear_area(link_->connection(), 0, window_, 0, 0, 0, 0);
    const XcbReply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(link_->connection(),
                            xcb_get_image(link_->connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, window_, 0, 0,
                                          static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), ~0U),
                            nullptr));
    // Not on the screen yet, or a screen of few colours.
    if (!image || image->depth != 24 || xcb_get_image_data_length(image.get()) < width * height * 4)
        return {};
    const QImage screen(xcb_get_image_data(image.get()), width, height, width * 4, QImage::Format_RGB32);
    return screen.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

void XEmbedIcon::put(const QImage& pixels) {
    const xcb_gcontext_t context = xcb_generate_id(link_->connection());
    xcb_create_gc(link_->connection(), context, window_, 0, nullptr);
    xcb_put_image(link_->connection(), XCB_IMAGE_FORMAT_Z_PIXMAP, window_, context,
                  static_cast<std::uint16_t>(pixels.width()), static_cast<std::uint16_t>(pixels.height()), 0, 0, 0,
                  depth_, static_cast<std::uint32_t>(pixels.sizeInBytes()), pixels.constBits());
    xcb_free_gc(link_->connection(), context);
}

} // namespace vennic
