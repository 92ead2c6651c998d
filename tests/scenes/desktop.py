"""The client on a private desktop, and what somebody at that desktop can see and do."""
import contextlib
import os
import pathlib
import shutil
import sqlite3
import subprocess

from scene import Scene, wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]
APPLICATION = ("com.vennic.desktop", "/com/vennic/desktop", "org.freedesktop.Application")


def gdbus(service, path, interface, method, *arguments):
    """What a call on the session bus gives, as text; none when it fails."""
    answer = subprocess.run(["gdbus", "call", "--session", "--dest", service, "--object-path", path, "--method",
                             f"{interface}.{method}", *arguments], capture_output=True, text=True, check=False, timeout=60)
    return answer.stdout if answer.returncode == 0 else None


def read_property(service, path, interface, name):
    return gdbus(service, path, "org.freedesktop.DBus.Properties", "Get", interface, name)


class DesktopScene(Scene):
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

    def dialog(self):
        """The window of the dialog that has the keyboard; none without."""
        window = self.xdotool("search", "--onlyvisible", "--classname", "vennic-dialog").split()
        return window[0] if window and self.xdotool("getactivewindow").strip() == window[0] else None

    def picture(self, name):
        """Keeps a picture of the screen where somebody wants to look at it."""
        if "VENNIC_PICTURES" in os.environ:
            subprocess.run(["import", "-window", "root", f"{os.environ['VENNIC_PICTURES']}/{name}.png"], check=True)

    def ask_to_quit(self):
        self.assertIsNotNone(gdbus(*APPLICATION, "ActivateAction", "quit", "[]", "{}"))

    def check_the_box(self):
        """It stands behind the two buttons."""
        self.xdotool("key", "Tab", "Tab", "space")

    def await_no_dialog(self):
        wait_for(lambda: not self.xdotool("search", "--onlyvisible", "--classname", "vennic-dialog"), "the dialog is gone")
