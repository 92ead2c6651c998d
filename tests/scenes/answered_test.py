"""A conversation through the backend that this machine's own model answers, and the same one without the backend."""
import itertools
import json
import re
import threading
import unittest

from model_server import DONE, ModelServer, calls, finish, gate, recall, text, usage
from scene import Scene, wait_for

HANDLE = "[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}"
QUESTION = "combien dois-je pour l'électricité ?"
CUT_OFF = "⚠️ Le modèle du Mac n'a pas répondu : Serveur local injoignable : La connexion au serveur a été coupée."
MOST_ROUNDS = 8  # of one answer of the backend's


def call(tool, **arguments):
    """A call whose arguments come in two pieces, as models stream them."""
    words = json.dumps(arguments, ensure_ascii=False)
    half = len(words) // 2
    return [calls({"index": 0, "id": f"call-{tool}", "type": "function", "function": {"name": tool, "arguments": words[:half]}}),
            calls({"index": 0, "function": {"arguments": words[half:]}})]


def model_that_looks_up(search, read):
    """A model that searches and reads by tools of these names, and says what it read of which document."""
    return [[*call(search, query="électricité"), finish("tool_calls"), DONE],
            [*(recall(HANDLE, step) for step in call(read, document_id="§")), finish("tool_calls"), DONE],
            [text("Tu dois "), recall(r"Montant dû à Électricité : (\d+ €)", text("§")),
             recall(HANDLE, text(", d'après [facture.txt](vennic://local_file/open/§).")), finish("stop"), usage(90, 12), DONE]]


class Answered(Scene):
    def setUp(self):
        super().setUp()
        self.model = ModelServer(self.folder)
        self.addCleanup(lambda: self.model.stop())  # the one that runs at the end

    def start_answered(self):
        self.start_all("--model-on-machine")
        self.lead_to_model()

    def lead_to_model(self):
        for words in (("endpoint", self.model.endpoint), ("name", "Qwen/Qwen3-8B"), ("on",)):
            done = self.client.verb("model", *words)
            self.assertEqual(done.returncode, 0, done.stderr)

    def answer(self, *words):
        answer = self.client.verb("ask", "--json", *words)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        return json.loads(answer.stdout)["text"]

    def in_background(self, *words):
        """Asks while the scene goes on; gives a function that waits for the answer."""
        ends = []
        thread = threading.Thread(target=lambda: ends.append(self.client.verb("ask", "--json", *words)))
        thread.start()

        def end():
            thread.join(90)
            self.assertFalse(thread.is_alive(), "the question has an end")
            return ends[0]
        return end

    def tasks(self):
        """What the backend had the machine do, newest first."""
        return self.backend.call("GET", "/owner/tasks?limit=20")

    def kinds_since(self, task):
        """The kinds of what came after a task, oldest first."""
        newer = itertools.takewhile(lambda each: each["id"] != task["id"], self.tasks())
        return [each["kind"] for each in reversed(list(newer))]

    def open_texts_by_a_logger(self):
        """Text documents open in a program that writes down which; gives where it does."""
        applications, configuration = self.folder / "data" / "applications", self.folder / "home" / ".config"
        for folder in (applications, configuration):
            folder.mkdir(parents=True)
        logger, log = self.folder / "logger", self.folder / "opened"
        logger.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" > {log}.new\nmv {log}.new {log}\n', encoding="utf-8")
        logger.chmod(0o700)
        (applications / "logger.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Essai\nExec={logger} %f\n", encoding="utf-8")
        (configuration / "mimeapps.list").write_text("[Default Applications]\ntext/plain=logger.desktop\n", encoding="utf-8")
        return log

    def test_the_same_question_has_the_same_answer_through_the_backend_and_without_it(self):
        log = self.open_texts_by_a_logger()
        document = self.write("courrier/facture.txt", "Montant dû à Électricité : 42 €\n")
        self.write("courrier/autre.txt", "Montant dû à l'eau : 7 €\n")
        self.start_answered()
        self.find("électricité", "facture.txt")
        before = self.tasks()[0]
        self.model.scripts(model_that_looks_up("search", "read"))
        served = self.answer("--", QUESTION)
        self.assertEqual(self.kinds_since(before), ["llm_infer", "search", "llm_infer", "read", "llm_infer"])
        self.assertTrue(json.loads(self.model.requests()[0]["body"])["tools"])
        before = self.tasks()[0]
        self.model.scripts(model_that_looks_up("search_local_documents", "read_local_document"))
        local = self.answer("--local", "--", QUESTION)
        self.assertEqual(self.kinds_since(before), [], "the backend had no part in it")
        for answer in (served, local):
            self.assertRegex(answer, rf"^Tu dois 42 €, d'après \[facture\.txt\]\(vennic://local_file/open/{HANDLE}\)\.$")
            log.unlink(missing_ok=True)
            opened = self.client.verb("open", re.search(r"vennic://[^)]+", answer)[0])
            self.assertEqual((opened.returncode, opened.stderr), (0, ""))
            wait_for(log.exists, "the document is opened")
            self.assertEqual(log.read_text(encoding="utf-8"), f"{document}\n")
        self.assertEqual(re.sub(HANDLE, "", served), re.sub(HANDLE, "", local))

    def test_a_model_that_is_killed_in_any_round_is_told_and_nothing_is_stuck(self):
        self.start_answered()
        for rounds_before in range(MOST_ROUNDS):
            with self.subTest(rounds_before=rounds_before):
                self.model.scripts([[text(f"Tour {n}."), *call("list_folders"), finish("tool_calls"), DONE] for n in range(rounds_before)] +
                                   [[text("Voilà que"), gate("never")]])
                earlier = len(self.model.requests())
                end = self.in_background("--", "question")
                wait_for(lambda: len(self.model.requests()) > earlier + rounds_before and self.model.requests()[-1]["steps"] >= 1,
                         "the last round is on its way")
                self.assertTrue(self.client.status()["streaming"])
                self.model.kill()
                answer = end()
                self.assertEqual((answer.returncode, answer.stderr), (0, ""))
                said = [f"Tour {n}." for n in range(rounds_before)] + ["Voilà que", CUT_OFF]
                self.assertEqual(json.loads(answer.stdout)["text"], "\n\n".join(said))
                self.assertFalse(self.client.status()["streaming"])
                self.await_polling()
                refused = self.answer("--", "encore ?")
                self.assertEqual(refused, CUT_OFF.replace("La connexion au serveur a été coupée.", "Le serveur a refusé la connexion."))
                self.model = ModelServer(self.folder, self.model.port)
                self.assertEqual(self.answer("--", "deux mots"), "deux mots")

    def test_a_model_that_is_off_or_unheard_of_is_told_in_words(self):
        self.start_answered()
        self.assertEqual(self.client.verb("model", "off").returncode, 0)
        self.assertEqual(self.answer("--", "question"), "⚠️ Le modèle du Mac n'a pas répondu : "
                                                        "Le LLM local est désactivé dans les Réglages du Mac.")
        self.lead_to_model()
        self.model.script({"status": 400, "body": "no tools here"})
        self.assertEqual(self.answer("--", "sans outils"), "sans outils", "a model that refuses tools is asked without")
        self.assertNotIn("tools", json.loads(self.model.requests()[-1]["body"]))


if __name__ == "__main__":
    unittest.main()
