"""The icon in a tray of the older kind, which the X server knows and the session bus doesn't."""
import subprocess
import unittest

from desktop import DesktopScene
from scene import wait_for


class Tray(DesktopScene):
    def test_the_icon_is_in_the_tray_takes_clicks_and_follows_the_tray(self):
        self.take_windows_away()  # so that the icon is the one window of the client's
        self.start_client()
        for edge in ("top", "bottom"):
            tray = subprocess.Popen(["trayer", "--edge", edge, "--align", "right", "--widthtype", "request", "--height", "28",
                                     "--SetDockType", "true"], stderr=subprocess.DEVNULL)
            try:
                x, y, width, height = wait_for(self.icon, "the icon is in the tray")
                self.assertGreaterEqual(min(width, height), 16)
                self.picture("tray-" + edge)
                self.xdotool("mousemove", str(x + width // 2), str(y + height // 2), "click", "1")
                wait_for(self.dialog, "the click is heard")  # the windows aren't there, which is said
                self.xdotool("key", "Return")
                self.await_no_dialog()
            finally:
                tray.kill()
                tray.wait()
            wait_for(lambda: self.icon() is None, "the icon is gone with the tray")
        self.assertEqual(self.client.verb("status").returncode, 0)

    def icon(self):
        """Where the icon is seen, and its size; none while it isn't."""
        found = self.xdotool("search", "--onlyvisible", "--classname", "^vennic$").split()
        if not found:
            return None
        return self.place_of(found[0])


if __name__ == "__main__":
    unittest.main()
