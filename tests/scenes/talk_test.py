"""A conversation from the command line, through the backend and back to this machine's documents."""
import json
import os
import shutil
import subprocess
import sys
import unittest

from scene import Scene


class Talk(Scene):
    def ask(self, *words):
        answer = self.client.verb("ask", "--json", "--", *words)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        return json.loads(answer.stdout)

    def test_a_search_links_the_document_and_the_next_question_reads_it(self):
        self.write("courrier/facture.txt", "Montant dû à Électricité : 42 €\n")
        self.start_all()
        self.find("électricité", "facture.txt")
        found = self.ask("cherche", "électricité")
        self.assertRegex(found["text"], r"J'ai trouvé un document pour « électricité » :\n"
                                        r"1\. \[facture\.txt\]\(vennic://local_file/open/[0-9A-F-]{36}\)")
        read = self.ask("lis le premier")
        self.assertIn("Montant dû à Électricité : 42 €", read["text"])
        self.assertEqual(read["discussion_id"], found["discussion_id"])
        status = self.client.status()
        self.assertEqual((status["messages"], status["discussion_id"], status["streaming"]),
                         (4, found["discussion_id"], False))

    def keep_busy(self):
        """Leaves no processor to whoever is content with what nobody else wants, as the index is."""
        for _ in range(2 * os.cpu_count()):
            burning = subprocess.Popen(["nice", "-n", "5", sys.executable, "-c", "while True: pass"])
            self.addCleanup(burning.wait)
            self.addCleanup(burning.kill)

    def test_the_first_search_finds_what_was_shared_a_moment_ago_on_a_busy_machine(self):
        for number in range(3000):
            self.write(f"d{number % 60}/note {number}.txt", f"jonquille {number}\n")
        self.write("d7/facture edf.pdf", "x")
        self.write("d8/courrier.txt", "Le montant de la redevance est de 42 €\n")
        shared, self.shared = self.shared, self.folder / "autre"
        self.shared.mkdir()
        self.start_all()
        self.keep_busy()
        self.assertEqual(self.client.verb("share", str(shared)).returncode, 0)
        self.assertIn("[facture edf.pdf](vennic://local_file/open/", self.ask("cherche facture")["text"])
        self.assertIn("[courrier.txt](vennic://local_file/open/", self.ask("cherche redevance")["text"])

    def test_the_conversation_outlives_the_client_and_the_backend(self):
        self.start_all()
        first = self.ask("aide")
        self.client.stop()
        self.backend.kill()
        self.backend.start()
        self.client.start()
        self.assertEqual(self.client.status()["messages"], 2)
        self.assertEqual(self.ask("aide")["discussion_id"], first["discussion_id"])

    def test_a_backend_that_the_system_does_not_trust_gets_no_question(self):
        self.start_all()
        shutil.rmtree(self.folder / "trust")
        answer = self.client.verb("ask", "aide")
        self.assertEqual(answer.returncode, 1)
        self.assertEqual(answer.stderr, "La connexion sécurisée a été refusée : le certificat du serveur n'est pas reconnu.\n")

    def test_the_preferences_of_the_account_come_with_the_token(self):
        self.start_all()
        self.assertEqual(self.client.status()["email"], "proprietaire@localhost")
        self.assertIsInstance(self.client.status()["user_id"], int)


if __name__ == "__main__":
    unittest.main()
