#include "linux/desktop/WindowActivation.h"

#include "linux/desktop/XcbLink.h"

#include <QGuiApplication>

#include <array>
#include <utility>

namespace vennic {

namespace {

constexpr const char* waylandVariable = "XDG_ACTIVATION_TOKEN";
constexpr const char* startupVariable = "DESKTOP_STARTUP_ID";
constexpr std::uint32_t fromAProgram = 1; // who asks

xcb_atom_t atomOf(xcb_connection_t* connection, const QByteArray& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

xcb_window_t rootOf(xcb_connection_t* connection, xcb_window_t window) {
    const XcbReply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    return reply ? reply->root : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

} // namespace

QString WindowActivation::ofThisProcess() {
    QString token = qEnvironmentVariable(waylandVariable);
    if (token.isEmpty())
        token = qEnvironmentVariable(startupVariable);
    qunsetenv(waylandVariable); // no program that we start is meant by it
    qunsetenv(startupVariable);
    return token;
}

void WindowActivation::allow(const QString& token) {
    if (!token.isEmpty() && token.size() <= longestToken)
        token_ = token;
    // The toolkit takes it from there when a window asks for the keyboard, and away.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        qputenv(waylandVariable, std::exchange(token_, {}).toUtf8());
}

void WindowActivation::present(quint64 window) {
    const auto time = timeOf(std::exchange(token_, {}));
    const auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    const auto* const x = application ? application->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (time && x)
        present(x->connection(), static_cast<xcb_window_t>(window), *time); // behind what the toolkit has said
}

std::optional<quint32> WindowActivation::timeOf(const QString& token) {
    const QLatin1String mark("_TIME");
    const qsizetype at = token.lastIndexOf(mark);
    bool isNumber = false;
    const quint32 time = at < 0 ? 0 : QStringView(token).mid(at + mark.size()).toUInt(&isNumber);
    return isNumber && time != 0 ? std::optional(time) : std::nullopt;
}

void WindowActivation::present(xcb_connection_t* connection, xcb_window_t window, quint32 time) {
    const xcb_window_t root = rootOf(connection, window);
    if (root == XCB_WINDOW_NONE)
        return;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atomOf(connection, "_NET_WM_USER_TIME"),
                        XCB_ATOM_CARDINAL, 32, 1, &time);
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atomOf(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = fromAProgram;
    message.data.data32[1] = time;
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace vennic
