"""A conversation from the command line, through the backend and back to this machine's documents."""
import json
import shutil
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
