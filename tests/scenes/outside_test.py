"""The popover goes away when somebody clicks elsewhere, whoever manages the windows, and stays when they click in it."""
import subprocess
import unittest

from desktop import DesktopScene
from scene import wait_for

CORNER = (40, 40)  # the bare desktop


class Outside(DesktopScene):
    def manage_windows(self, *program):
        self.run_beside(*program)
        wait_for(lambda: "window id" in subprocess.run(["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"], capture_output=True, text=True,
                                                       check=False, timeout=60).stdout, "somebody manages the windows")

    def open_other_window(self):
        """A window of another program, which takes what is typed and says nothing."""
        self.run_beside("xev", "-geometry", "300x200+60+120")
        window = wait_for(lambda: self.xdotool("search", "--onlyvisible", "--name", "^Event Tester$").split(), "the other window is there")[0]
        return wait_for(lambda: self.place_of(window), "it has a place")

    def open_popover(self):
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        return self.await_popover()

    def check_clicks(self):
        self.start_client()
        x, y, width, height = self.open_other_window()
        for place, what in ((CORNER, "the desktop"), ((x + width // 2, y + height // 2), "another window")):
            for _ in range(2):
                self.xdotool("mousemove", "900", "500")
                self.open_popover()
                self.picture("outside-" + self._testMethodName)
                self.click(*place)
                wait_for(lambda: self.popover() is None, "a click on " + what + " closes it")
        self.check_clicks_inside()
        self.check_icon()

    def check_clicks_inside(self):
        """In the window itself, in the menu that it opens, and back in the input."""
        window = self.open_popover()
        x, y, width, height = self.place_of(window)
        self.click(x + width // 2, y + 200)
        self.click(x + 60, y + height - 28)  # who answers
        self.click(x + 120, y + height - 158)  # an entry of that menu
        self.click(x + 100, y + height - 70)
        self.xdotool("type", "encore là")
        self.assertEqual(self.popover(), window)
        self.assertEqual(self.keyboard_of(), window)
        self.picture("inside-" + self._testMethodName)
        self.xdotool("key", "Escape")
        self.await_no_popover()

    def check_icon(self):
        self.run_beside("trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "28",
                        "--SetDockType", "true")
        x, y, width, height = wait_for(self.icon, "the icon is in the tray")
        self.check_icon_at(x + width // 2, y + height // 2)

    def icon(self):
        for window in self.xdotool("search", "--onlyvisible", "--classname", "^vennic$").split():
            place = self.place_of(window)
            if place and max(place[2:]) < 100:
                return place
        return None

    def test_without_a_window_manager(self):
        self.check_clicks()

    def test_under_openbox(self):
        self.manage_windows("openbox", "--sm-disable")
        self.check_clicks()

    def test_under_xfwm(self):
        self.manage_windows("xfwm4", "--compositor=off", "--sm-client-disable")
        self.check_clicks()

    def test_under_xfwm_with_its_compositor(self):
        self.manage_windows("xfwm4", "--compositor=on", "--sm-client-disable")
        self.check_clicks()


if __name__ == "__main__":
    unittest.main()
