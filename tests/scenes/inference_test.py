"""A local model behind the bridge: the real client and backend, and a scripted model's server."""
import json
import os
import signal
import threading

from model_server import DONE, ModelServer, calls, finish, gate, repeat, text, usage
from scene import Scene, memory, wait_for

UNREACHABLE = "Serveur local injoignable : "


class Inference(Scene):
    def setUp(self):
        super().setUp()
        self.model = ModelServer(self.folder)
        self.addCleanup(self.model.stop)

    def begin(self):
        self.start_all()
        for words in (["endpoint", self.model.endpoint], ["name", "vennic/essai"], ["on"]):
            self.verb("model", *words)

    def verb(self, *words):
        answer = self.client.verb(*words)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        return answer.stdout

    def send(self, **body):
        body.setdefault("messages", [{"role": "user", "content": "Bonjour à tous"}])
        return self.backend.send(self.device, "llm_infer", {"openai_body_json": json.dumps(body)})

    def infer(self, **body):
        return self.backend.finished(self.send(**body))

    def streamed(self, task):
        return "".join(self.backend.call("GET", f"/owner/tasks/{task['id']}")["stream"])

    def heartbeat(self):
        machine, = [each for each in self.backend.call("GET", "/owner/machines") if each["device_id"] == self.device]
        return machine["heartbeat"] or {}

    def answer(self, task):
        self.assertEqual(task["state"], "done", task)
        return json.loads(task["result"]["response_json"])

    def test_text_is_streamed_while_it_is_written_and_comes_whole_at_the_end(self):
        self.begin()
        self.model.script(text("Bon"), gate("go"), text("jour"), text(" à tous"), finish("stop"), usage(9, 3), DONE)
        task = self.send()
        wait_for(lambda: self.streamed(task) == "Bon", "the first piece is there while the model still writes")
        self.assertEqual(self.client.status()["bridge_task"], "llm_infer")
        self.model.open("go")
        task = self.backend.finished(task)
        answer = self.answer(task)
        self.assertEqual(self.streamed(task), "Bonjour à tous")
        self.assertEqual(answer["choices"][0]["message"], {"role": "assistant", "content": "Bonjour à tous"})
        self.assertEqual(answer["usage"], {"prompt_tokens": 9, "completion_tokens": 3, "total_tokens": 12})
        self.assertEqual(task["result"]["model_used"], "vennic/essai")
        asked, = self.model.requests()
        body = json.loads(asked["body"])
        self.assertEqual((body["model"], body["stream"]), ("vennic/essai", True))
        self.assertNotIn("x-user-token", asked["fields"])
        self.assertRegex(self.client.log.read_text(), r"\[LocalLLM\] → POST http://127\.0\.0\.1:\d+/v1/chat/completions "
                                                      r"model=vennic/essai bytes=\d+\n")
        self.assertRegex(self.client.log.read_text(), r"\[LocalLLM\] ← first-token model=vennic/essai ttft=\d+\.\d\ds\n")

    def test_without_a_script_the_model_repeats_and_tools_come_back_as_calls(self):
        self.begin()
        self.assertEqual(self.answer(self.infer())["choices"][0]["message"]["content"], "Bonjour à tous")
        self.model.script(calls({"index": 0, "id": "c1", "type": "function", "function": {"name": "chercher", "arguments": ""}}),
                          calls({"index": 0, "function": {"arguments": "{\"mots\":"}}),
                          calls({"index": 0, "function": {"arguments": "\"edf\"}"}}), DONE)
        tools = [{"type": "function", "function": {"name": "chercher", "parameters": {"type": "object"}}}]
        task = self.infer(tools=tools, tool_choice="auto")
        choice, = self.answer(task)["choices"]
        self.assertEqual(self.streamed(task), "")
        self.assertEqual(choice["finish_reason"], "tool_calls")
        self.assertEqual(choice["message"]["tool_calls"], [{"id": "c1", "type": "function",
                         "function": {"name": "chercher", "arguments": "{\"mots\":\"edf\"}"}}])
        self.assertEqual(json.loads(self.model.requests()[-1]["body"])["tools"], tools)

    def test_inference_is_within_reach_while_the_bridge_is_off_and_not_while_the_model_is(self):
        self.begin()
        self.verb("bridge", "off")
        self.assertEqual(self.infer()["state"], "done")
        self.verb("model", "off")
        self.assertEqual(self.infer()["error_message"], "Le LLM local est désactivé dans les Réglages du Mac.")

    def test_a_server_that_is_killed_in_the_middle_ends_the_task_with_what_came_before(self):
        self.begin()
        self.model.script(text("Bon"), gate("never"), text("jour"), DONE)
        task = self.send()
        wait_for(lambda: self.streamed(task) == "Bon", "the first piece is there")
        self.model.kill()
        task = self.backend.finished(task)
        self.assertEqual((task["state"], task["error_message"]),
                         ("error", UNREACHABLE + "La connexion au serveur a été coupée."))
        self.assertEqual(self.streamed(task), "Bon")
        self.assertEqual(self.infer()["error_message"], UNREACHABLE + "Le serveur a refusé la connexion.")
        self.model = ModelServer(self.folder, self.model.port)
        self.addCleanup(self.model.stop)
        self.assertEqual(self.infer()["state"], "done", "another server at the same place serves the next task")

    def test_each_way_of_failing_has_its_words(self):
        self.begin()
        for steps, words in [
            ([{"status": 503, "body": "chargement\ndu modèle"}], "Serveur local HTTP 503 : chargementdu modèle"),
            ([{"not_http": "garbage\r\n"}], "Réponse invalide du serveur local."),
            ([{"cut": True}], UNREACHABLE + "La connexion au serveur a été coupée."),
            ([text("a"), {"cut": True}], UNREACHABLE + "La connexion au serveur a été coupée."),
            ([text("a"), {"reset": True}], UNREACHABLE + "La connexion au serveur a été coupée."),
            ([{"raw": "data: " + "x" * (1 << 20)}], UNREACHABLE + "La réponse du serveur est trop volumineuse."),
        ]:
            self.model.script(*steps)
            task = self.infer()
            self.assertEqual((task["state"], task["error_message"]), ("error", words))
        self.model.script({"line": "data: {broken"}, {"line": ": comment"}, {"raw": "\xff\xfe\n"}, text("bien"))
        self.assertEqual(self.answer(self.infer())["choices"][0]["message"]["content"], "bien")
        task = self.backend.run(self.device, "llm_infer", {"openai_body_json": "{"})
        self.assertTrue(task["error_message"].startswith("Corps OpenAI invalide : "), task)

    def test_a_backend_that_is_away_for_a_moment_loses_pieces_and_not_the_answer(self):
        self.begin()
        self.model.script(text("Bon"), gate("go"), text("jour"), DONE)
        task = self.send()
        wait_for(lambda: self.streamed(task) == "Bon", "the first piece is there")
        self.backend.kill()
        self.backend.start()
        self.model.open("go")
        self.assertEqual(self.answer(self.backend.finished(task))["choices"][0]["message"]["content"], "Bonjour")

    def test_who_signs_out_leaves_the_models_server_at_once(self):
        self.begin()
        self.model.script(text("Bon"), gate("never"), DONE)
        task = self.send()
        wait_for(lambda: self.streamed(task) == "Bon", "the first piece is there")
        self.verb("sign-out")
        wait_for(lambda: self.model.requests()[-1]["ended"] == "gone", "the connection to the model is closed")

    def test_a_flood_passes_whole_and_the_client_stays_small(self):
        self.begin()
        self.infer()
        before = memory(self.client.process.pid, "Pss_Anon")
        self.model.script(repeat(100_000, text("mot ")), usage(9, 100_000), DONE)
        task, most = self.send(), before
        while task["state"] not in ("done", "error", "timeout"):
            task = self.backend.call("GET", f"/owner/tasks/{task['id']}?wait=1")
            most = max(most, memory(self.client.process.pid, "Pss_Anon"))
        self.assertEqual(self.answer(task)["choices"][0]["message"]["content"], "mot " * 100_000)
        self.assertEqual("".join(task["stream"]), "mot " * 100_000)
        if "VENNIC_SANITIZED" not in os.environ:  # a sanitizer keeps what has been freed
            self.assertLess(most - before, 16 * 1024, "kB more at its highest")

    def test_a_backend_that_stands_still_holds_up_the_models_server(self):
        self.begin()
        self.model.script(repeat(400_000, text("mot ")), DONE)
        task = self.send()
        wait_for(lambda: self.streamed(task), "the first piece is there")
        self.backend.process.send_signal(19)  # SIGSTOP
        self.addCleanup(self.backend.process.send_signal, 18)
        before = memory(self.client.process.pid, "Pss_Anon")
        sent = [-1]

        def still():
            sent.append(self.model.requests()[-1]["sent"])
            return sent[-1] == sent[-2]
        wait_for(lambda: not threading.Event().wait(0.3) and still(), "the model's server can send no more")
        self.assertLess(sent[-1], 20 << 20, "of some 65 MB")
        self.assertLess(memory(self.client.process.pid, "Pss_Anon") - before, 4 * 1024, "kB more")

    def test_a_models_server_that_hangs_is_told_of_and_holds_nobody_up(self):
        self.begin()
        self.model.process.send_signal(signal.SIGSTOP)
        self.addCleanup(self.model.process.send_signal, signal.SIGCONT)
        self.assertIn(f"Modèle local : aucune réponse de {self.model.endpoint} en une seconde\n", self.verb("status"))
        model = self.client.status()["local_model"]
        self.assertEqual((model["reachable"], model["timed_out"], model["loaded_model"]), (False, True, None))
        checks = json.loads(self.client.verb("doctor", "--json").stdout)["checks"]
        found, = [check for check in checks if check["name"] == "Modèle local"]
        self.assertEqual((found["verdict"], found["finding"]), ("limited", f"aucune réponse de {self.model.endpoint} en une seconde"))
        self.model.process.send_signal(signal.SIGCONT)
        self.assertIn("Modèle local : vennic/essai", self.verb("status"))

    def test_the_backend_and_the_user_learn_what_is_loaded_and_how_fast_it_is(self):
        hub = self.folder / "home" / ".cache" / "huggingface" / "hub"
        for owner in ("b--deux", "a--un"):
            (hub / f"models--{owner}" / "snapshots" / "0").mkdir(parents=True)
        self.start_all()
        told = self.heartbeat()
        self.assertEqual(told["downloaded_models"], ["a/un", "b/deux"])
        self.assertNotIn("loaded_model", told, "the model is off")
        self.assertNotIn("tok_per_sec_recent", told)
        self.assertGreater(told["ram_total_gb"], told["ram_used_gb"])
        self.assertGreater(told["ram_used_gb"], 0.05)
        self.assertEqual(self.client.status()["local_model"]["enabled"], False)
        self.assertIn("Modèle local : désactivé", self.verb("status"))
        for words in (["endpoint", self.model.endpoint], ["on"]):
            self.verb("model", *words)
        self.model.script({"pause": 0.1}, text("a"), usage(1, 50), DONE)
        self.infer()
        told = wait_for(lambda: (lambda beat: beat if "tok_per_sec_recent" in beat else None)(self.heartbeat()),
                        "the next poll tells of the model")
        self.assertEqual(told["loaded_model"], "vennic/essai")
        self.assertGreater(told["tok_per_sec_recent"], 1)
        self.assertLess(told["tok_per_sec_recent"], 500, "50 tokens took a tenth of a second at least")
        model = self.client.status()["local_model"]
        self.assertEqual((model["reachable"], model["loaded_model"], model["tokens_per_second"]),
                         (True, "vennic/essai", told["tok_per_sec_recent"]))
        self.assertRegex(self.verb("status"), r"Modèle local : vennic/essai, [\d\s]+,\d jetons par seconde\n")
        self.model.kill()
        self.assertEqual(self.client.status()["local_model"]["reachable"], False)
        self.assertIn(f"aucune réponse de {self.model.endpoint}", self.verb("model", "status"))
