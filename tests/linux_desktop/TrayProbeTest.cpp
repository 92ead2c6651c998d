#include "linux/desktop/TrayProbe.h"

#include "linux_desktop/DesktopWorld.h"
#include "linux_desktop/StandInTray.h"
#include "linux_desktop/StandInWatcher.h"

namespace vennic::test {

TEST(TrayProbe, aDesktopWithoutBarsHasNoPlaceForAnIcon) {
    const DesktopWorld world;
    EXPECT_EQ(trayOfThisDesktop(), TrayKind::none);
    const StandInWatcher withoutABar(false);
    EXPECT_EQ(trayOfThisDesktop(), TrayKind::none);
}

TEST(TrayProbe, theBarOfTheBusComesBeforeTheTrayOfTheScreen) {
    const DesktopWorld world;
    const StandInTray tray;
    EXPECT_EQ(trayOfThisDesktop(), TrayKind::embedding);
    const StandInWatcher watcher;
    EXPECT_EQ(trayOfThisDesktop(), TrayKind::statusNotifier);
}

TEST(TrayProbe, withoutABusAndAScreenThereIsNone) {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    qunsetenv("DISPLAY");
    EXPECT_EQ(trayOfThisDesktop(), TrayKind::none);
}

} // namespace vennic::test
