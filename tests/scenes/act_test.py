"""What the backend has this machine do: open applications, run automations."""
import json
import os
import pathlib
import unittest

from scene import Scene, wait_for


class Act(Scene):
    def setUp(self):
        super().setUp()
        self.applications = self.folder / "desktop" / "applications"
        self.applications.mkdir(parents=True)
        self.client.environment["XDG_DATA_DIRS"] = str(self.folder / "desktop")
        self.automations = self.folder / "data" / "vennic" / "shortcuts"

    def add_application(self, file, name, more=""):
        log = self.folder / (file + ".log")
        program = self.folder / (file + ".sh")
        program.write_text(f"#!/bin/sh\numask >'{log}.new'; mv '{log}.new' '{log}'; exec sleep 60\n", encoding="utf-8")
        program.chmod(0o755)
        (self.applications / file).write_text(
            f"[Desktop Entry]\nType=Application\nName={name}\nExec={program}\n{more}", encoding="utf-8")
        return log

    def add_automation(self, file, script):
        self.automations.mkdir(parents=True, exist_ok=True)
        path = self.automations / file
        path.write_text("#!/bin/sh\n" + script + "\n", encoding="utf-8")
        path.chmod(0o755)

    def act(self, kind, **arguments):
        return self.backend.run(self.device, kind, arguments)

    def test_an_application_is_opened_by_identifier_file_and_name(self):
        log = self.add_application("org.example.Notes.desktop", "Bloc-notes")
        self.start_all()
        for name in ("org.example.Notes", "org.example.Notes.desktop", "Bloc-notes"):
            log.unlink(missing_ok=True)
            self.assertEqual(self.act("app_open", name=name)["result"], {"ok": True})
            wait_for(log.exists, name + " runs")
        self.assertNotIn("77", log.read_text())  # our own strictness is not the application's
        answer = self.act("app_open", name="../org.example.Notes")
        self.assertEqual((answer["state"], answer["result"]), ("done", {
            "ok": False, "error": "Aucune application nommée '../org.example.Notes' n'a été trouvée."}))

    def test_each_character_of_a_name_is_taken_as_it_stands(self):
        program, done = self.folder / "note.sh", self.folder / "done"
        done.mkdir()
        program.write_text(f"#!/bin/sh\n: >'{done}'/$1\n", encoding="utf-8")
        program.chmod(0o755)
        # A name with a slash would be a path, and nobody can read one with a control character.
        shown = [code for code in range(0x20, 0x100) if not 0x7f <= code <= 0xa0 and code != ord("/")]
        for code in shown:
            name = f"Nom {chr(code)} fin".replace("\\", "\\\\")  # which the format of entries wants
            (self.applications / f"a{code}.desktop").write_text(
                f"[Desktop Entry]\nType=Application\nName={name}\nExec={program} {code}\n", encoding="utf-8")
        self.start_all()
        for code in range(1, 0x100):
            name = f"Nom {chr(code)} fin"
            answer = self.act("app_open", name=name)
            self.assertEqual(answer["state"], "done", (code, answer))
            if code in shown:
                self.assertEqual(answer["result"], {"ok": True}, code)
            else:
                self.assertEqual(answer["result"], {"ok": False, "error": f"Aucune application nommée '{name}' n'a été trouvée."}, code)
        wait_for(lambda: len(list(done.iterdir())) == len(shown), "each has been started")
        self.assertEqual(sorted(int(each.name) for each in done.iterdir()), shown)
        for name in ("", "/", "..", "a65.desktop/", "./a65", "\u202eNom A fin", "Nom A fin\n", "NOM A FIN", "x" * 100_000):
            answer = self.act("app_open", name=name)
            self.assertEqual((answer["state"], answer["result"]["ok"]), ("done", False), name[:20])

    def test_an_opened_application_outlives_the_client(self):
        program = self.folder / "long"
        program.write_text(f"#!/bin/sh\necho $$ >'{self.folder}/pid.new'; mv '{self.folder}/pid.new' '{self.folder}/pid'; exec sleep 60\n")
        program.chmod(0o755)
        (self.applications / "long.desktop").write_text(f"[Desktop Entry]\nType=Application\nName=Long\nExec={program}\n")
        self.start_all()
        self.assertEqual(self.act("app_open", name="long")["result"], {"ok": True})
        pid = int(wait_for(lambda: (self.folder / "pid").exists() and (self.folder / "pid").read_text(), "it runs"))
        self.addCleanup(os.kill, pid, 9)
        self.client.stop()
        self.assertEqual(pathlib.Path(f"/proc/{pid}/comm").read_text(), "sleep\n")
        self.assertEqual([os.readlink(f"/proc/{pid}/fd/{n}") for n in sorted(os.listdir(f"/proc/{pid}/fd"))], ["/dev/null"] * 3)

    def test_automations_are_listed_and_run(self):
        self.add_automation("Éteindre.sh", "echo éteint")
        self.add_automation("redire.py", "cat")
        self.add_automation("refuser", "echo non >&2; exit 3")
        self.add_automation("se taire", "exit 1")
        self.start_all()
        self.assertEqual(self.act("shortcut_list")["result"], {"shortcuts": ["Éteindre", "redire", "refuser", "se taire"]})
        self.assertEqual(self.act("shortcut_run", name="Éteindre")["result"], {"output": "éteint"})
        self.assertEqual(self.act("shortcut_run", name="redire", input=" a\nb ")["result"], {"output": "a\nb"})
        self.assertEqual(self.act("shortcut_run", name="redire", input="")["result"], {})
        for name, words in (("refuser", "non"), ("se taire", "exit 1"),
                            ("../shortcuts/redire", f"Aucune automatisation ne s'appelle « ../shortcuts/redire » dans {self.automations}.")):
            answer = self.act("shortcut_run", name=name)
            self.assertEqual((answer["state"], answer["error_message"]), ("error", "shortcut_run_failed: " + words))

    def test_without_a_folder_of_automations_the_list_is_empty(self):
        self.start_all()
        self.assertEqual(self.act("shortcut_list")["result"], {"shortcuts": []})

    def test_a_megabyte_goes_through_an_automation(self):
        self.add_automation("redire", "cat")
        self.start_all()
        text = "é" * 500_000
        self.assertEqual(self.act("shortcut_run", name="redire", input=text)["result"], {"output": text})

    def test_a_long_output_arrives_and_a_longer_one_than_is_taken_is_told(self):
        ended = self.folder / "ended"
        self.add_automation("long", "yes é | head -c 20000000")
        self.add_automation("trop long", f"yes é | head -c 70000000; touch '{ended}'")
        self.start_all()
        output = self.act("shortcut_run", name="long")["result"]["output"]
        self.assertEqual((len(output), set(output)), (13_333_333, {"é", "\n"}))
        answer = self.act("shortcut_run", name="trop long")
        self.assertEqual(answer["error_message"], "shortcut_run_failed: L'automatisation est allée à son terme, mais elle "
                                                  "a écrit plus de 64 Mio : sa réponse n'est pas transmise.")
        self.assertTrue(ended.exists())

    def test_an_automation_that_runs_ends_with_the_client_and_does_not_hold_it_up(self):
        pid_file = self.folder / "pid"
        self.add_automation("long", f"echo $$ >'{pid_file}.new'; mv '{pid_file}.new' '{pid_file}'; sleep 600; true")
        self.start_all()
        self.backend.send(self.device, "shortcut_run", {"name": "long"})
        wait_for(pid_file.exists, "the automation runs")
        pid = int(pid_file.read_text())
        self.assertEqual((self.client.status()["bridge"], self.client.status()["bridge_task"]), ("busy", "shortcut_run"))
        self.assertEqual(self.client.verb("quit").returncode, 0)
        self.client.process.wait(20)
        self.assertEqual(self.client.process.returncode, 0)
        self.assertFalse(pathlib.Path(f"/proc/{pid}").exists())

    def test_doctor_tells_of_applications_and_automations(self):
        self.start_all()

        def findings():
            answer = self.client.verb("doctor", "--json")
            return {check["name"]: check for check in json.loads(answer.stdout)["checks"]}
        before = findings()
        self.assertEqual(before["Applications"]["verdict"], "limited")
        self.assertIn(".desktop", before["Applications"]["remedy"])
        self.assertEqual(before["Automatisations"]["finding"],
                         f"aucune ; les programmes exécutables de {self.automations} en seront")
        self.add_application("notes.desktop", "Notes")
        self.add_automation("a", "true")
        self.add_automation("b", "true")
        after = findings()
        self.assertEqual(after["Applications"]["finding"], "1 application(s) que le serveur peut ouvrir")
        self.assertEqual(after["Automatisations"]["finding"], f"2 dans {self.automations}")
        self.automations.chmod(0o777)
        self.assertEqual(findings()["Automatisations"]["verdict"], "limited")
        (self.folder / "bin" / "vennic-shortcuts").unlink()
        self.assertEqual(findings()["Automatisations"]["remedy"], "Réinstalle vennic-shortcuts à côté de vennic.")


if __name__ == "__main__":
    unittest.main()
