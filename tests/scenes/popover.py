"""The popover of a client with an account, documents and a reader of the screen before it."""
import subprocess

from desktop import DesktopScene
from reader import Reader
from scene import wait_for


class PopoverScene(DesktopScene):
    def setUp(self):
        super().setUp()
        subprocess.run(["setxkbmap", "fr"], check=True, timeout=60)  # every letter has its key
        self.reader = Reader(self.folder)
        self.addCleanup(self.reader.stop)
        self.opened = self.folder / "opened"
        self.handle("document", "MimeType=text/plain;", "text/plain")
        self.handle("page", "MimeType=x-scheme-handler/https;", "x-scheme-handler/https")

    def handle(self, name, kinds, kind):
        """An application that writes down what it is to open."""
        config, applications = self.folder / "home" / ".config", self.folder / "data" / "applications"
        for folder in (config, applications):
            folder.mkdir(parents=True, exist_ok=True)
        program = self.folder / name
        program.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >> {self.opened}\n', encoding="utf-8")
        program.chmod(0o700)
        (applications / f"{name}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec={program} %u\n{kinds}\n", encoding="utf-8")
        with open(config / "mimeapps.list", "a", encoding="utf-8") as defaults:
            defaults.write(f"[Default Applications]\n{kind}={name}.desktop\n")

    def what_opened(self):
        return self.opened.read_text(encoding="utf-8").splitlines() if self.opened.exists() else []

    def begin(self, dark=False):
        if dark:
            folder = self.folder / "home" / ".config" / "gtk-3.0"
            folder.mkdir(parents=True)
            (folder / "settings.ini").write_text("[Settings]\ngtk-application-prefer-dark-theme=1\n", encoding="utf-8")
        self.write("Facture électricité.txt", "Montant dû : 42 €, à régler avant le 3 mars.\n")
        self.write("Facture eau.txt", "Relevé du compteur : 118 m³.\n")
        self.start_all()
        self.find("facture", "Facture eau.txt")
        self.find("facture", "Facture électricité.txt")

    def open_popover(self):
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        return self.await_popover()

    def keys(self, *keys):
        for key in keys:
            self.xdotool("key", key)

    def focus(self):
        found = self.reader.focused()
        return found["name"] if found else None

    def tab_to(self, name, key="Tab"):
        """Goes on from control to control until that one has the keyboard."""
        seen = []
        for _ in range(40):
            if self.focus() == name:
                return
            before = self.focus()
            self.keys(key)
            wait_for(lambda: self.focus() not in (None, before), f"the keyboard goes on from {before}")
            seen.append(self.focus())
        self.fail(f"{name} is not among {seen}")

    def click_on(self, name, role=None):
        x, y, width, height = self.reader.await_named(name, role)["place"]
        self.click(x + width // 2, y + height // 2)

    def links(self):
        return [thing for thing in self.reader.tree() if thing["role"] == "link"]

    def write_draft(self, words):
        self.xdotool("type", "--delay", "2", words)
        wait_for(lambda: (seen := self.reader.named("Pose ta question…")) and seen["written"] == words, f"{words} is written")

    def ask(self, question):
        self.write_draft(question)
        self.keys("Return")
