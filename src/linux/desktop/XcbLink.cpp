#include "linux/desktop/XcbLink.h"

#include <QAbstractEventDispatcher>
#include <QByteArray>

#include <future>
#include <thread>

namespace vennic {

namespace {

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && screens.rem > 1)
        xcb_screen_next(&screens);
    return screens.data;
}

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

struct Greeted {
    std::unique_ptr<xcb_connection_t, Disconnect> connection;
    int screen = 0;
};

Greeted connect(const QByteArray& display) {
    Greeted greeted;
    greeted.connection.reset(xcb_connect(display.constData(), &greeted.screen));
    return greeted;
}

} // namespace

std::unique_ptr<XcbLink> XcbLink::open(std::chrono::milliseconds patience) {
    const QByteArray display = qgetenv("DISPLAY");
    if (display.isEmpty())
        return nullptr;
    // The library waits for ever. A thread that it holds up is left to it, and closes what may come after all.
    std::packaged_task<Greeted(QByteArray)> connecting(connect);
    std::future<Greeted> answer = connecting.get_future();
    std::thread(std::move(connecting), display).detach();
    if (answer.wait_for(patience) != std::future_status::ready)
        return nullptr;
    Greeted greeted = answer.get();
    if (xcb_connection_has_error(greeted.connection.get()) != 0)
        return nullptr;
    return std::unique_ptr<XcbLink>(new XcbLink(greeted.connection.release(), greeted.screen));
}

XcbLink::XcbLink(xcb_connection_t* connection, int screenNumber)
    : connection_(connection), screenNumber_(screenNumber), screen_(screenOf(connection, screenNumber)) {}

XcbLink::~XcbLink() {
    incoming_.reset();
    xcb_disconnect(connection_);
}

xcb_atom_t XcbLink::atom(const QByteArray& name) const {
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::optional<QPoint> XcbLink::pointer() const {
    const XcbReply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, root()), nullptr));
    if (!reply || reply->same_screen == 0)
        return std::nullopt;
    return QPoint(reply->root_x, reply->root_y);
}

void XcbLink::follow(std::function<void(const xcb_generic_event_t&)> handler) {
    handler_ = std::move(handler);
    incoming_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    QObject::connect(incoming_.get(), &QSocketNotifier::activated, incoming_.get(),
                     [this] { handOn(xcb_poll_for_event); });
    // Whoever waits for a reply may read events too, after which the socket has nothing to say of them.
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, incoming_.get(),
                     [this] {
                         handOn(xcb_poll_for_queued_event);
                         xcb_flush(connection_);
                     });
}

void XcbLink::handOn(xcb_generic_event_t* (*next)(xcb_connection_t*)) {
    while (const XcbReply<xcb_generic_event_t> event{next(connection_)})
        handler_(*event);
    if (isBroken())
        incoming_->setEnabled(false); // it would be readable for ever
}

} // namespace vennic
