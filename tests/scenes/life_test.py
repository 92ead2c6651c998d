"""The client's life: starts, ends, kills, tokens, accounts."""
import base64
import json
import os
import pathlib
import signal
import socket
import subprocess
import unittest
import urllib.error

from scene import Scene, wait_for


class Life(Scene):
    def test_without_deployment_settings_it_says_so_and_ends(self):
        answer = self.client.verb()
        self.assertEqual(answer.returncode, 1)
        self.assertIn("deployment.json", answer.stderr)

    def test_verbs_without_a_running_client_say_so(self):
        for verb in (["status"], ["pair", "ABCDEFGH"], ["shares"], ["quit"], ["search", "x"]):
            answer = self.client.verb(*verb)
            self.assertEqual(answer.returncode, 3, verb)
            self.assertEqual(answer.stderr, "Vennic ne tourne pas. Lance « vennic » d'abord.\n")

    def test_a_second_start_hands_over_to_the_first(self):
        self.start_all()
        second = self.client.verb()
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertIsNone(self.client.process.poll())

    def test_quit_and_sigterm_end_it_cleanly(self):
        self.start_all()
        self.assertEqual(self.client.verb("quit").returncode, 0)
        self.assertEqual(self.client.process.wait(20), 0)
        self.client.start()
        self.client.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.client.process.wait(20), 0)
        self.assertEqual(self.client.workers(), [])

    def test_a_start_right_after_quit_takes_the_place_once_it_is_free(self):
        self.start_all()
        for _ in range(5):
            old = self.client.process
            self.assertEqual(self.client.verb("quit").returncode, 0)
            self.client.start()
            self.assertEqual(old.wait(20), 0)
            self.assertIsNone(self.client.process.poll())

    def test_status_has_every_promised_field(self):
        self.start_all()
        status = wait_for(lambda: (now := self.client.status())["email"] and now, "the account is known")
        for field in ("authenticated", "email", "user_id", "bridge_enabled", "bridge", "bridge_task", "tasks_served",
                      "last_error", "last_task_at", "device_id", "nickname", "shares", "index", "credential_store",
                      "provider", "streaming", "messages", "discussion_id"):
            self.assertIn(field, status)
        self.assertEqual(status["authenticated"], True)
        self.assertEqual(status["email"], "proprietaire@localhost")
        self.assertEqual(status["credential_store"], "file")
        self.assertEqual(set(status["index"]) & {"files", "pending", "bytes", "ready"},
                         {"files", "pending", "bytes", "ready"})
        self.assertEqual([(s["name"], s["path"]) for s in status["shares"]], [("documents", str(self.shared))])

    def test_a_display_that_says_nothing_holds_up_nothing(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            self.client.show_on(f"127.0.0.1:{silent.getsockname()[1] - 6000}")
            self.start_all()
            self.assertEqual(self.client.status()["bridge"], "polling")
            self.assertIn("sans écran", self.client.verb().stderr)

    def test_a_wrong_code_pairs_nothing(self):
        self.backend.start()
        self.deploy()
        self.client.start()
        answer = self.client.verb("pair", "AAAAAAAA")
        self.assertEqual(answer.returncode, 1)
        self.assertTrue(answer.stderr.startswith("Erreur HTTP 4"), answer.stderr)
        self.assertFalse(self.client.status()["authenticated"])

    def test_everything_survives_a_restart(self):
        self.write("a.txt", "mimosa")
        self.start_all()
        self.find("mimosa", "a.txt")
        before = self.client.status()
        self.client.stop()
        self.client.start()
        self.await_polling()
        after = self.client.status()
        for field in ("device_id", "shares", "bridge_enabled", "authenticated"):
            self.assertEqual(before[field], after[field])
        self.find("mimosa", "a.txt")

    def test_everything_survives_a_kill(self):
        self.write("a.txt", "jacinthe")
        self.start_all()
        before = self.client.status()
        self.client.kill()
        self.client.start()
        self.await_polling()
        self.assertEqual(self.client.status()["shares"], before["shares"])
        self.find("jacinthe", "a.txt")

    def test_a_killed_worker_is_one_failed_task_at_most(self):
        self.write("a.txt", "lavande")
        self.start_all()
        hit = self.find("lavande", "a.txt")
        self.assertEqual(self.read(hit["id"])["result"]["content"], "lavande")
        for worker in self.client.workers():
            os.kill(worker, signal.SIGKILL)
        wait_for(lambda: self.read(hit["id"])["state"] == "done", "reading works again")

    def test_a_killed_backend_is_found_again_with_its_pending_tasks(self):
        self.write("a.txt", "bleuet")
        self.start_all()
        hit = self.find("bleuet", "a.txt")
        self.client.process.send_signal(signal.SIGSTOP)
        task = self.backend.send(self.device, "read", {"document_id": hit["id"]})
        self.backend.kill()
        self.client.process.send_signal(signal.SIGCONT)
        self.backend.start()
        self.assertEqual(self.backend.finished(task)["state"], "done")

    def test_sign_out_forgets_and_revokes(self):
        self.start_all()
        token = self.stored_token()
        self.assertEqual(self.client.verb("sign-out").returncode, 0)
        self.assertFalse(self.client.status()["authenticated"])
        self.assertEqual(self.client.status()["bridge"], "off")

        def refused():
            try:
                self.backend.call("GET", "/api/v1/me.json", headers={"X-User-Token": token})
            except urllib.error.HTTPError as error:
                return error.code == 401
            return False
        wait_for(refused, "the token is revoked")

    def test_a_revoked_token_signs_out_with_its_words(self):
        self.start_all()
        self.backend.call("DELETE", "/api/v1/session", headers={"X-User-Token": self.stored_token()})
        status = wait_for(lambda: (s := self.client.status()) and not s["authenticated"] and s, "signed out")
        self.assertEqual(status["last_error"], "Session expirée. Recolle ton jeton dans Réglages (⌘,).")
        self.assertEqual(status["bridge"], "off")

    def test_a_pasted_token_signs_in(self):
        self.start_all()
        token = self.stored_token()
        self.client.stop()
        self.forget_token()
        self.client.start()
        self.assertFalse(self.client.status()["authenticated"])
        self.assertEqual(self.client.verb("token", input=token + "\n").returncode, 0)
        self.await_polling()

    def test_the_token_stands_nowhere_but_in_its_vault(self):
        self.write("a.txt", "violette")
        self.start_all()
        self.find("violette", "a.txt")
        token = self.stored_token().encode()
        stored = base64.b64encode(token)
        process = pathlib.Path("/proc", str(self.client.process.pid))
        for place in (process / "cmdline", process / "environ", self.client.log, self.folder / "server.log"):
            self.assertNotIn(token, place.read_bytes(), place)
        self.assertRegex((process / "limits").read_text(), r"Max core file size\s+0\s")
        holders = [path for path in self.folder.rglob("*") if path.is_file() and (token in path.read_bytes() or stored in path.read_bytes())]
        self.assertEqual([path.parent.name for path in holders], ["vennic"], holders)
        self.assertEqual(holders[0].stat().st_mode & 0o777, 0o600)

    def test_damaged_preferences_are_set_aside_not_lost(self):
        self.start_all()
        self.client.stop()
        store = self.folder / "data" / "vennic" / "preferences.sqlite"
        for extra in ("-wal", "-shm"):
            store.with_name(store.name + extra).unlink(missing_ok=True)
        store.write_bytes(b"not a database at all" * 100)
        self.client.start()
        aside = [path for path in store.parent.iterdir() if path.name.startswith("preferences.sqlite.")
                 and b"not a database" in path.read_bytes()]
        self.assertEqual(len(aside), 1)

    def test_the_command_line_searches_as_the_backend_does_and_lists_the_shares(self):
        self.write("bail.txt", "orchidée")
        self.start_all()
        self.find("orchidée", "bail.txt")
        answer = self.client.verb("search", "--json", "orchidée")
        self.assertEqual(answer.returncode, 0, answer.stderr)
        items = json.loads(answer.stdout)["items"]
        self.assertEqual([item["name"] for item in items], ["bail.txt"])
        self.assertEqual(items[0]["link"], "vennic://local_file/open/" + items[0]["id"])
        self.assertEqual(self.read(items[0]["id"])["result"]["content"], "orchidée")
        self.assertEqual(self.client.verb("search", "introuvable").stdout, "Rien trouvé.\n")
        shares = json.loads(self.client.verb("shares", "--json").stdout)["shares"]
        self.assertEqual([(share["path"], share["found"]) for share in shares], [(str(self.shared), True)])

    def test_the_name_of_a_file_cannot_command_the_terminal(self):
        name = "azur\x1b[31m\x9b.txt"
        self.write(name, "x")
        self.start_all()
        self.find("azur", name)
        ours, theirs = os.openpty()
        self.addCleanup(os.close, ours)
        asked = subprocess.run([self.client.program, "search", "azur"], env=self.client.environment, stdout=theirs,
                               timeout=100, check=False)
        os.close(theirs)
        shown = os.read(ours, 65536).decode()
        self.assertEqual(asked.returncode, 0)
        self.assertIn("azur\ufffd[31m\ufffd.txt", shown)
        self.assertNotIn("\x1b", shown)

    def test_an_address_that_leads_to_no_document_is_refused(self):
        self.start_all()
        for address, words in (("https://example.test/", "Cette adresse n'est ni celle d'un document ni celle d'une photo : "
                                                         "https://example.test/\n"),
                               ("vennic://local_file/open/00000000-0000-4000-8000-000000000000",
                                "Document introuvable ; relance la recherche.\n")):
            answer = self.client.verb("open", address)
            self.assertEqual((answer.returncode, answer.stderr), (1, words))

    def test_a_command_line_too_long_for_the_client_is_refused_in_its_words(self):
        self.start_all()
        answer = self.client.verb("search", "é" * 40_000)
        self.assertEqual((answer.returncode, answer.stderr), (2, "La ligne de commande est trop longue.\n"))

    def test_doctor_finds_this_installation_sound(self):
        self.start_all()
        answer = self.client.verb("doctor", "--json")
        checks = json.loads(answer.stdout)["checks"] if answer.stdout else answer.stderr
        self.assertEqual(answer.returncode, 0, checks)
        self.assertGreater(len(checks), 5)
        findings = {check["name"]: (check["verdict"], check["finding"]) for check in checks}
        self.assertEqual(findings["Lecteur d'images"], ("ok", "enfermé, et lit"))
        self.assertEqual(findings["Reconnaissance de texte"], ("ok", "français, anglais"))

    def vault(self):
        vault = [path for path in (self.folder / "data" / "vennic").iterdir()
                 if path.is_file() and not path.name.startswith("preferences")]
        self.assertEqual(len(vault), 1, vault)
        return vault[0]

    def stored_token(self):
        for item in json.loads(self.vault().read_text(encoding="utf-8"))["items"]:
            if item["account"] == "user_token":
                return base64.b64decode(item["data"]).decode()
        raise AssertionError("no token is stored")

    def forget_token(self):
        vault = json.loads(self.vault().read_text(encoding="utf-8"))
        vault["items"] = [item for item in vault["items"] if item["account"] != "user_token"]
        self.vault().write_text(json.dumps(vault), encoding="utf-8")


if __name__ == "__main__":
    unittest.main()
