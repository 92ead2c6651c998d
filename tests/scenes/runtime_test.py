"""The server of the local model, installed from the command line: with commands that play their part, and under a real
service manager where the machine can run one."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import time
import unittest

from scene import Scene, wait_for

SITE = "https://paquets.example"
UNIT = "com.vennic.local-llm.service"
MODEL = "org/Un-Modele-MLX-4bit"
LAST = ["▶︎ écriture du LaunchAgent", "▶︎ (re)chargement du LaunchAgent"]
DONE = "✓ Installation terminée. Le serveur démarre en arrière-plan."
# Where the installer looks before it looks into the home folder of the scene.
OF_THE_MACHINE = [f"{folder}/{name}" for name in ("brew", "uv")
                  for folder in ("/opt/homebrew/bin", "/usr/local/bin", "/home/linuxbrew/.linuxbrew/bin")] + ["/usr/bin/uv"]

BREW = """echo "brew $*" >> "$HOME/calls"
echo '==> Pouring uv'
cp "$HOME/uv" "$HOME/.linuxbrew/bin/uv"
"""
UV = """echo "uv $*" >> "$HOME/calls"
if [ "$2" = install ]; then
    echo "Resolved 30 packages" >&2
    mkdir -p "$UV_TOOL_BIN_DIR"
    cp "$HOME/server" "$UV_TOOL_BIN_DIR/mlx_lm.server"
else
    echo "$HF_HUB_CACHE"
fi
"""
SYSTEMCTL = """echo "systemctl $*" >> "$HOME/calls"
[ "$2" != stop ] || { echo 'Unit not loaded.' >&2; exit 5; }
"""
# Says what it was given, and ends as it is told to.
SERVER = """import os, pathlib, signal, sys, time
home = pathlib.Path(os.environ["HOME"])
print("start", os.getpid(), *sys.argv[1:], os.environ["HF_HUB_CACHE"], flush=True)
while not (home / "end").exists():
    time.sleep(0.02)
