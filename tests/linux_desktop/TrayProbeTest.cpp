#include "linux/desktop/TrayProbe.h"

#include "base/Pool.h"
#include "linux_desktop/DesktopWorld.h"
#include "linux_desktop/StandInTray.h"
#include "linux_desktop/StandInWatcher.h"

namespace vennic::test {

namespace {
/// While the stand-ins, which live on this thread, can answer.
TrayKind found() { return await(onPool(trayOfThisDesktop)); }
} // namespace

TEST(TrayProbe, aDesktopWithoutBarsHasNoPlaceForAnIcon) {
    const DesktopWorld world;
    EXPECT_EQ(found(), TrayKind::none);
    const StandInWatcher withoutABar(false);
    EXPECT_EQ(found(), TrayKind::none);
}

TEST(TrayProbe, theBarOfTheBusComesBeforeTheTrayOfTheScreen) {
    const DesktopWorld world;
    const StandInTray tray;
    EXPECT_EQ(found(), TrayKind::embedding);
    const StandInWatcher watcher;
    EXPECT_EQ(found(), TrayKind::statusNotifier);
}

TEST(TrayProbe, withoutABusAndAScreenThereIsNone) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    qunsetenv("DISPLAY");
    EXPECT_EQ(found(), TrayKind::none);
}

} // namespace vennic::test
