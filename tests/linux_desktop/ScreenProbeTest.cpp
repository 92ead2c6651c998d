#include "linux/desktop/ScreenProbe.h"

#include "support/PrivateDisplay.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

TEST(ScreenProbe, anXServerThatAnswersIsAScreen) {
    qunsetenv("WAYLAND_DISPLAY");
    PrivateDisplay display;
    EXPECT_EQ(usableScreen(), "xcb");
    display.kill();
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
