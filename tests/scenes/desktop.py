"""The client on a private desktop, and what somebody at that desktop can see and do."""
import contextlib
import os
import pathlib
import shutil
import sqlite3
import subprocess

from scene import Scene, wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]
POPOVER = (380, 520)  # pixels
APPLICATION = ("com.vennic.desktop", "/com/vennic/desktop", "org.freedesktop.Application")


def gdbus(service, path, interface, method, *arguments):
    """What a call on the session bus gives, as text; none when it fails."""
    answer = subprocess.run(["gdbus", "call", "--session", "--dest", service, "--object-path", path, "--method",
                             f"{interface}.{method}", *arguments], capture_output=True, text=True, check=False, timeout=60)
    return answer.stdout if answer.returncode == 0 else None


def read_property(service, path, interface, name):
    return gdbus(service, path, "org.freedesktop.DBus.Properties", "Get", interface, name)


def end(process):
    """Asks it to end, and doesn't wait for one that has missed that: some look for it between two events only."""
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


class DesktopScene(Scene):
    def run_beside(self, *program):
        """Another program of the same desktop, for as long as the scene."""
        process = subprocess.Popen(program, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(end, process)
        return process

    def take_windows_away(self):
        """As where the package of the windows isn't installed."""
        (self.folder / "bin" / "vennic-screen.so").unlink()

    def setUp(self):
        super().setUp()
        for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
            self.client.environment[name] = os.environ[name]
        shutil.copy(ROOT / "packaging" / "icons" / "VennicStatusIcon.svg", self.resources)

    def start_client(self):
        self.backend.start()
        self.deploy()
        self.client.start()
        wait_for(self.is_on_the_bus, "the client is on the bus")

    def is_on_the_bus(self):
        return "true" in gdbus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                               APPLICATION[0])

    def preference(self, key):
        """The text kept under a key by the client, once it is on the disk."""
        path = self.folder / "data" / "vennic" / "preferences.sqlite"
        if not path.exists():
            return None
        with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as store:
            try:
                row = store.execute("SELECT CAST(value AS TEXT) FROM preferences WHERE key = ?", (key,)).fetchone()
            except sqlite3.OperationalError:  # it is being made
                return None
        return row[0] if row else None

    def await_anchor(self, anchor):
        wait_for(lambda: self.preference("hallwardenPanelAnchor") == anchor, f"the anchor {anchor} is kept")

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], capture_output=True, text=True, check=False, timeout=60).stdout

    def click(self, x, y):
        self.xdotool("mousemove", str(x), str(y), "click", "1")

    def place_of(self, window):
        lines = dict(line.split("=") for line in self.xdotool("getwindowgeometry", "--shell", window).splitlines())
        return tuple(int(lines[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")) if "X" in lines else None

    def popover(self):
        """The window of the popover where it is seen; none while it isn't."""
        return next((window for window in self.xdotool("search", "--onlyvisible", "--name", "^Vennic$").split()
                     if (self.place_of(window) or ())[2:] == POPOVER), None)

    def keyboard_of(self):
        """The window that has the keyboard, whether or not a window manager knows."""
        return self.xdotool("getwindowfocus").strip()

    def await_popover(self):
        window = wait_for(self.popover, "the popover is there")
        wait_for(lambda: self.keyboard_of() == window, "the popover has the keyboard")
        return window

    def await_no_popover(self):
        wait_for(lambda: self.popover() is None, "the popover is gone")

    def dialog(self):
        """The window of the dialog that has the keyboard; none without."""
        window = self.xdotool("search", "--onlyvisible", "--classname", "vennic-dialog").split()
        return window[0] if window and self.xdotool("getactivewindow").strip() == window[0] else None

    def colours(self, x, y, width, height):
        """How many colours a part of the screen has."""
        picture = subprocess.run(["import", "-window", "root", "-crop", f"{width}x{height}+{x}+{y}", "miff:-"], capture_output=True,
                                 check=True, timeout=60).stdout
        listed = subprocess.run(["convert", "miff:-", "-unique-colors", "-format", "%w", "info:"], input=picture, capture_output=True,
                                check=True, timeout=60).stdout
        return int(listed)

    def picture(self, name):
        """Keeps a picture of the screen where somebody wants to look at it."""
        if "VENNIC_PICTURES" in os.environ:
            subprocess.run(["import", "-window", "root", f"{os.environ['VENNIC_PICTURES']}/{name}.png"], check=True)

    def check_icon_at(self, x, y):
        """A click on the icon opens the popover and closes it, by a short press and by a long one."""
        self.xdotool("mousemove", str(x), str(y))
        for press in (["click", "1"], ["mousedown", "1", "sleep", "0.7", "mouseup", "1"]):
            self.xdotool(*press)
            self.await_popover()
            self.xdotool(*press)
            self.await_no_popover()
            self.xdotool("sleep", "0.5")
            self.assertIsNone(self.popover())  # nor does it come back

    def ask_to_quit(self):
        self.assertIsNotNone(gdbus(*APPLICATION, "ActivateAction", "quit", "[]", "{}"))

    def check_the_box(self):
        """It stands behind the two buttons."""
        self.xdotool("key", "Tab", "Tab", "space")

    def await_no_dialog(self):
        wait_for(lambda: not self.xdotool("search", "--onlyvisible", "--classname", "vennic-dialog"), "the dialog is gone")
