#pragma once
#include <QPoint>
#include <QSocketNotifier>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <xcb/xcb.h>

namespace vennic {

struct XcbFree {
    void operator()(void* reply) const { std::free(reply); } // NOLINT(cppcoreguidelines-no-malloc): xcb allocates so
};
template <class T>
using XcbReply = std::unique_ptr<T, XcbFree>;

/// A connection to the X server apart from the toolkit's, for what the toolkit doesn't do. When the server goes, it
/// falls silent. Main thread only.
class XcbLink {
public:
    /// To the server that DISPLAY names; none when it can't be reached, or hasn't greeted within `patience`.
    static std::unique_ptr<XcbLink> open(std::chrono::milliseconds patience = std::chrono::seconds{3});
    XcbLink(const XcbLink&) = delete;
    XcbLink& operator=(const XcbLink&) = delete;
    ~XcbLink();

    xcb_connection_t* connection() const { return connection_; }
    const xcb_screen_t& screen() const { return *screen_; }
    int screenNumber() const { return screenNumber_; }
    xcb_window_t root() const { return screen_->root; }
    bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }
    /// XCB_ATOM_NONE when the server gives none.
    xcb_atom_t atom(const QByteArray& name) const;
    /// Where the pointer is, in device pixels of this screen; none when it is on another.
    std::optional<QPoint> pointer() const;

    /// Calls `handler` with each event, from the event loop.
    void follow(std::function<void(const xcb_generic_event_t& event)> handler);

private:
    XcbLink(xcb_connection_t* connection, int screenNumber);

    void handOn(xcb_generic_event_t* (*next)(xcb_connection_t*));

    xcb_connection_t* connection_;
    int screenNumber_;
    const xcb_screen_t* screen_;
    std::function<void(const xcb_generic_event_t&)> handler_;
    std::unique_ptr<QSocketNotifier> incoming_;
};

} // namespace vennic
