"""The settings, as somebody at the screen uses them: an account paired by typing, a folder shared and seen."""
import os
import subprocess
import unittest

from scene import Scene, wait_for


class Settings(Scene):
    def setUp(self):
        super().setUp()
        for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
            self.client.environment[name] = os.environ[name]
        self.backend.start()
        self.deploy()
        self.client.start()

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], capture_output=True, text=True, check=False, timeout=60).stdout.strip()

    def press(self, *keys):
        for key in keys:
            self.xdotool("key", "--clearmodifiers", key)

    def has_keyboard(self, title):
        return title in self.xdotool("getactivewindow", "getwindowname")

    def picture(self, name):
        """Keeps a picture of the screen where somebody wants to look at it."""
        if "VENNIC_PICTURES" in os.environ:
            subprocess.run(["import", "-window", "root", f"{os.environ['VENNIC_PICTURES']}/{name}.png"], check=True)

    def open_settings(self):
        """By the link that leads there: the window opens on its first tab."""
        self.assertEqual(self.client.verb("open", "vennic://local/setup").returncode, 0)
        wait_for(lambda: self.has_keyboard("Réglages de Vennic"), "the settings have the keyboard")

    def shares(self):
        return [share["name"] for share in self.client.status()["shares"]]

    def test_a_typed_code_pairs_and_a_chosen_folder_is_shared(self):
        self.open_settings()
        self.xdotool("type", self.backend.pairing_code())
        self.picture("scene-code")
        self.press("Return")
        wait_for(lambda: self.client.status()["authenticated"], "the code is claimed")
        # From the account back to the tabs, and on to the second one.
        self.press("shift+Tab", "Right", "Tab", "space")
        wait_for(lambda: self.client.status()["bridge_enabled"], "the bridge is on")
        self.press("Tab", "space")
        wait_for(lambda: self.has_keyboard("Sélectionne les dossiers"), "the panel has the keyboard")
        self.xdotool("type", str(self.shared))
        self.picture("scene-panel")
        self.press("Return")
        wait_for(lambda: self.shares() == ["documents"], "the folder is shared")
        wait_for(lambda: self.has_keyboard("Réglages de Vennic"), "the settings have the keyboard again")
        self.device = self.client.status()["device_id"]
        self.await_polling()
        task = self.backend.run(self.device, "list_folders")
        self.assertEqual([folder["name"] for folder in task["result"]["folders"]], ["documents"])
        self.picture("scene-bridge")

    def test_a_refused_code_leaves_the_client_signed_out(self):
        self.open_settings()
        self.xdotool("type", "ABCDE")
        self.press("Return")
        self.xdotool("type", "F")  # the error goes, the window goes on
        self.press("Escape")
        self.assertFalse(self.client.status()["authenticated"])
        self.assertIsNone(self.client.process.poll())


if __name__ == "__main__":
    unittest.main()
