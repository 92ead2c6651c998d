"""Photos: the user's consent, what the backend learns, and a photo shown on this machine."""
import json
import pathlib
import subprocess
import unittest

from picture import jpeg
from scene import Scene, wait_for

REFUSED = "Accès Photos refusé. Allez dans Réglages Système → Confidentialité → Photos pour autoriser Vennic."
SESSION = str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "desktop-session")


class Screen:
    """A private screen with a window manager, and somebody before it."""

    def __init__(self):
        self.session = subprocess.Popen([SESSION, "--only", "display,wm", "--", "sh", "-c", "echo $DISPLAY; read end"],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.display = self.session.stdout.readline().strip()

    def close(self):
        self.session.communicate("end\n", timeout=60)

    def run(self, *command, check=True):
        return subprocess.run(command, env={"DISPLAY": self.display, "PATH": "/usr/bin:/bin"}, capture_output=True,
                              text=True, timeout=60, check=check)

    def dialogs(self):
        return self.run("xdotool", "search", "--onlyvisible", "--classname", "vennic-dialog", check=False).stdout.split()

    def press(self, *keys):
        """Types into the dialog, when it is there and has the keyboard."""
        dialog = wait_for(self.dialogs, "the dialog is on the screen")[0]
        wait_for(lambda: self.run("xdotool", "getwindowfocus", check=False).stdout.strip() == dialog, "it has the keyboard")
        for key in keys:
            self.run("xdotool", "key", key)


class Photos(Scene):
    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        self.pictures = self.home / "Images"
        self.pictures.mkdir(parents=True)
        (self.home / ".config").mkdir()
        (self.home / ".config" / "user-dirs.dirs").write_text('XDG_PICTURES_DIR="$HOME/Images"\n', encoding="utf-8")
        self.photo("2024/plage.jpg", jpeg("2024:07:14 12:30:45", "+02:00", (48.8584, -2.2945)))
        self.photo("bureau.jpg", jpeg("2023:11:02 09:00:00"))
        self.photo("sans date.jpg", jpeg())
        self.photo("menteuse.jpg", b"bonjour")

    def photo(self, name, content):
        path = self.pictures / name
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(content)
        return path

    def recent(self, **arguments):
        return self.backend.run(self.device, "photos_recent", arguments)

    def items(self, task):
        self.assertEqual(task["state"], "done", task)
        return task["result"]["items"]

    def allow(self):
        self.assertEqual(self.client.verb("photos", "allow").returncode, 0)

    def access(self):
        return json.loads(self.client.verb("photos", "status", "--json").stdout)

    def test_what_the_backend_learns_of_photos(self):
        self.start_all()
        self.allow()
        items = self.items(self.recent())
        identifiers = [item.pop("id") for item in items]
        self.assertEqual(len(set(identifiers)), 3)
        self.assertEqual(items, [
            {"name": "plage.jpg", "taken_at": "2024-07-14T10:30:45Z", "mime": "image/jpeg",
             "location": {"lat": 48.8584, "lng": -2.2945}},
            {"name": "bureau.jpg", "taken_at": "2023-11-02T09:00:00Z", "mime": "image/jpeg"},
            {"name": "sans date.jpg", "mime": "image/jpeg"}])
        self.assertEqual([item["name"] for item in self.items(self.recent(limit=0))], ["plage.jpg"])

        def names(**arguments):
            return [item["name"] for item in self.items(self.backend.run(self.device, "photos_by_date", arguments))]
        self.assertEqual(names(year=2023), ["plage.jpg", "bureau.jpg"])  # until the December after
        self.assertEqual(names(year=2023, month=11), ["bureau.jpg"])
        self.assertEqual(names(year=2024, month=7), ["plage.jpg"])
        self.assertEqual(names(year=2022, month=1), [])
        answer = self.backend.run(self.device, "photos_by_date", {"year": 0})
        self.assertEqual((answer["state"], answer["error_message"]), ("error", "invalid_date_components"))

    def test_identifiers_survive_restarts_and_renames(self):
        self.start_all()
        self.allow()
        before = {item["name"]: item["id"] for item in self.items(self.recent())}
        (self.pictures / "2024").rename(self.pictures / "vacances")
        (self.pictures / "bureau.jpg").rename(self.pictures / "vacances" / "travail.jpg")
        self.client.kill()
        self.client.start()
        self.await_polling()
        after = {item["name"]: item["id"] for item in self.items(self.recent())}
        self.assertEqual(after["plage.jpg"], before["plage.jpg"])
        self.assertEqual(after["travail.jpg"], before["bureau.jpg"])
        self.assertEqual(len(after), 3)

    def test_a_photo_that_has_just_been_taken_is_the_newest(self):
        self.start_all()
        self.allow()
        self.items(self.recent())
        self.photo("2024/neuve.jpg", jpeg("2024:08:01 08:00:00"))
        self.assertEqual(self.items(self.recent(limit=1))[0]["name"], "neuve.jpg")

    def test_without_a_screen_the_task_is_refused_and_the_question_stays_open(self):
        self.start_all()
        for _ in range(2):
            answer = self.recent()
            self.assertEqual((answer["state"], answer["error_message"]), ("error", REFUSED))
        self.assertEqual((self.access()["access"], self.access()["can_ask"]), ("undetermined", False))
        self.assertIn("sans écran", self.client.verb("photos", "status").stdout)
        checks = {check["name"]: check for check in json.loads(self.client.verb("doctor", "--json").stdout)["checks"]}
        self.assertEqual(checks["Photos"]["verdict"], "limited")
        self.assertIn("vennic photos allow", checks["Photos"]["remedy"])
        self.assertFalse((self.folder / "data" / "vennic" / "photos.sqlite").exists())
        said = self.client.verb("photos", "allow")
        self.assertIn("Accès aux photos : autorisé", said.stdout)
        self.assertEqual(len(self.items(self.recent())), 3)
        self.assertEqual((self.access()["access"], self.access()["photos"]), ("allowed", 3))
        self.assertIn("Dossier : ~/Images", self.client.verb("photos", "status").stdout)
        self.assertIn("refusé", self.client.verb("photos", "deny").stdout)
        self.assertEqual(self.recent()["error_message"], REFUSED)
        self.assertEqual(self.client.verb("photos", "peut-être").returncode, 2)

    def test_on_a_screen_the_first_task_asks_and_waits(self):
        screen = Screen()
        self.addCleanup(screen.close)
        self.client.show_on(screen.display)
        self.start_all()
        task = self.backend.send(self.device, "photos_recent")
        self.assertEqual(self.client.status()["tasks_served"], 0)
        screen.press("Tab", "space")  # from the refusal, which Enter would choose, to the consent
        self.assertEqual(len(self.items(self.backend.finished(task))), 3)
        self.assertEqual(len(self.items(self.recent())), 3)
        self.assertEqual(screen.dialogs(), [])
        self.assertEqual(self.access()["access"], "allowed")

    def test_on_a_screen_a_refusal_is_kept(self):
        screen = Screen()
        self.addCleanup(screen.close)
        self.client.show_on(screen.display)
        self.start_all()
        task = self.backend.send(self.device, "photos_recent")
        screen.press("Escape")
        self.assertEqual(self.backend.finished(task)["error_message"], REFUSED)
        self.assertEqual(self.recent()["error_message"], REFUSED)
        self.assertEqual((self.access()["access"], screen.dialogs()), ("denied", []))

    def test_a_decision_on_the_command_line_takes_the_dialog_away(self):
        screen = Screen()
        self.addCleanup(screen.close)
        self.client.show_on(screen.display)
        self.start_all()
        task = self.backend.send(self.device, "photos_recent")
        wait_for(screen.dialogs, "the dialog is on the screen")
        self.allow()
        self.assertEqual(len(self.items(self.backend.finished(task))), 3)
        wait_for(lambda: not screen.dialogs(), "the dialog has gone")

    def test_a_photo_is_shown_by_its_link(self):
        applications = self.folder / "data" / "applications"
        applications.mkdir(parents=True)
        viewer, log = self.folder / "viewer", self.folder / "viewed"
        viewer.write_text(f'#!/bin/sh\nprintf "%s" "$1" >{log}.new && mv {log}.new {log}\n', encoding="utf-8")
        viewer.chmod(0o755)
        (applications / "viewer.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Visionneuse\nExec={viewer} %f\nMimeType=image/jpeg;\n", encoding="utf-8")
        (self.home / ".config" / "mimeapps.list").write_text("[Default Applications]\nimage/jpeg=viewer.desktop\n",
                                                             encoding="utf-8")
        self.client.environment["TMPDIR"] = str(self.folder)
        self.start_all()
        self.allow()
        item = self.items(self.recent(limit=1))[0]
        shown = self.client.verb("open", "vennic://local_photo/view/" + item["id"].replace("-", "%2D"))
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        exported = pathlib.Path(wait_for(lambda: log.exists() and log.read_text(), "the viewer is started"))
        self.assertEqual(exported.read_bytes(), (self.pictures / "2024" / "plage.jpg").read_bytes())
        self.assertEqual((exported.parent, exported.suffix, exported.name[:7]), (self.folder, ".jpg", "vennic-"))
        self.assertEqual(exported.stat().st_mode & 0o777, 0o600)
        lost = self.client.verb("open", "vennic://local_photo/view/nobody")
        self.assertEqual((lost.returncode, lost.stderr), (1, "Photo introuvable dans la bibliothèque.\n"))
        self.client.verb("photos", "deny")
        lost = self.client.verb("open", "vennic://local_photo/view/" + item["id"])
        self.assertEqual((lost.returncode, lost.stderr), (1, "Photo introuvable dans la bibliothèque.\n"))

    def test_on_a_screen_a_photo_that_is_not_there_is_told_in_a_dialog(self):
        screen = Screen()
        self.addCleanup(screen.close)
        self.client.show_on(screen.display)
        self.start_all()
        self.allow()
        lost = self.client.verb("open", "vennic://local_photo/view/nobody")
        self.assertEqual(lost.returncode, 1)
        screen.press("Return")
        wait_for(lambda: not screen.dialogs(), "the dialog is closed")

    def test_quitting_with_a_question_on_the_screen_leaves_none(self):
        screen = Screen()
        self.addCleanup(screen.close)
        self.client.show_on(screen.display)
        self.start_all()
        self.backend.send(self.device, "photos_recent")
        wait_for(screen.dialogs, "the dialog is on the screen")
        self.assertEqual(self.client.verb("quit").returncode, 0)
        self.client.process.wait(30)
        wait_for(lambda: not screen.dialogs(), "the dialog has gone")


if __name__ == "__main__":
    unittest.main()
