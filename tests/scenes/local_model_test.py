"""The settings of the local model, as somebody at the screen uses them: its server installed, tried and watched, a model
deleted. Homebrew, uv and the service manager are commands that play their part."""
import json
import os
import subprocess
import unittest

from model_server import ModelServer, text
from runtime_test import DONE, Machine
from scene import wait_for

MODEL = "mlx-community/Phi-3.5-mini-instruct-4bit"  # the first row of the catalogue
# What the keyboard meets, in order. Only the first model is downloaded, so that its row alone has a bin.
STOPS = ["enabled", "endpoint", "recheck", "restart", "model", "apply", "bin", *(f"download {row}" for row in range(2, 15)),
         "install", "site", "test", "logs"]
WITH_LOG = [*STOPS, "copy", "hide", "log"]


class LocalModel(Machine):
    def setUp(self):
        super().setUp()
        for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
            self.client.environment[name] = os.environ[name]
        self.snapshot = self.home / ".cache/huggingface/hub" / ("models--" + MODEL.replace("/", "--"))
        (self.snapshot / "snapshots/main").mkdir(parents=True)
        (self.snapshot / "snapshots/main/weights").write_bytes(b"w" * 3_000_000)
        self.backend.start()
        self.deploy()
        self.client.start()
        self.model("name", MODEL)
        server = ModelServer(self.folder)  # for its port alone: it isn't installed yet
        server.stop()
        self.port, self.endpoint = server.port, server.endpoint
        self.at = 0

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], capture_output=True, text=True, check=False, timeout=60).stdout.strip()

    def press(self, *keys):
        for key in keys:
            self.xdotool("key", "--clearmodifiers", key)

    def go(self, stop, stops=WITH_LOG):
        """Leads the keyboard from where it is to a stop."""
        steps = stops.index(stop) - self.at
        self.press(*["Tab" if steps > 0 else "shift+Tab"] * abs(steps))
        self.at = stops.index(stop)

    def picture(self, name):
        """Keeps a picture of the screen where somebody wants to look at it."""
        if "VENNIC_PICTURES" in os.environ:
            subprocess.run(["import", "-window", "root", f"{os.environ['VENNIC_PICTURES']}/{name}.png"], check=True)

    def has_keyboard(self, title):
        return title in self.xdotool("getactivewindow", "getwindowname")

    def open_by_the_picker(self):
        """From the chat: the last line of the menu of models leads to their settings."""
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        wait_for(lambda: self.xdotool("search", "--onlyvisible", "--name", "^Vennic$"), "the popover is shown")
        wait_for(lambda: self.has_keyboard("Vennic"), "the popover has the keyboard")
        self.press("Tab", "space", *["Down"] * 8)  # it ends at the last one
        self.picture("scene-picker")
        self.press("Return")
        wait_for(lambda: self.has_keyboard("Réglages de Vennic"), "the settings have the keyboard")

    def told(self):
        return json.loads(self.model("status", "--json").stdout)

    def log(self, stops=WITH_LOG):
        """What the log says, copied by its button and pasted where the client keeps it."""
        endpoint = self.told()["endpoint"]
        self.go("copy", stops)
        self.press("space")
        self.go("endpoint", stops)
        self.press("ctrl+a", "ctrl+v")
        pasted = wait_for(lambda: (now := self.told()["endpoint"]) != endpoint and now, "the log is pasted")
        self.model("endpoint", endpoint)
        return pasted

    def test_a_server_is_installed_tried_and_watched_and_a_model_deleted(self):
        self.open_by_the_picker()
        self.picture("scene-local-model")
        self.press("space")
        wait_for(lambda: self.told()["enabled"], "the local model is switched on")
        self.go("endpoint", STOPS)
        self.press("ctrl+a")
        self.xdotool("type", self.endpoint)
        wait_for(lambda: self.told()["endpoint"] == self.endpoint, "its address is written")

        self.go("install", STOPS)
        self.press("space")
        wait_for(lambda: any(" restart " in call for call in self.calls()), "the service is started")
        self.picture("scene-installing")
        server = ModelServer(self.folder, self.port)  # what the service manager would have started
        self.addCleanup(server.stop)
        wait_for(lambda: server.requests("/v1/models"), "the server is found")
        self.assertTrue(self.unit.exists())
        packages = ["brew install uv", "uv tool install --python 3.11 mlx-lm[cpu]"]
        self.assertEqual(self.calls()[:2], packages)

        self.go("test")
        server.script(text("Bonjour à toi"))
        self.press("space")
        asked = wait_for(server.requests, "the model is tried")
        self.assertEqual(json.loads(asked[0]["body"])["model"], MODEL)
        self.assertFalse("x-user-token" in asked[0]["fields"])
        self.picture("scene-tried")
        log = self.log()
        for line in ("▶︎ brew install uv", "==> Pouring uv", "Resolved 30 packages", DONE):
            self.assertIn(line, log)

        self.go("bin")
        self.press("space")
        self.picture("scene-question")
        self.press("Escape", "space", "Tab", "space")
        wait_for(lambda: not self.snapshot.exists(), "the weights are gone")
        wait_for(lambda: self.told()["model"] == "", "the model is no longer the default")
        self.picture("scene-deleted")
        # Without a model there is nothing to apply, and a field for an identifier of one's own.
        custom = ["custom" if stop == "apply" else stop for stop in WITH_LOG]
        self.assertIn("✓ Phi-3.5 mini supprimé (3 MB libérés)", self.log(custom))

    def test_closing_the_window_ends_an_installation_that_hangs(self):
        self.script(self.home / ".linuxbrew/bin/brew",
                    "sleep 1000 &\necho $$ $! > \"$HOME/pids.new\"; mv \"$HOME/pids.new\" \"$HOME/pids\"\necho va; wait\n")
        self.open_by_the_picker()
        self.go("install", STOPS)
        self.press("space")
        pids = self.home / "pids"
        wait_for(pids.exists, "the command runs")
        running = [int(pid) for pid in pids.read_text().split()]
        self.picture("scene-hanging")
        self.press("alt+F4")
        for pid in running:
            wait_for(lambda pid=pid: not self.lives(pid), "the command has ended")
        self.assertIsNone(self.client.process.poll())
        self.assertFalse(self.unit.exists())


if __name__ == "__main__":
    unittest.main()
