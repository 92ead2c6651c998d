"""A conversation with this machine's own model, without the backend: its tools, its ends and its failures."""
import contextlib
import json
import pathlib
import re
import shutil
import sqlite3
import threading
import unittest

from model_server import DONE, ModelServer, calls, finish, gate, recall, text, usage
from picture import jpeg
from scene import Scene, wait_for

DATA = pathlib.Path(__file__).resolve().parent.parent / "data"
HANDLE = "[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}"
CUT_OFF = "La connexion au serveur a été coupée."


def call(tool, /, **arguments):
    """A call whose arguments come in two pieces, as models stream them."""
    words = json.dumps(arguments, ensure_ascii=False)
    half = len(words) // 2
    return [calls({"index": 0, "id": f"call-{tool}", "type": "function",
                   "function": {"name": tool, "arguments": words[:half]}}),
            calls({"index": 0, "function": {"arguments": words[half:]}})]


class Direct(Scene):
    def setUp(self):
        super().setUp()
        self.model = ModelServer(self.folder)
        self.addCleanup(lambda: self.model.stop())  # the one that runs at the end
        self.preferences = self.folder / "data" / "vennic" / "preferences.sqlite"

    def start_with_model(self):
        self.start_all()
        self.lead_to_model()

    def lead_to_model(self):
        for words in (("on",), ("endpoint", self.model.endpoint), ("name", "Qwen/Qwen3-8B")):
            self.assertEqual(self.client.verb("model", *words).returncode, 0)

    def ask(self, *words):
        return self.client.verb("ask", "--local", "--json", "--", *words)

    def answer(self, *words):
        answer = self.ask(*words)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        return json.loads(answer.stdout)["text"]

    def asked(self, at=-1):
        """The messages that the model was sent in a round, the last one by default."""
        return json.loads(self.model.requests()[at]["body"])["messages"]

    def results(self):
        """What the tools gave in this turn so far."""
        return [message["content"] for message in self.asked() if message["role"] == "tool"]

    def result(self, tool, /, **arguments):
        """What a tool gives that the model calls in a turn of its own."""
        self.model.scripts([[*call(tool, **arguments), DONE], [text("ok"), DONE]])
        self.assertEqual(self.answer("outil"), "ok")
        return self.results()[0]

    def in_background(self, *words):
        """Asks while the scene goes on; gives a function that waits for the answer."""
        ends = []
        thread = threading.Thread(target=lambda: ends.append(self.ask(*words)))
        thread.start()

        def end():
            thread.join(90)
            return ends[0]
        return end

    def turns(self):
        """The turns that the backend keeps."""
        with contextlib.closing(sqlite3.connect(f"file:{next((self.folder / 'server').glob('*.sqlite'))}?mode=ro", uri=True)) as database:
            return database.execute("SELECT discussion_id, text, reply, provider, model FROM turns ORDER BY id").fetchall()

    def test_a_local_model_searches_reads_and_answers_with_a_link(self):
        self.write("courrier/facture.txt", "Montant dû à Électricité : 42 €\n")
        self.start_with_model()
        self.find("électricité", "facture.txt")
        link = {"text": "d'après [facture.txt](vennic://local_file/open/§)"}
        self.model.scripts([
            [text("Je cherche."), *call("search_local_documents", query="électricité"), finish("tool_calls"), DONE],
            [recall(HANDLE, step) for step in call("read_local_document", document_id="§")] + [DONE],
            [text("Tu dois 42 €, "), recall(HANDLE, link), usage(90, 12), DONE]])
        answer = self.answer("combien dois-je ?")
        found, read = self.results()
        handle = re.search(HANDLE, found)[0]
        self.assertEqual(answer, f"Tu dois 42 €, d'après [facture.txt](vennic://local_file/open/{handle})")
        self.assertRegex(found, r"^1\. facture\.txt — .*/courrier, 0\.0 KB, modified \d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ "
                                rf"\(open: vennic://local_file/open/{handle}\)$")
        self.assertEqual(read, "Montant dû à Électricité : 42 €\n")
        self.assertEqual([message["role"] for message in self.asked()],
                         ["system", "user", "assistant", "tool", "assistant", "tool"])
        bodies = [json.loads(request["body"]) for request in self.model.requests()]
        self.assertEqual([len(body["tools"]) for body in bodies], [10, 10, 10])
        self.assertFalse(any("x-user-token" in request["fields"] for request in self.model.requests()))
        status = self.client.status()
        self.assertEqual((status["messages"], status["streaming"], status["last_error"]), (3, False, None))

    def test_finished_turns_are_filed_in_one_discussion(self):
        self.start_with_model()
        provider = self.client.status()["provider"]
        self.model.scripts([[text("Bonjour "), text("Marie"), DONE], [text("Bien."), DONE]])
        self.assertEqual(self.answer("salut"), "Bonjour Marie")
        discussion = wait_for(lambda: self.client.status()["discussion_id"], "the turn is filed")
        self.assertEqual(self.answer("ça va ?"), "Bien.")
        wait_for(lambda: len(self.turns()) == 2, "the second turn is filed")
        self.assertEqual(self.turns(), [(discussion, "salut", "Bonjour Marie", "local", "Qwen/Qwen3-8B"),
                                        (discussion, "ça va ?", "Bien.", "local", "Qwen/Qwen3-8B")])
        self.assertEqual([message["content"] for message in self.asked()[1:]], ["salut", "Bonjour Marie", "ça va ?"])
        self.assertEqual(self.client.status()["provider"], provider)  # the option is for one question

    def test_a_model_that_only_calls_tools_ends_after_five_rounds_and_is_filed_nowhere(self):
        self.start_with_model()
        self.model.scripts([[*call("list_shortcuts"), DONE]] * 6)
        answer = self.ask("encore")
        self.assertEqual((answer.returncode, answer.stderr), (1, "La réponse est vide.\n"))
        self.assertEqual(len(self.model.requests()), 5)
        self.model.script(text("ok"), DONE)
        self.assertEqual(self.answer("et toi ?"), "ok")
        wait_for(self.turns, "the turn that ended is filed")
        self.assertEqual([turn[1] for turn in self.turns()], ["et toi ?"])

    def test_folders_are_listed_and_browsed_down_to_a_document(self):
        self.write("reçus/2024/train.txt", "Paris – Lyon\n")
        self.write("Notes.txt", "x" * 2048)
        self.start_with_model()
        folders = self.result("list_local_folders")
        folder = self.client.status()["shares"][0]["id"]
        self.assertEqual(folders, f"1. documents ({self.shared}, id: {folder})")
        listing = self.result("browse_local_folder", folder_id=folder)
        self.assertRegex(listing, rf"^1\. 📄 Notes\.txt \(2\.0 KB\) \(id: {HANDLE}\)\n2\. 📁 reçus \(id: {HANDLE}\)$")
        listing = self.result("browse_local_folder", folder_id=folder, sub_path="reçus/2024")
        self.assertEqual(self.result("read_local_document", document_id=re.search(HANDLE, listing)[0]), "Paris – Lyon\n")
        self.assertEqual(self.result("browse_local_folder", folder_id=folder, sub_path="a/../reçus"), "sub_path invalide.")
        self.assertEqual(self.result("browse_local_folder", folder_id=folder, sub_path="absent"),
                         "Lecture du dossier impossible: Ce dossier n'existe pas.")
        handle = re.search(HANDLE, listing)[0]
        self.assertEqual(self.client.verb("unshare", folder).returncode, 0)
        self.assertEqual(self.result("read_local_document", document_id=handle), "Document hors des dossiers partagés.")
        self.assertEqual(self.result("list_local_folders"), "The Mac bridge has no folders granted yet. Ask the user to "
                                                            "add one from the Mac app Settings → Bridge.")

    def test_pages_and_pictures_are_read(self):
        shutil.copy(DATA / "documents" / "three-pages.pdf", self.shared / "rapport.pdf")
        shutil.copy(DATA / "recognition" / "note.heic", self.shared / "frais.heic")
        self.start_with_model()
        document = self.find("rapport", "rapport.pdf")["id"]  # a handle of a task's is one of a tool's
        picture = self.find("frais", "frais.heic")["id"]
        self.assertIn("Première page.", self.result("read_local_document", document_id=document))
        self.assertEqual(self.result("ocr_local_image", document_id=picture), "Note de frais\nTotal 42 euros")
        self.assertRegex(self.result("read_local_document", document_id=picture), r"^Read failed: Format non supporté \(public\.heic\)$")
        self.assertEqual(self.result("ocr_local_image", document_id="x"),
                         "Document introuvable (la session a pu être nettoyée; relance la recherche).")

    def test_photos_are_listed_once_they_are_allowed(self):
        home = self.folder / "home"
        (home / "Images").mkdir(parents=True)
        (home / ".config").mkdir()
        (home / ".config" / "user-dirs.dirs").write_text('XDG_PICTURES_DIR="$HOME/Images"\n', encoding="utf-8")
        (home / "Images" / "plage.jpg").write_bytes(jpeg("2024:07:14 12:30:45", "+02:00", (48.8584, -2.2945)))
        (home / "Images" / "bureau.jpg").write_bytes(jpeg("2025:11:30 09:00:00"))
        self.start_with_model()
        self.assertEqual(self.result("list_recent_photos"), "Accès Photos refusé. Allez dans Réglages Système → "
                                                            "Confidentialité → Photos pour autoriser Vennic.")
        self.assertEqual(self.client.verb("photos", "allow").returncode, 0)
        wait_for(lambda: len(self.backend.run(self.device, "photos_recent")["result"]["items"]) == 2, "the photos are known")
        listed = self.result("list_recent_photos")
        self.assertRegex(listed, r"^1\. \[bureau\.jpg\]\(vennic://local_photo/view/[^/)]+\) — 2025-11-30T09:00:00Z\n"
                                 r"2\. \[plage\.jpg\]\(vennic://local_photo/view/[^/)]+\) — 2024-07-14T10:30:45Z @ 48\.8584,-2\.2945$")
        self.assertEqual(self.result("list_photos_from_date", year=2024), listed)  # up to the end of the November after
        self.assertEqual(self.result("list_photos_from_date", year=2024, month=6), "No photos matched.")
        self.assertEqual(self.result("list_photos_from_date", month=6), "Missing year.")

    def test_applications_are_opened_and_automations_run(self):
        applications = self.folder / "desktop" / "applications"
        applications.mkdir(parents=True)
        self.client.environment["XDG_DATA_DIRS"] = str(self.folder / "desktop")
        log = self.folder / "opened"
        program = self.folder / "notes.sh"
        program.write_text(f"#!/bin/sh\n: >'{log}'\n", encoding="utf-8")
        program.chmod(0o755)
        (applications / "org.example.Notes.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Bloc-notes\nExec={program}\n", encoding="utf-8")
        automations = self.folder / "data" / "vennic" / "shortcuts"
        automations.mkdir(parents=True)
        for name, script in (("redire", "cat"), ("refuser", "echo non >&2; exit 3")):
            (automations / name).write_text(f"#!/bin/sh\n{script}\n", encoding="utf-8")
            (automations / name).chmod(0o755)
        self.start_with_model()
        self.assertEqual(self.result("open_app", name="Bloc-notes"), "Opened Bloc-notes.")
        wait_for(log.exists, "it runs")
        self.assertEqual(self.result("open_app", name="Rêve"), "Aucune application nommée 'Rêve' n'a été trouvée.")
        self.assertEqual(self.result("list_shortcuts"), "1. redire\n2. refuser")
        self.assertEqual(self.result("run_shortcut", name="redire", input=" a\nb "), "a\nb")
        self.assertEqual(self.result("run_shortcut", name="redire"), "Shortcut 'redire' ran (no output).")
        self.assertEqual(self.result("run_shortcut", name="refuser"), "shortcut_run_failed: non")
        self.assertEqual(self.result("danse"), "Unknown tool: danse")

    def break_off(self, rounds_before, end):
        """The model's server ends in the middle of a round, with a piece of its answer said."""
        self.model.scripts([[text(f"Tour {n}. "), *call("list_shortcuts"), DONE] for n in range(rounds_before)] +
                           [[text("Voilà que"), gate("never")]])
        end_of_question = self.in_background("question")
        wait_for(lambda: len(self.model.requests()) > rounds_before and self.model.requests()[-1]["steps"] >= 1,
                 "the last round is on its way")
        self.assertTrue(self.client.status()["streaming"])
        end()
        answer = end_of_question()
        self.assertEqual((answer.returncode, answer.stderr), (1, CUT_OFF + "\n"))
        status = self.client.status()
        # The question, what was said beside the calls, and the failure in place of what had been said.
        self.assertEqual((status["messages"], status["streaming"], status["last_error"]), (2 + rounds_before, False, CUT_OFF))
        self.assertEqual(self.turns(), [])

    def check_kill_in_round(self, rounds_before):
        self.start_with_model()
        self.break_off(rounds_before, self.model.kill)
        self.model = ModelServer(self.folder)
        self.lead_to_model()
        self.assertEqual(self.answer("deux mots"), "deux mots")
        self.assertEqual(self.asked()[-2]["content"], "⚠️ " + CUT_OFF)

    def test_a_model_that_is_killed_in_the_first_round_is_told(self):
        self.check_kill_in_round(0)

    def test_a_model_that_is_killed_in_the_second_round_is_told(self):
        self.check_kill_in_round(1)

    def test_a_model_that_is_killed_in_the_third_round_is_told(self):
        self.check_kill_in_round(2)

    def test_a_model_that_is_killed_in_the_fourth_round_is_told(self):
        self.check_kill_in_round(3)

    def test_a_model_that_is_killed_in_the_fifth_round_is_told(self):
        self.check_kill_in_round(4)

    def test_a_server_that_hangs_up_or_refuses_is_told_in_each_round(self):
        self.start_with_model()
        count = 0
        for end, sentence in (({"cut": True}, CUT_OFF), ({"reset": True}, CUT_OFF),
                              ({"status": 500, "body": "plus de\nmémoire"}, "Local server HTTP 500: plus demémoire")):
            for rounds_before in (0, 1, 4):
                last = [end] if "status" in end else [text("Voilà que"), end]
                self.model.scripts([[*call("list_shortcuts"), DONE]] * rounds_before + [last])
                answer = self.ask("question")
                self.assertEqual((answer.returncode, answer.stderr), (1, sentence + "\n"), (end, rounds_before))
                count += 2
                self.assertEqual(self.client.status()["messages"], count)

    def test_a_client_that_is_killed_in_a_round_keeps_what_was_said(self):
        self.start_with_model()
        self.model.script(text("Le début"), gate("never"))
        end = self.in_background("question")
        wait_for(lambda: self.model.requests() and self.model.requests()[-1]["steps"] >= 1, "the round is on its way")
        wait_for(lambda: "Le début" in self.stored(), "the piece is stored")
        self.client.kill()
        self.assertNotEqual(end().returncode, 0)
        self.client.start()
        status = self.client.status()
        self.assertEqual((status["messages"], status["streaming"]), (2, False))
        self.model.script(text("Voilà."), DONE)
        self.assertEqual(self.answer("alors ?"), "Voilà.")
        self.assertEqual([message["content"] for message in self.asked()[1:]], ["question", "Le début", "alors ?"])

    def stored(self):
        """All that the preferences hold, as the disk has it."""
        with contextlib.closing(sqlite3.connect(f"file:{self.preferences}?mode=ro", uri=True)) as database:
            return "".join(bytes(value).decode("utf-8", "replace") if isinstance(value, bytes) else str(value)
                           for row in database.execute("SELECT * FROM preferences") for value in row)

    def test_without_a_model_the_question_goes_to_the_backend(self):
        self.start_with_model()
        self.model.kill()
        answer = self.ask("aide")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        self.assertEqual([turn[1] for turn in self.turns()], ["aide"])

    def test_the_option_belongs_to_questions_alone(self):
        for words in (("search", "--local", "x"), ("--local",), ("status", "--local")):
            answer = self.client.verb(*words)
            self.assertEqual((answer.returncode, answer.stdout), (2, ""), words)
            self.assertIn("--local", answer.stderr)
        self.assertIn("--local", self.client.verb("ask", "--help").stdout)
        self.assertEqual(self.client.verb("ask", "--local", "x").returncode, 3)


if __name__ == "__main__":
    unittest.main()
