"""A conversation that a model answers: it searches and reads on this machine, through the backend and the bridge."""
import json
import re
import subprocess
import unittest

from model_server import DONE, ModelServer, calls, finish, gate, text
from scene import Scene, wait_for


def tool(name, **arguments):
    """A step that calls a tool, its arguments in two fragments."""
    written = json.dumps(arguments)
    return [calls({"index": 0, "id": f"call-{name}", "type": "function", "function": {"name": name, "arguments": written[:3]}}),
            calls({"index": 0, "function": {"arguments": written[3:]}}), finish("tool_calls"), DONE]


class Served(Scene):
    def setUp(self):
        super().setUp()
        self.model = ModelServer(self.folder)
        self.addCleanup(self.model.stop)

    def start_served(self):
        key = self.folder / "model.key"
        key.write_text("sk-essai\n")
        self.start_all("--model-url", self.model.endpoint, "--model", "vennic/essai", "--model-key-file", key)

    def ask(self, *words):
        answer = self.client.verb("ask", "--json", "--", *words)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        return json.loads(answer.stdout)

    def begin_asking(self, *words):
        asking = subprocess.Popen([self.client.program, "ask", "--json", "--", *words], env=self.client.environment, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(asking.stdout.close)
        self.addCleanup(asking.stderr.close)
        self.addCleanup(asking.wait)
        self.addCleanup(asking.kill)
        return asking

    def messages(self, index):
        """What the model was told in its request of that number."""
        return json.loads(self.model.requests()[index]["body"])["messages"]

    def tools_said(self, index):
        return [message["content"] for message in self.messages(index) if message["role"] == "tool"]

    def test_a_model_searches_reads_and_answers_with_a_link(self):
        self.write("courrier/facture.txt", "Montant dû à Électricité : 42 €\n")
        self.start_served()
        found = self.find("électricité", "facture.txt")
        # Handles are made anew by each search, and an older one stays good.
        link = f"[facture.txt](vennic://local_file/open/{found['id']})"
        self.model.scripts([[text("Je cherche."), *tool("search", query="électricité")], tool("read", document_id=found["id"]),
                            [text("Tu dois 42 €"), text(f" : {link}"), finish("stop"), DONE]])
        answer = self.ask("combien pour l'électricité ?")
        self.assertEqual(answer["text"], f"Je cherche.\n\nTu dois 42 € : {link}")
        first = self.model.requests()[0]
        self.assertEqual(first["fields"]["authorization"], "Bearer sk-essai")
        body = json.loads(first["body"])
        self.assertEqual((body["model"], body["stream"]), ("vennic/essai", True))
        self.assertIn("vennic://local_file/open/ID", body["messages"][0]["content"])
        self.assertIn('"name":"facture.txt"', self.tools_said(1)[0])
        self.assertIn("Montant dû à Électricité : 42 €", self.tools_said(2)[1])
        self.shows_the_discussion(answer, link)

    def shows_the_discussion(self, answer, link):
        listed = self.backend.call("GET", "/owner/discussions")
        self.assertEqual([(each["id"], each["name"]) for each in listed], [(answer["discussion_id"], "combien pour l'électricité ?")])
        turn = self.backend.call("GET", f"/owner/discussions/{answer['discussion_id']}")["turns"][0]
        self.assertEqual(turn["text"], "combien pour l'électricité ?")
        self.assertTrue(turn["reply"].endswith(link))
        self.backend.connection.request("GET", f"/discussions/{answer['discussion_id']}")
        page = self.backend.connection.getresponse()
        self.assertEqual(page.status, 200)
        self.assertIn("default-src 'none'", page.headers["Content-Security-Policy"])
        self.assertIn("/pages/discussions.js", page.read().decode())

    def test_what_was_said_before_goes_along(self):
        self.start_served()
        self.assertEqual(self.ask("un deux")["text"], "un deux")
        self.ask("trois")
        self.assertEqual([(message["role"], message["content"]) for message in self.messages(1)[1:]],
                         [("user", "un deux"), ("assistant", "un deux"), ("user", "trois")])

    def test_a_hang_up_in_mid_answer_is_said_behind_what_came(self):
        self.start_served()
        self.model.script(text("Tu dois 4"), {"cut": True})
        self.assertEqual(self.ask("combien ?")["text"],
                         "Tu dois 4\n\n⚠️ Le serveur du modèle a coupé avant la fin de sa réponse.")
        self.model.kill()
        self.assertEqual(self.ask("combien ?")["text"], "⚠️ Le serveur du modèle est injoignable.")

    def test_who_stops_asking_ends_the_request_to_the_model(self):
        self.start_served()
        self.model.script(text("Tu dois"), {"hang": True})
        asking = self.begin_asking("combien ?")
        wait_for(lambda: self.model.requests() and self.model.requests()[0]["steps"] == 1, "the model has begun")
        asking.terminate()
        self.client.kill()
        wait_for(lambda: self.model.requests()[0]["ended"] == "gone", "the backend has left the model")
        turns = wait_for(lambda: self.backend.call("GET", "/owner/discussions/1")["turns"], "the turn is filed")
        self.assertEqual((turns[0]["text"], turns[0]["reply"]), ("combien ?", "Tu dois"))

    def test_words_arrive_while_the_model_is_still_writing(self):
        self.start_served()
        self.model.script(text("Bonjour"), gate("g"), text(" toi"), finish("stop"), DONE)
        status = wait_for(self.client.status, "status")
        token = self.token()
        connection = self.second_connection()
        connection.request("POST", "/api/v1/queries.json", json.dumps({"text": "salut", "stream": True}), {"X-User-Token": token})
        answer = connection.getresponse()
        said = b""
        while b"data: Bonjou" not in said:
            said += answer.read1()
        self.assertNotIn(b"event: final", said)
        self.model.open("g")
        said += answer.read()
        self.assertTrue(re.search(rb'event: final\ndata: {"discussion_id":1,"text":"Bonjour toi"}\n\n$', said), said)
        self.assertIsNotNone(status)

    def token(self):
        claimed = self.backend.call("POST", "/api/v1/pairings/claim",
                                    {"client_kind": "mac", "pairing_code": self.backend.pairing_code()}, {"Accept": "*/*"})
        return claimed["user_token"]

    def second_connection(self):
        import http.client
        connection = http.client.HTTPSConnection("localhost", self.backend.port(), context=self.backend.trust, timeout=75)
        self.addCleanup(connection.close)
        return connection

    def test_the_machines_own_model_answers_with_the_same_tools(self):
        self.write("notes.txt", "Le code est 1234\n")
        self.start_all("--model-on-machine")
        found = self.find("code", "notes.txt")
        for words in (["endpoint", self.model.endpoint], ["name", "vennic/essai"], ["on"]):
            done = self.client.verb("model", *words)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.model.scripts([tool("read", document_id=found["id"]), [text("C'est "), text("1234."), finish("stop"), DONE]])
        self.assertEqual(self.ask("quel code ?")["text"], "C'est 1234.")
        self.assertIn("Le code est 1234", self.tools_said(1)[0])


if __name__ == "__main__":
    unittest.main()
