#include "linux/desktop/ScreenProbe.h"

#include "linux/FileDescriptor.h"
#include "linux/desktop/XcbLink.h"
#include "support/PrivateDisplay.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace vennic::test {

TEST(ScreenProbe, anXServerThatAnswersIsAScreen) {
    qunsetenv("WAYLAND_DISPLAY");
    PrivateDisplay display;
    EXPECT_EQ(usableScreen(), "xcb");
    display.kill();
    EXPECT_EQ(usableScreen(), "");
}

/// Listens where an X server would, and says nothing to who connects.
class SilentServer {
public:
    SilentServer() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        EXPECT_EQ(bind(listening_.number(), generic, size), 0);
        EXPECT_EQ(listen(listening_.number(), 8), 0);
        EXPECT_EQ(getsockname(listening_.number(), generic, &size), 0);
        EXPECT_GE(ntohs(address.sin_port), firstPort);
        qputenv("DISPLAY", "127.0.0.1:" + QByteArray::number(ntohs(address.sin_port) - firstPort));
    }

private:
    static constexpr int firstPort = 6000; // of display 0
    FileDescriptor listening_{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

TEST(ScreenProbe, anXServerThatSaysNothingIsNoScreen) {
    qunsetenv("WAYLAND_DISPLAY");
    const SilentServer server;
    EXPECT_EQ(XcbLink::open(std::chrono::milliseconds{50}), nullptr);
    EXPECT_EQ(usableScreen(), "");
}

TEST(ScreenProbe, aNameWithNobodyBehindItIsNone) {
    const QTemporaryDir folder;
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    qunsetenv("WAYLAND_DISPLAY");
    qunsetenv("DISPLAY");
    EXPECT_EQ(usableScreen(), "");
    for (const char* name : {":4711", "nowhere.invalid:0", ":", "x", ""}) {
        qputenv("DISPLAY", name);
        EXPECT_EQ(usableScreen(), "") << name;
    }
    for (const QByteArray& name :
         {QByteArray("wayland-9"), QByteArray("/nowhere"), QByteArray(500, 'w'), QByteArray()}) {
        qputenv("WAYLAND_DISPLAY", name);
        EXPECT_EQ(usableScreen(), "");
    }
}

} // namespace vennic::test
