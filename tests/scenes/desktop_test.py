"""The client on a desktop: its icon, the links that the desktop hands over, the question before the end."""
import os
import pathlib
import signal
import socket
import subprocess
import unittest

from desktop import APPLICATION, ROOT, DesktopScene, gdbus, read_property
from scene import wait_for

NO_SCREEN = "L'écran de Vennic ne se charge pas : réinstalle Vennic.\n"
WATCHER = ("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher")


class Desktop(DesktopScene):
    def test_the_icon_is_in_the_panel(self):
        self.start_client()
        item = wait_for(self.item, "the icon is registered")
        self.assertIn("'Vennic'", read_property(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Title"))
        pixels = read_property(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "IconPixmap")
        self.assertTrue("(22, 22, [" in pixels and "0xff, 0x8e, 0x8e, 0x8e" in pixels)
        self.picture("panel")

    def test_a_click_on_the_icon_in_the_panel_opens_and_closes_the_popover(self):
        self.start_client()
        wait_for(self.item, "the icon is registered")
        width, height = map(int, self.xdotool("getdisplaygeometry").split())
        wait_for(lambda: self.colours(width - 36, height - 30, 36, 30) > 16, "the panel has drawn it")
        self.check_icon_at(width - 18, height - 16)

    def item(self):
        """The bus name of our icon."""
        items = read_property(*WATCHER, "RegisteredStatusNotifierItems") or ""
        for word in items.split("'"):
            name = word.split("/")[0]
            if name.startswith(":") and "com.vennic.desktop" in (
                    read_property(name, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Id") or ""):
                return name
        return None

    def test_without_its_windows_the_client_says_so_and_goes_on(self):
        self.take_windows_away()
        self.start_client()
        toggled = self.client.verb("toggle")
        self.assertEqual((toggled.returncode, toggled.stderr), (1, NO_SCREEN))
        second = self.client.verb()
        self.assertEqual((second.returncode, second.stdout, second.stderr), (0, "Vennic tourne déjà.\n", NO_SCREEN))
        self.assertIsNone(self.client.process.poll())

    def test_links_are_handed_to_the_running_client(self):
        self.take_windows_away()
        self.start_client()
        handed = self.client.verb("vennic://desktop/hallwarden_panel?section=secure")
        self.assertEqual(handed.returncode, 0, handed.stderr)
        self.await_anchor("secureAccess")
        opened = self.client.verb("open", "VENNIC://local/setup")
        self.assertEqual((opened.returncode, opened.stderr), (1, NO_SCREEN))
        self.await_anchor("localRuntime")
        unknown = self.client.verb("open", "vennic://ailleurs")
        self.assertEqual(unknown.returncode, 1)
        self.assertIn("vennic://ailleurs", unknown.stderr)

    def test_a_link_is_handed_over_though_the_session_bus_never_answers(self):
        self.start_client()
        with socket.socket(socket.AF_UNIX) as bus:
            bus.bind(str(self.folder / "hung"))
            bus.listen(16)
            environment = self.client.environment | {"DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.folder}/hung"}
            handed = subprocess.run([self.client.program, "vennic://desktop/hallwarden_panel?section=secure"], env=environment,
                                    capture_output=True, text=True, check=False, timeout=20)
        self.assertEqual(handed.returncode, 0, handed.stderr)
        self.await_anchor("secureAccess")

    def test_a_start_with_a_link_follows_it(self):
        self.backend.start()
        self.deploy()
        with open(self.client.log, "ab") as log:
            self.client.process = subprocess.Popen(
                [self.client.program, "vennic://desktop/hallwarden_panel?section=approvals"],
                env=self.client.environment, stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
        self.await_anchor("approvals")

    def test_a_link_that_the_desktop_opens_starts_the_client_and_reaches_it(self):
        self.backend.start()
        self.deploy()
        self.install()
        self.addCleanup(self.client.verb, "quit")
        for section, anchor in (("audit", "activity"), ("approvals", "approvals")):
            opened = subprocess.run(["gio", "open", f"vennic://desktop/hallwarden_panel?section={section}"],
                                    capture_output=True, text=True, check=False, timeout=60)
            self.assertEqual(opened.returncode, 0, opened.stderr)
            self.await_anchor(anchor)
        self.assertEqual(self.client.verb("status").returncode, 0)

    def install(self):
        """Puts the desktop entry and the service of the bus where this session looks for them."""
        data = pathlib.Path(os.environ["XDG_DATA_HOME"])
        starter = self.folder / "start"
        settings = " ".join(f"'{name}={value}'" for name, value in self.client.environment.items())
        starter.write_text(f"#!/bin/sh\nexec env -i {settings} '{self.client.program}' \"$@\"\n")
        starter.chmod(0o700)
        for folder in ("applications", "dbus-1/services"):
            (data / folder).mkdir(parents=True, exist_ok=True)
        # Desktops leave out an entry whose program isn't there.
        entry = (ROOT / "packaging" / "com.vennic.desktop.desktop").read_text(encoding="utf-8")
        (data / "applications" / "com.vennic.desktop.desktop").write_text(
            entry.replace("Exec=vennic", f"Exec={starter}"), encoding="utf-8")
        service = (ROOT / "packaging" / "com.vennic.desktop.service.in").read_text(encoding="utf-8")
        (data / "dbus-1" / "services" / "com.vennic.desktop.service").write_text(
            service.replace("@program@", str(starter)), encoding="utf-8")
        subprocess.run(["update-desktop-database", data / "applications"], check=True)
        gdbus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReloadConfig")

    def test_sigterm_ends_it_without_a_question(self):
        self.start_client()
        self.client.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.client.process.wait(20), 0)
        self.assertEqual(self.xdotool("search", "--classname", "vennic-dialog"), "")
        self.assertFalse(self.is_on_the_bus())

    def test_whoever_refuses_the_end_stays_and_is_asked_again(self):
        self.start_client()
        for _ in range(2):
            self.ask_to_quit()
            dialog = wait_for(self.dialog, "the dialog has the keyboard")
            self.picture("quit")
            self.ask_to_quit()  # one question at a time
            self.check_the_box()
            self.xdotool("key", "Escape")
            self.await_no_dialog()
            self.assertEqual(self.client.verb("status").returncode, 0)
            self.assertNotEqual(self.dialog(), dialog)
        self.assertIsNone(self.preference("suppressQuitConfirmation"))

    def test_whoever_agrees_to_the_end_gets_it(self):
        self.start_client()
        self.ask_to_quit()
        wait_for(self.dialog, "the dialog has the keyboard")
        self.xdotool("key", "Return")
        self.assertEqual(self.client.process.wait(20), 0)
        self.assertIsNone(self.preference("suppressQuitConfirmation"))

    def test_whoever_does_not_want_to_be_asked_is_not(self):
        self.start_client()
        self.ask_to_quit()
        wait_for(self.dialog, "the dialog has the keyboard")
        self.check_the_box()
        self.picture("quit-for-good")
        self.xdotool("key", "Return")
        self.assertEqual(self.client.process.wait(20), 0)
        self.assertIn(self.preference("suppressQuitConfirmation"), ("1", "true"))
        self.client.start()
        wait_for(self.is_on_the_bus, "the client is on the bus")
        self.ask_to_quit()
        self.assertEqual(self.client.process.wait(20), 0)

    def test_without_a_server_behind_its_name_it_runs_without_a_screen(self):
        self.client.environment["DISPLAY"] = ":4711"
        self.start_client()
        toggled = self.client.verb("toggle")
        self.assertEqual((toggled.returncode, toggled.stderr),
                         (1, "Vennic tourne sans écran : il n'y a rien à ouvrir.\n"))


if __name__ == "__main__":
    unittest.main()
