"""scripts/run as a person uses it, with the programs that were built already in place of a build."""
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from scene import PATIENCE, Scene as Whole, wait_for

ROOT = pathlib.Path(__file__).resolve().parents[2]
# "cmake --install TREE --prefix DIR" puts the built programs there; every other call has nothing left to do.
CMAKE = """#!/bin/sh
[ "$1" = --install ] || exit 0
mkdir -p "$4/bin" && cp "${VENNIC%/*}"/vennic* "$VENNIC_SERVER" "$4/bin/"
"""


class Scene(Whole):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vr-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        scripts = self.folder / "l'arbre" / "scripts"
        commands = self.folder / "bin"
        for place in (scripts, commands, self.folder / "home", self.folder / "mes papiers d'hier"):
            place.mkdir(parents=True)
        for name in ("run", "road"):
            shutil.copy(ROOT / "scripts" / name, scripts)
        for path, text in ((scripts / "install-deps", "#!/bin/sh\n"), (commands / "cmake", CMAKE)):
            path.write_text(text, encoding="ascii")
            path.chmod(0o755)
        self.shared = self.folder / "mes papiers d'hier"
        self.state = self.folder / "l'état d'ici"
        self.environment = {**os.environ, "HOME": str(self.folder / "home"), "PATH": f"{commands}:/usr/bin:/bin",
                            "LC_ALL": "C.UTF-8"}
        self.script = scripts / "run"

    def begin(self):
        """Starts it, and waits until it says that all runs."""
        output = open(self.folder / "output", "wb")
        self.addCleanup(output.close)
        self.process = subprocess.Popen([self.script, "--state", self.state, "--share", self.shared],
                                        env=self.environment, stdin=subprocess.DEVNULL, stdout=output,
                                        stderr=subprocess.STDOUT, start_new_session=True)
        self.addCleanup(self.end)
        wait_for(lambda: "Vennic tourne." in self.said() or self.process.poll() is not None, "it runs")
        self.assertIsNone(self.process.poll(), self.said())

    def end(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(PATIENCE)

    def said(self):
        return (self.folder / "output").read_text(encoding="utf-8")

    def child(self, program):
        """The process id of the one child that runs the program."""
        def runs():
            for entry in pathlib.Path("/proc").iterdir():
                try:
                    parent = int((entry / "stat").read_text().rsplit(")", 1)[1].split()[1])
                    if parent == self.process.pid and (entry / "exe").readlink().name == program:
                        return int(entry.name)
                except (OSError, ValueError, IndexError):
                    continue
            return None
        return wait_for(runs, f"{program} runs")

    def assert_gone(self, *processes):
        end = time.monotonic() + PATIENCE
        while any(pathlib.Path("/proc", str(each)).exists() for each in processes) and time.monotonic() < end:
            time.sleep(0.01)
        self.assertEqual([each for each in processes if pathlib.Path("/proc", str(each)).exists()], [])


class Run(Scene):
    def test_a_state_folder_with_a_quote_in_its_name_serves(self):
        self.begin()
        answer = subprocess.run([self.state / "vennic", "shares"], capture_output=True, text=True, check=False)
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        self.assertTrue(answer.stdout.endswith(f"  {self.shared}\n"), answer.stdout)
        # The commands that it proposes are ones that a shell takes.
        proposed = next(line for line in self.said().splitlines() if line.endswith(" status"))
        answer = subprocess.run(["bash", "-c", proposed], capture_output=True, text=True, check=False)
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))

    def test_a_client_that_dies_by_itself_is_a_failure_and_the_backend_ends_too(self):
        self.begin()
        client, backend = self.child("vennic"), self.child("vennic-server")
        os.kill(client, signal.SIGKILL)
        self.assertEqual(self.process.wait(PATIENCE), 1)
        self.assertIn("Le client s'est arrêté de lui-même (code 137).", self.said())
        self.assert_gone(client, backend)

    def test_a_backend_that_dies_by_itself_is_a_failure_and_the_client_ends_too(self):
        self.begin()
        client, backend = self.child("vennic"), self.child("vennic-server")
        os.kill(backend, signal.SIGKILL)
        self.assertEqual(self.process.wait(PATIENCE), 1)
        self.assertIn("Le serveur s'est arrêté de lui-même (code 137).", self.said())
        self.assert_gone(client, backend)

    def test_a_client_that_is_told_to_quit_ends_both_and_is_no_failure(self):
        self.begin()
        client, backend = self.child("vennic"), self.child("vennic-server")
        self.assertEqual(subprocess.run([self.state / "vennic", "quit"], check=False).returncode, 0)
        self.assertEqual(self.process.wait(PATIENCE), 0, self.said())
        self.assert_gone(client, backend)

    def test_an_interrupt_ends_both(self):
        self.begin()
        client, backend = self.child("vennic"), self.child("vennic-server")
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.process.wait(PATIENCE), 130)
        self.assert_gone(client, backend)


if __name__ == "__main__":
    unittest.main()