sys.exit(int((home / "end").read_text()))
"""


@unittest.skipIf(any(map(os.path.exists, OF_THE_MACHINE)), "this machine has Homebrew or uv, which would be used")
class Machine(Scene):
    """A home folder with Homebrew in it, whose programs play their part and keep how they were called."""

    def setUp(self):
        super().setUp()
        self.home = self.folder / "Éva & 100 %h $HOME"
        self.home.mkdir()
        tools = self.folder / "tools"
        tools.mkdir()
        self.client.environment |= {"HOME": str(self.home), "PATH": f"{tools}:/usr/bin:/bin"}
        self.unit = self.home / ".config/systemd/user" / UNIT
        self.script(tools / "systemctl", SYSTEMCTL)
        self.script(self.home / ".linuxbrew/bin/brew", BREW)
        self.script(self.home / "uv", UV)
        self.script(self.home / "server", SERVER, "/usr/bin/python3")
        settings = {"backend_url": "https://localhost", "backend_domain": "localhost", "api_host": "localhost",
                    "pairing_page": "https://localhost/pair", "package_manager_site": SITE}
        (self.resources / "deployment.json").write_text(json.dumps(settings), encoding="utf-8")

    @staticmethod
    def script(path, text, interpreter="/bin/sh"):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(f"#!{interpreter}\n{text}", encoding="utf-8")
        path.chmod(0o755)

    def calls(self):
        calls = self.home / "calls"
        return calls.read_text().splitlines() if calls.exists() else []

    def model(self, *words):
        return self.client.verb("model", *words)

    @staticmethod
    def lives(pid):
        try:
            return ") Z " not in pathlib.Path(f"/proc/{pid}/stat").read_text()
        except OSError:
            return False


class Runtime(Machine):
    def loading(self):
        """What the service manager is asked for."""
        return [f"systemctl --user {words}" for words in
                (f"stop {UNIT}", "daemon-reload", f"enable --now {self.unit}", f"restart {UNIT}")]

    def test_a_bare_machine_gets_a_server_and_a_second_installation_no_package(self):
        answer = self.model("install")
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        self.assertEqual(answer.stdout.splitlines(), [
            "▶︎ brew install uv", "==> Pouring uv", "▶︎ uv tool install --python 3.11 mlx-lm", "Resolved 30 packages",
            *LAST, "Unit not loaded.", DONE])
        packages = ["brew install uv", "uv tool install --python 3.11 mlx-lm[cpu]"]
        self.assertEqual(self.calls(), packages + self.loading())
        unit = self.unit.read_text(encoding="utf-8")
        self.assertIn(f'ExecStart=:"{str(self.home).replace("%", "%%")}/.local/bin/mlx_lm.server" "--host" "127.0.0.1"', unit)
        self.assertTrue((self.home / ".vennic-local-llm").is_dir())

        self.unit.write_text("older", encoding="utf-8")
        again = self.model("install", "--json")
        self.assertEqual(again.returncode, 0)
        self.assertEqual(again.stderr.splitlines(), [
            "✓ uv déjà présent", "✓ mlx-lm déjà installé", *LAST, "Unit not loaded.", DONE])
        self.assertEqual(self.calls(), packages + 2 * self.loading())
        self.assertEqual(self.unit.read_text(encoding="utf-8"), unit)
        self.assertEqual([component["installed"] for component in json.loads(again.stdout)["components"]], [True] * 4)

    def test_what_is_there_is_told(self):
        answer = self.model("detect")
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        self.assertEqual(answer.stdout.splitlines(), [
            f"✓ Homebrew : {self.home}/.linuxbrew/bin/brew", "✗ uv : absent", "✗ mlx-lm : absent", "✗ LaunchAgent : absent"])
        self.assertEqual(json.loads(self.model("detect", "--json").stdout)["components"][0], {
            "id": "brew", "label": "Homebrew", "installed": True, "detail": f"{self.home}/.linuxbrew/bin/brew"})
        self.assertEqual(self.calls(), [])

    def test_without_homebrew_nothing_is_installed_but_models_are_downloaded(self):
        shutil.rmtree(self.home / ".linuxbrew")
        needed = f"Homebrew est requis. Installe-le depuis {SITE} puis relance.\n"
        for words in (("install",), ("download", MODEL)):
            answer = self.model(*words)
            self.assertEqual((answer.returncode, answer.stdout, answer.stderr), (1, "", needed))
        self.assertFalse(self.unit.exists())
        (self.home / ".local/bin").mkdir(parents=True)
        shutil.copy(self.home / "uv", self.home / ".local/bin/uv")
        self.assertEqual(self.model("install").stderr, needed)
        answer = self.model("download", MODEL)
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        self.assertEqual(answer.stdout.splitlines(), [
            f"▶︎ Téléchargement du modèle {MODEL}", f"{self.home}/.cache/huggingface/hub", f"✓ Modèle {MODEL} téléchargé."])
        self.assertEqual(self.calls(), [
            f"uv tool run --from mlx-lm[cpu] mlx_lm.generate --model {MODEL} --prompt hi --max-tokens 1"])

    def test_a_step_that_fails_is_told_and_the_next_installation_goes_on_from_there(self):
        self.script(self.home / "uv", "echo 'pas de réseau' >&2\nexit 3\n")
        answer = self.model("install")
        self.assertEqual(answer.returncode, 1)
        self.assertEqual(answer.stdout.splitlines()[-1], "pas de réseau")
        self.assertEqual(answer.stderr,
                         f"Échec (3) : {self.home}/.linuxbrew/bin/uv tool install --python 3.11 mlx-lm[cpu]\n")
        self.assertFalse(self.unit.exists())
        self.script(self.home / ".linuxbrew/bin/uv", UV)
        self.assertEqual(self.model("install").stdout.splitlines()[0], "✓ uv déjà présent")

    def test_a_manager_that_does_not_take_the_service_is_told(self):
        self.script(self.folder / "tools/systemctl", "[ \"$2\" != enable ] || { echo non >&2; exit 1; }\n")
        answer = self.model("install")
        self.assertEqual(answer.returncode, 1)
        self.assertEqual(answer.stderr, f"Échec (1) : {self.folder}/tools/systemctl --user enable --now {self.unit}\n")
        self.assertTrue(self.unit.exists())

    def test_a_home_that_systemd_cannot_be_told_is_refused_before_anything_is_written(self):
        odd = self.folder / "o'brien"
        shutil.copytree(self.home, odd)
        self.client.environment["HOME"] = str(odd)
        answer = self.model("install")
        self.assertEqual(answer.returncode, 1)
        self.assertIn("apostrophe", answer.stderr)
        self.assertFalse((odd / ".config").exists())

    def test_output_of_any_kind_is_shown_as_far_as_it_is_text(self):
        self.script(self.home / ".linuxbrew/bin/brew", BREW + """printf 'sans fin de ligne'; sleep 0.2
