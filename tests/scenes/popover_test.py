"""The popover as somebody at the screen uses it: asked, answered, followed, closed; by the mouse and by keys alone."""
import subprocess
import unittest

from popover import PopoverScene
from scene import wait_for

LINK = "Ouvrir ce document"  # what a link of this machine says, whose address names nothing that the user knows


class Popover(PopoverScene):
    def check_conversation(self, picture):
        self.open_popover()
        self.picture(picture + "-empty")
        self.ask("cherche facture")
        wait_for(self.links, "an answer with links is there")
        answer = wait_for(self.reader.heard, "the answer is announced")[-1]
        self.assertIn("Facture eau.txt", answer)
        self.reader.await_named("Toi : cherche facture", "list item")
        self.picture(picture + "-answer")
        link = next(link for link in self.links() if "électricité" in link["name"])
        self.assertEqual(link["description"], LINK, link)
        return link

    def test_a_question_is_answered_with_a_link_that_opens_the_document(self):
        self.begin()
        link = self.check_conversation("light")
        x, y, width, height = link["place"]
        self.click(x + width // 2, y + height // 2)
        wait_for(self.what_opened, "the document is opened")
        self.assertTrue(self.what_opened()[0].endswith("Facture%20%C3%A9lectricit%C3%A9.txt")
                        or self.what_opened()[0].endswith("Facture électricité.txt"), self.what_opened())
        self.assertIsNotNone(self.popover())

    def test_by_keys_alone_and_in_the_dark(self):
        self.begin(dark=True)
        link = self.check_conversation("dark")
        self.tab_to(link["name"], "shift+Tab")
        self.picture("dark-focus-link")
        self.keys("Return")
        wait_for(self.what_opened, "the document is opened")
        self.check_focus_is_seen()
        self.tab_to("Quitter Vennic")
        self.keys("space")
        wait_for(self.dialog, "the dialog has the keyboard")
        self.picture("dark-quit")
        self.keys("Escape")
        self.await_no_dialog()
        self.await_popover()
        self.keys("Escape")
        self.await_no_popover()

    def check_focus_is_seen(self):
        """Once around: each control has a name, and the place around it looks otherwise with the keyboard than without."""
        self.tab_to("Pose ta question…")
        names, pictures = [], {}
        while True:
            before = self.focus()
            self.keys("Tab")
            wait_for(lambda: self.focus() not in (None, before), f"the keyboard goes on from {before}")
            now = self.reader.focused()
            names.append(now["name"])
            pictures[now["name"]] = (now["place"], self.screen())
            if now["name"] == "Pose ta question…" or len(names) > 40:
                break
        for name in ("Mac connecté, en attente", "Discussions récentes", "Nouvelle discussion (⌘N)", "Réglages", "Quitter Vennic",
                     "ChatGPT", "Nouvelle conversation"):
            self.assertIn(name, names)
        self.assertNotIn("", names)
        for name, following in zip(names, names[1:]):
            place, with_focus = pictures[name]
            self.assertGreater(self.difference(with_focus, pictures[following][1], place), 20, name)

    def screen(self):
        path = self.folder / f"screen-{len(list(self.folder.glob('screen-*')))}.png"
        subprocess.run(["import", "-window", "root", path], check=True, timeout=60)
        return path

    def difference(self, one, other, place):
        """How many pixels differ around a place."""
        x, y, width, height = place
        crop = f"{width + 12}x{height + 12}+{max(0, x - 6)}+{max(0, y - 6)}"
        compared = subprocess.run(["compare", "-metric", "AE", "-extract", crop, one, other, "null:"], capture_output=True, text=True,
                                  check=False, timeout=60)
        return float(compared.stderr.split()[0])

    def test_every_control_has_a_name_and_a_role_for_readers_of_the_screen(self):
        self.begin()
        self.check_conversation("reader")
        things = self.reader.tree()
        roles = {thing["name"]: thing["role"] for thing in things}
        for name, role in (("Mac connecté, en attente", "image"), ("Discussions récentes", "push button"), ("Réglages", "push button"),
                           ("Nouvelle discussion (⌘N)", "push button"), ("Quitter Vennic", "push button"), ("Conversation", "list"),
                           ("Pose ta question…", "text"), ("ChatGPT", "push button"), ("Envoyer", "push button"),
                           ("Toi : cherche facture", "list item"), ("Facture eau.txt", "link")):
            self.assertEqual(roles.get(name), role, name)
        described = {thing["name"]: thing["description"] for thing in things}
        for name in ("Discussions récentes", "ChatGPT"):
            self.assertEqual(described[name], "Ouvre un menu", name)
        self.check_what_cannot_be_done_says_so("Envoyer")
        for thing in things:
            if "focusable" in thing["states"]:
                self.assertTrue(thing["name"] and thing["role"] not in ("unknown", "invalid"), thing)

    def check_what_cannot_be_done_says_so(self, name):
        self.assertEqual(self.reader.await_named(name)["description"], "Indisponible")
        self.write_draft("a")
        wait_for(lambda: self.reader.await_named(name)["description"] == "", f"{name} can be pressed")

    def test_a_reader_of_the_screen_presses_what_can_be_pressed(self):
        self.begin()
        self.open_popover()
        self.reader.press("ChatGPT")
        self.reader.await_named("Self-Hosted (défaut du Mac)", "menu item")
        self.reader.press("Self-Hosted (défaut du Mac)")
        wait_for(lambda: self.client.status()["provider"] == "local", "this machine's model answers")
        self.reader.press("Réglages")
        wait_for(lambda: "Réglages de Vennic" in self.xdotool("getactivewindow", "getwindowname"), "the settings are open")
        self.reader.press("Mode haute sécurité")
        wait_for(lambda: self.preference("highSecurityMode") == "1", "the setting is kept")

    def test_the_menus_of_the_header_and_of_who_answers(self):
        self.begin()
        self.check_conversation("menus")
        self.keys("Escape")
        self.await_no_popover()
        self.open_popover()  # the list of discussions is asked for anew
        self.click_on("Discussions récentes")
        self.reader.await_named("cherche facture", "menu item")
        self.picture("recents")
        self.click_on("cherche facture", "menu item")
        wait_for(self.what_opened, "the discussion is opened")
        self.assertRegex(self.what_opened()[0], rf"^https://localhost:{self.backend.port()}/discussions/\d+$")
        self.click_on("Discussions récentes")
        self.click_on("Ouvrir toutes les discussions…", "menu item")
        wait_for(lambda: len(self.what_opened()) == 2, "the list of discussions is opened")
        self.assertEqual(self.what_opened()[1], f"https://localhost:{self.backend.port()}/discussions")
        self.assertEqual(self.client.status()["messages"], 2)
        self.click_on("Nouvelle discussion (⌘N)")
        wait_for(lambda: self.client.status()["messages"] == 0, "the conversation is forgotten")
        self.reader.await_named("Commence une conversation. ⌘↩ pour envoyer")
        self.click_on("ChatGPT", "push button")
        self.picture("picker")
        self.click_on("Self-Hosted (défaut du Mac)")
        self.reader.await_named("Self-Hosted", "push button")
        self.assertEqual(self.client.status()["provider"], "local")
        self.client.stop()
        self.client.start()
        self.open_popover()
        self.reader.await_named("Self-Hosted", "push button")
        self.assertEqual(self.client.status()["provider"], "local")

    def test_the_commands_of_the_header_by_keys_alone(self):
        self.begin()
        self.assertEqual(self.client.verb("ask", "cherche facture").returncode, 0)
        self.open_popover()
        self.tab_to("Discussions récentes")
        self.keys("space")
        self.reader.await_named("cherche facture", "menu item")
        self.keys("Escape")  # the menu's, not the popover's
        wait_for(lambda: not self.reader.named("cherche facture", "menu item"), "the menu is gone")
        wait_for(lambda: self.focus() == "Discussions récentes", "the keyboard is back at the button")
        self.keys("space")
        self.reader.await_named("cherche facture", "menu item")
        self.keys("Down", "Return")
        wait_for(self.what_opened, "the discussion is opened")
        self.assertIn("/discussions/", self.what_opened()[0])
        self.keys("ctrl+n")
        wait_for(lambda: self.client.status()["messages"] == 0, "the conversation is forgotten")
        self.tab_to("Réglages")
        self.keys("space")
        wait_for(lambda: "Réglages de Vennic" in self.xdotool("getactivewindow", "getwindowname"), "the settings have the keyboard")
        self.await_no_popover()

    def test_the_settings_open_from_the_header_and_the_popover_goes(self):
        self.begin()
        self.open_popover()
        self.click_on("Réglages")
        wait_for(lambda: "Réglages de Vennic" in self.xdotool("getactivewindow", "getwindowname"), "the settings have the keyboard")
        self.await_no_popover()
        self.picture("settings-from-header")

    def test_toggle_and_escape_close_it_and_what_was_being_written_stays(self):
        self.begin()
        self.open_popover()
        self.write_draft("une idée")
        self.assertEqual(self.client.verb("toggle").returncode, 0)
        self.await_no_popover()
        self.open_popover()
        self.keys("Escape")
        self.await_no_popover()
        self.open_popover()
        self.keys("Return")
        self.reader.await_named("Toi : une idée", "list item")

    def quit_dialog(self):
        dialog = wait_for(self.dialog, "the dialog has the keyboard")
        self.assertIsNotNone(self.popover())
        return dialog

    def test_the_button_asks_before_the_end_and_leaves_the_popover_to_whoever_stays(self):
        self.begin()
        window = self.open_popover()
        self.click_on("Quitter Vennic")
        self.quit_dialog()
        self.picture("quit-from-popover")
        x, y, width, height = self.place_of(self.dialog())
        self.click(x + width // 2, y + 12)  # into the dialog
        self.assertIsNotNone(self.popover())
        self.keys("Escape")
        self.await_no_dialog()
        self.assertEqual(self.await_popover(), window)
        self.write_draft("je reste")
        self.keys("ctrl+q")
        self.quit_dialog()
        self.keys("Return")
        self.assertEqual(self.client.process.wait(20), 0)

    def test_the_bare_menu_of_modes_is_left_out_while_there_is_one_mode(self):
        self.begin()
        self.open_popover()
        self.reader.await_named("Réglages")
        self.assertNotIn("page tab list", [thing["role"] for thing in self.reader.tree()])


if __name__ == "__main__":
    unittest.main()
