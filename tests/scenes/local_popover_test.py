"""The popover answered by this machine's own model, which searches and reads here: what is seen of that, and its link."""
import json
import unittest

from model_server import DONE, ModelServer, calls, finish, gate, text
from popover import PopoverScene
from scene import wait_for


def call(tool, /, **arguments):
    written = json.dumps(arguments)
    return [calls({"index": 0, "id": f"call-{tool}", "type": "function", "function": {"name": tool, "arguments": written}}),
            finish("tool_calls"), DONE]


class LocalPopover(PopoverScene):
    def setUp(self):
        super().setUp()
        self.model = ModelServer(self.folder)
        self.addCleanup(self.model.stop)

    def begin_with_model(self, dark=False):
        self.begin(dark)
        for setting in (("endpoint", self.model.endpoint), ("name", "Qwen/Qwen3-8B")):
            set_up = self.client.verb("model", *setting)
            self.assertEqual(set_up.returncode, 0, set_up.stderr)
        self.open_popover()
        self.choose_the_local_model()

    def choose_the_local_model(self):
        """By keys alone."""
        self.tab_to("ChatGPT")
        self.keys("space")
        self.reader.await_named("Self-Hosted (défaut du Mac)", "menu item")
        self.keys("Down", "Down", "Return")
        self.reader.await_named("Self-Hosted", "push button")
        self.tab_to("Pose ta question…")

    def await_line(self, words):
        return wait_for(lambda: self.reader.named("Vennic : " + words, "list item"), words + " is seen")

    def add_slow_automation(self):
        """One that ends when it is told to."""
        folder = self.folder / "data" / "vennic" / "shortcuts"
        folder.mkdir(parents=True)
        go_on = self.folder / "go-on"
        (folder / "Archiver").write_text(f"#!/bin/sh\nwhile [ ! -e {go_on} ]; do sleep 0.05; done\n", encoding="utf-8")
        (folder / "Archiver").chmod(0o700)
        return go_on

    def check_answer(self, picture):
        found = self.find("électricité", "Facture électricité.txt")
        link = f"[Facture électricité.txt](vennic://local_file/open/{found['id']})"
        go_on = self.add_slow_automation()
        self.model.scripts([
            [text("Je cherche."), gate("search"), *call("search_local_documents", query="facture électricité")],
            call("read_local_document", document_id=found["id"]), call("run_shortcut", name="Archiver"),
            [gate("answer"), text("Tu dois **42 €** : "), gate("link"), text(link), text(" !"), finish("stop"), DONE]])
        self.ask("combien pour l'électricité ?")
        self.await_line("Je cherche.")
        self.picture(picture + "-local-words")
        self.model.open("search")
        self.await_line("🔧 Exécution du raccourci…")
        self.picture(picture + "-local-tool")
        go_on.touch()
        wait_for(lambda: not self.reader.named("Vennic : 🔧 Exécution du raccourci…"), "the line is gone with the tool")
        self.model.open("answer")
        self.await_line("Tu dois 42 € : ")
        self.assertTrue(self.client.status()["streaming"])
        self.assertEqual(self.reader.heard(), [])
        self.model.open("link")
        self.await_line("Tu dois 42 € : Facture électricité.txt !")
        wait_for(self.reader.heard, "the answer is announced")
        self.assertEqual(self.reader.heard(), ["Tu dois 42 € : Facture électricité.txt !"])
        self.picture(picture + "-local-answer")
        self.assertIn("Montant dû : 42 €", self.model.requests()[3]["body"])
        turns = wait_for(lambda: self.backend.call("GET", "/owner/discussions"), "the turn is filed")
        self.assertEqual([turn["name"] for turn in turns], ["combien pour l'électricité ?"])

    def test_it_searches_reads_and_answers_with_a_link_that_opens(self):
        self.begin_with_model()
        self.check_answer("light")
        self.tab_to("Facture électricité.txt", "shift+Tab")
        self.keys("Return")
        wait_for(self.what_opened, "the document is opened")
        self.assertEqual(self.what_opened(), [str(self.shared / "Facture électricité.txt")])

    def test_in_the_dark(self):
        self.begin_with_model(dark=True)
        self.check_answer("dark")

    def test_a_model_that_hangs_up_is_said_where_the_answer_would_be(self):
        self.begin_with_model()
        self.model.script(text("Voilà que"), {"cut": True})
        self.ask("combien ?")
        self.reader.await_named("Vennic : ⚠️ La connexion au serveur a été coupée.", "list item")
        self.reader.await_named("La connexion au serveur a été coupée.", "alert")
        self.picture("light-local-failure")
        self.click_on("Masquer")
        wait_for(lambda: not self.reader.named("Masquer"), "the line is gone")


if __name__ == "__main__":
    unittest.main()
