#include "linux/desktop/WindowActivation.h"

#include "linux/desktop/XcbLink.h"
#include "support/PrivateDisplay.h"

#include <gtest/gtest.h>

namespace vennic::test {
namespace {

TEST(WindowActivation, theTimeOfAPressEndsAnIdentifier) {
    EXPECT_EQ(WindowActivation::timeOf(QStringLiteral("gnome-shell/Vennic/812-3-host_TIME123456")), 123456u);
    EXPECT_EQ(WindowActivation::timeOf(QStringLiteral("a_TIME1_TIME4294967295")), 4294967295u);
    for (const char* other : {"", "x", "_TIME", "_TIME0", "_TIME-1", "_TIME12x", "_TIME4294967296", "TIME5",
                              "6f1c0f54-52b5-4a4e-9a7b-0f4a5e7c8d10"})
        EXPECT_EQ(WindowActivation::timeOf(QString::fromLatin1(other)), std::nullopt) << other;
}

TEST(WindowActivation, theProcesssTokenIsTakenOutOfItsEnvironment) {
    qputenv("DESKTOP_STARTUP_ID", "old");
    EXPECT_EQ(WindowActivation::ofThisProcess(), QStringLiteral("old"));
    qputenv("DESKTOP_STARTUP_ID", "old");
    qputenv("XDG_ACTIVATION_TOKEN", "new");
    EXPECT_EQ(WindowActivation::ofThisProcess(), QStringLiteral("new"));
    EXPECT_FALSE(qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID"));
    EXPECT_FALSE(qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    EXPECT_EQ(WindowActivation::ofThisProcess(), QString());
}

TEST(WindowActivation, theWindowManagerIsToldOfThePress) {
    const PrivateDisplay display;
    const auto manager = XcbLink::open();
    const auto program = XcbLink::open();
    ASSERT_TRUE(manager && program);
    const std::uint32_t wanted = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    xcb_change_window_attributes(manager->connection(), manager->root(), XCB_CW_EVENT_MASK, &wanted);
    const xcb_window_t window = xcb_generate_id(program->connection());
    xcb_create_window(program->connection(), XCB_COPY_FROM_PARENT, window, program->root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, program->screen().root_visual, 0, nullptr);
    ASSERT_NE(manager->atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_NONE); // an answer: the server has done what was asked

    WindowActivation::present(program->connection(), window, 4711);

    const XcbReply<xcb_generic_event_t> event(xcb_wait_for_event(manager->connection()));
    ASSERT_TRUE(event);
    ASSERT_EQ(event->response_type & 0x7f, XCB_CLIENT_MESSAGE);
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(*event);
    EXPECT_EQ(message.window, window);
    EXPECT_EQ(message.type, manager->atom("_NET_ACTIVE_WINDOW"));
    EXPECT_EQ(message.data.data32[0], 1u);
    EXPECT_EQ(message.data.data32[1], 4711u);
    const XcbReply<xcb_get_property_reply_t> property(xcb_get_property_reply(
        manager->connection(),
        xcb_get_property(manager->connection(), 0, window, manager->atom("_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 0, 1),
        nullptr));
    ASSERT_TRUE(property && xcb_get_property_value_length(property.get()) == 4);
    EXPECT_EQ(*static_cast<const std::uint32_t*>(xcb_get_property_value(property.get())), 4711u);
}

TEST(WindowActivation, aWindowThatHasGoneIsNoFault) {
    const PrivateDisplay display;
    const auto program = XcbLink::open();
    ASSERT_TRUE(program);
    WindowActivation::present(program->connection(), 0x1234567, 4711);
    EXPECT_FALSE(program->isBroken());
}

TEST(WindowActivation, withoutWindowsATokenIsHarmless) {
    WindowActivation activation;
    activation.allow(QStringLiteral("x_TIME5"));
    activation.present(1);
    activation.allow(QString(5000, u'x'));
    activation.present(1);
}

} // namespace
} // namespace vennic::test