printf 'mauvais \\377\\n'; sleep 0.2
printf '10%%\\r100%%\\n\\n\\n'; sleep 0.2
head -c 30000000 /dev/zero | tr '\\0' x; sleep 0.2
echo; echo fini
""")
        answer = self.model("install")
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        lines = answer.stdout.splitlines()
        self.assertEqual(sum(line.count("x") for line in lines if set(line) == {"x"}), 30000000)
        self.assertEqual([line for line in lines if set(line) != {"x"}][:6], [
            "▶︎ brew install uv", "==> Pouring uv", "sans fin de ligne", "100%", "fini",
            "▶︎ uv tool install --python 3.11 mlx-lm"])

    def test_an_interrupted_installation_ends_what_it_started(self):
        self.script(self.home / ".linuxbrew/bin/brew",
                    "sleep 1000 &\necho $$ $! > \"$HOME/pids.new\"; mv \"$HOME/pids.new\" \"$HOME/pids\"\necho va; wait\n")
        process = subprocess.Popen([self.client.program, "model", "install"], env=self.client.environment, text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.kill)
        pids = self.home / "pids"
        wait_for(pids.exists, "the command runs")
        running = [int(pid) for pid in pids.read_text().split()]
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=30)
        self.assertEqual((process.returncode, errors), (1, "Interrompu.\n"))
        for pid in running:
            wait_for(lambda: not self.lives(pid), "the command has ended")
        self.assertFalse(self.unit.exists())


def can_supervise():
    """Whether a service manager of the scene's own can run here."""
    return (os.geteuid() == 0 and os.path.exists("/lib/systemd/systemd") and os.path.exists("/usr/bin/systemctl") and
            subprocess.run(["unshare", "-m", "-C", "sh", "-c", "mount --make-rprivate / && umount -R /sys/fs/cgroup && "
                            "mount -t cgroup2 none /sys/fs/cgroup && mount -t tmpfs tmpfs /run/systemd"],
                           capture_output=True, check=False).returncode == 0)


class Supervised(Machine):
    """The same under a real service manager."""

    def setUp(self):
        if not can_supervise():
            self.skipTest("no service manager can run here")
        super().setUp()
        (self.folder / "tools/systemctl").unlink()
        self.home.joinpath(".config/systemd/user").mkdir(parents=True)
        environment = {name: value for name, value in self.client.environment.items() if not name.startswith("DBUS")}
        for name in ("XDG_DATA_HOME", "XDG_CACHE_HOME"):
            del environment[name]
        self.manager = subprocess.Popen(
            ["unshare", "-m", "-C", "bash", pathlib.Path(__file__).with_name("user_manager.sh").resolve()], env=environment,
            stdout=subprocess.DEVNULL, stderr=open(self.folder / "manager.log", "wb"))
        self.addCleanup(self.manager.wait, 60)
        self.addCleanup(self.manager.terminate)
        wait_for((self.folder / "run/systemd/private").exists, "the service manager listens")
        self.log = self.home / ".vennic-local-llm/server.log"

    def systemctl(self, *words):
        return subprocess.run(["systemctl", "--user", *words], env=self.client.environment, capture_output=True, text=True,
                              check=False).stdout.strip()

    def started(self):
        """The process ids of the servers that were started so far."""
        lines = self.log.read_text().splitlines() if self.log.exists() else []
        return [int(line.split()[1]) for line in lines if line.startswith("start ")]

    def install(self):
        before = len(self.started())
        answer = self.model("install")
        self.assertEqual((answer.returncode, answer.stderr), (0, ""), answer.stdout)
        self.assertEqual(answer.stdout.splitlines()[-1], DONE)
        wait_for(lambda: len(self.started()) > before and self.lives(self.started()[-1]) and
                 self.systemctl("show", "-p", "MainPID", "--value", UNIT) == str(self.started()[-1]), "the server runs")

    def test_the_server_runs_as_it_was_written_and_once_more_after_a_second_installation(self):
        self.install()
        self.assertEqual(self.systemctl("is-enabled", UNIT), "enabled")
        start = f"start {self.started()[-1]} --host 127.0.0.1 --port 8080 {self.home}/.cache/huggingface/hub"
        self.assertEqual(self.log.read_text().splitlines()[-1], start)
        self.assertEqual(self.log.stat().st_mode & 0o777, 0o600)
        first = self.started()
        self.install()
        self.assertFalse(self.lives(first[-1]))
        self.assertEqual(self.started()[:len(first)], first)  # the log is appended to

    def test_a_crash_is_followed_by_a_start_ten_seconds_later_and_a_clean_end_by_none(self):
        self.install()
        first = self.started()
        at = time.monotonic()
        os.kill(first[-1], signal.SIGKILL)
        wait_for(lambda: len(self.started()) > len(first), "the server is started again")
        self.assertGreater(time.monotonic() - at, 9)
        (self.home / "end").write_text("0")
        wait_for(lambda: self.systemctl("is-active", UNIT) == "inactive", "the server has ended")
        self.assertEqual(self.systemctl("show", "-p", "Result", "--value", UNIT), "success")

    def test_an_end_by_a_failure_is_followed_by_a_start(self):
        self.install()
        (self.home / "end").write_text("1")
        wait_for(lambda: self.systemctl("show", "-p", "SubState", "--value", UNIT) == "auto-restart", "a start is due")
        self.assertEqual(self.systemctl("show", "-p", "RestartUSec", "--value", UNIT), "10s")

    def test_a_server_that_cannot_be_started_fails_the_installation(self):
        self.script(self.home / "server", "", "/absent/python")
        answer = self.model("install")
        self.assertEqual(answer.returncode, 1)
        self.assertEqual(answer.stderr, f"Échec (1) : /usr/bin/systemctl --user enable --now {self.unit}\n")


if __name__ == "__main__":
    unittest.main()
