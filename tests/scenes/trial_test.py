"""scripts/run on a desktop: what a person tries is on their desktop, and beside the Vennic that they may have."""
import json
import os
import subprocess
import unittest

from desktop import gdbus
from run_test import Scene
from scene import PATIENCE, wait_for

# Stands where a Vennic of the user's own would.
OTHER = """
import dbus, dbus.service, time
name = dbus.service.BusName("com.vennic.desktop", dbus.SessionBus())
print("there", flush=True)
time.sleep(600)
"""


class Trial(Scene):
    def status(self):
        answer = subprocess.run([self.state / "vennic", "status", "--json"], capture_output=True, text=True, check=True)
        return json.loads(answer.stdout)

    @staticmethod
    def owner():
        """Who stands on the desktop's road."""
        return gdbus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
                     "com.vennic.desktop")

    def test_the_client_is_on_the_desktop_and_its_token_in_the_vault(self):
        self.begin()
        self.assertEqual(self.status()["credential_store"], "file")
        self.assertTrue((self.state / "data" / "vennic" / "credentials.json").exists())
        wait_for(self.owner, "it stands on the desktop's road")
        self.assertIsNotNone(gdbus("com.vennic.desktop", "/com/vennic/desktop", "org.freedesktop.Application",
                                   "ActivateAction", "settings", "[]", "{}"))
        window = wait_for(self.settings_shown, "the settings come up")
        # As a launcher says it, which knows when it was pressed.
        self.assertIsNotNone(gdbus("com.vennic.desktop", "/com/vennic/desktop", "org.freedesktop.Application",
                                   "ActivateAction", "settings", "[]", "{'desktop-startup-id': <'panel-1_TIME4711'>}"))
        wait_for(lambda: "= 4711" in self.said_by("xprop", "-id", window, "_NET_WM_USER_TIME"),
                 "the window comes up by the press on the launcher")

    def settings_shown(self):
        return self.said_by("xdotool", "search", "--onlyvisible", "--name", "^Réglages de Vennic$").strip()

    @staticmethod
    def said_by(*command):
        return subprocess.run(command, capture_output=True, text=True, check=False, timeout=PATIENCE).stdout

    def test_the_users_own_vennic_keeps_its_place(self):
        other = subprocess.Popen(["/usr/bin/python3", "-c", OTHER], stdout=subprocess.PIPE)
        self.addCleanup(other.wait)
        self.addCleanup(other.stdout.close)
        self.addCleanup(other.kill)
        self.assertEqual(other.stdout.readline(), b"there\n")
        before = self.owner()
        self.begin()
        self.assertTrue(self.status()["authenticated"])
        self.assertEqual(self.owner(), before)
        self.assertEqual(subprocess.run([self.state / "vennic", "toggle"], check=False).returncode, 0)

    def test_a_check_leaves_the_desktop_alone(self):
        ended = subprocess.run([self.script, "--state", self.state, "--check", self.shared], env=self.environment,
                               stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False, timeout=3 * PATIENCE)
        self.assertNotIn("trousseau de session", ended.stdout + ended.stderr)
        self.assertIsNone(self.owner())
        self.assertFalse((self.folder / "home" / ".local").exists())


if __name__ == "__main__":
    unittest.main()
