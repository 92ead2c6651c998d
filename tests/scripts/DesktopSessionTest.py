import json
import os
import pathlib
import select
import signal
import subprocess
import sys
import tempfile
import unittest

SESSION = str(pathlib.Path(__file__).resolve().parents[2] / "scripts" / "desktop-session")

# Run inside a session: tells which processes and files the session has made.
REPORT = """
import json, os
def parent(pid):
    with open(f"/proc/{pid}/stat") as file:
        return int(file.read().rpartition(")")[2].split()[1])
inner = os.getppid()
while b"desktop-session" not in open(f"/proc/{inner}/cmdline", "rb").read().split(bytes(1))[1]:
    inner = parent(inner)
found = [int(n) for n in os.listdir("/proc") if n.isdigit()]
mine = [inner]
for pid in sorted(found):
    try:
        if parent(pid) in mine:
            mine.append(pid)
    except OSError:
        pass
print(json.dumps({"pids": [p for p in mine if p != os.getpid()], "folder": os.environ["VENNIC_SESSION"],
                  "display": os.environ.get("DISPLAY"), "environment": dict(os.environ)}), flush=True)
"""


def run(*arguments, **options):
    return subprocess.run([SESSION, *arguments], capture_output=True, text=True, timeout=100, check=False, **options)


def gone(pid, patience=20):
    """Waits for the end of any process, not only a child."""
    try:
        descriptor = os.pidfd_open(pid)
    except ProcessLookupError:
        return True
    try:
        return bool(select.select([descriptor], [], [], patience)[0])
    finally:
        os.close(descriptor)


class DesktopSessionTest(unittest.TestCase):
    def assertNoTrace(self, report):
        for pid in report["pids"]:
            self.assertTrue(gone(pid), f"process {pid} is still there")
        self.assertFalse(os.path.exists(report["folder"]), report["folder"])
        if report["display"]:
            # Another session may have taken the free number meanwhile; the lock tells whose it is.
            lock = pathlib.Path("/tmp/.X" + report["display"].lstrip(":") + "-lock")
            try:
                self.assertNotIn(int(lock.read_text(encoding="ascii")), report["pids"])
            except FileNotFoundError:
                pass

    def testTheStatusOfTheCommandIsPassedOn(self):
        for status in (0, 1, 7, 255):
            self.assertEqual(run("--only", "", "sh", "-c", f"exit {status}").returncode, status)
        self.assertEqual(run("--only", "", "sh", "-c", "kill -TERM $$").returncode, 128 + signal.SIGTERM)

    def testInputAndOutputAreTheCommandsOwn(self):
        done = run("--only", "bus", "sh", "-c", "cat; echo said >&2", input="heard")
        self.assertEqual((done.stdout, done.stderr), ("heard", "said\n"))

    def testACommandThatDoesNotExistIsToldFromOneThatFails(self):
        done = run("--only", "", "/nonexistent/program")
        self.assertEqual(done.returncode, 125)
        self.assertIn("/nonexistent/program", done.stderr)

    def testWrongUsageIsRefused(self):
        for arguments in ([], ["--only", "bus"], ["--only", "bas", "true"], ["--size", "wide", "true"], ["--what", "true"]):
            self.assertEqual(run(*arguments).returncode, 2, arguments)

    def testTheWholeSessionIsGoneWithoutATrace(self):
        done = run("/usr/bin/python3", "-c", REPORT)
        self.assertEqual(done.returncode, 0, done.stderr)
        report = json.loads(done.stdout)
        self.assertGreaterEqual(len(report["pids"]), 9)
        self.assertNoTrace(report)

    def testWhatTheCommandLeavesRunningIsEnded(self):
        # A daemon that left its parent and its process group, and that answers no polite request.
        program = """
import os, signal, time
reading, writing = os.pipe()
if os.fork() == 0:
    os.setsid()
    if os.fork() == 0:
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        for number in (0, 1, 2):
            os.close(number)
        os.open("/dev/null", os.O_RDWR)
        with open(os.environ["STRAGGLER"], "w") as file:
            file.write(str(os.getpid()))
        os.close(writing)
        time.sleep(600)
    os._exit(0)
os.wait()
os.close(writing)
os.read(reading, 1)  # until the daemon has said who it is
"""
        with tempfile.TemporaryDirectory() as folder:
            pipe = os.path.join(folder, "pid")
            os.mkfifo(pipe)
            with subprocess.Popen(
                [SESSION, "--only", "bus", sys.executable, "-c", program],
                env={**os.environ, "STRAGGLER": pipe},
            ) as session:
                with open(pipe, encoding="ascii") as file:
                    straggler = int(file.read())
                self.assertEqual(session.wait(60), 0)
            self.assertTrue(gone(straggler))

    def interrupted(self, number):
        with subprocess.Popen(
            [SESSION, "--only", "display,bus,keyring", "sh", "-c", f"/usr/bin/python3 -c '{REPORT}'; exec sleep 600"],
            stdout=subprocess.PIPE,
            text=True,
        ) as session:
            report = json.loads(session.stdout.readline())
            session.send_signal(number)
            status = session.wait(60)
        self.assertNoTrace(report)
        return status

    def testASessionThatIsEndedEndsEverything(self):
        self.assertEqual(self.interrupted(signal.SIGTERM), 128 + signal.SIGTERM)

    def testASessionThatIsKilledStillClearsUp(self):
        self.assertEqual(self.interrupted(signal.SIGKILL), -signal.SIGKILL)

    def testTheKeyringTakesAndGivesSecrets(self):
        script = """
            printf 'très secret' | secret-tool store --label=essai service vennic account essai
            secret-tool lookup service vennic account essai
        """
        done = run("--only", "keyring", "sh", "-ec", script)
        self.assertEqual((done.returncode, done.stdout), (0, "très secret"), done.stderr)

    def testPolkitRefusesUntilItIsToldToAllow(self):
        script = """
            call() { gdbus call --system --dest org.freedesktop.PolicyKit1 \
                --object-path /org/freedesktop/PolicyKit1/Authority --method "$@"; }
            check() { call org.freedesktop.PolicyKit1.Authority.CheckAuthorization \
                "('unix-process', {'pid': <uint32 $$>, 'start-time': <uint64 1>})" com.vennic.desktop.read-token '{}' 1 ''; }
            check
            call org.freedesktop.DBus.Mock.SetAllowed "['com.vennic.desktop.read-token']" >/dev/null
            check
        """
        done = run("--only", "polkit", "sh", "-ec", script)
        self.assertEqual(done.returncode, 0, done.stderr)
        before, after = done.stdout.splitlines()
        self.assertTrue(before.startswith("((false, false"), before)
        self.assertTrue(after.startswith("((true, false"), after)

    def testTheScreenHasTheSizeAskedForAndAWindowManager(self):
        done = run("--only", "wm", "--size", "1024x700", "sh", "-ec", "xwininfo -root; xprop -root _NET_SUPPORTING_WM_CHECK")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"Width: 1024\n\s*Height: 700")
        self.assertIn("window id", done.stdout)

    def testThePanelOwnsTheStatusIconWatcher(self):
        call = "gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus"
        done = run("--only", "panel", *call.split(), "--method", "org.freedesktop.DBus.NameHasOwner", "org.kde.StatusNotifierWatcher")
        self.assertEqual((done.returncode, done.stdout), (0, "(true,)\n"), done.stderr)

    def testTheSoundServerHasASpeakerAndAMicrophone(self):
        done = run("--only", "sound", "sh", "-ec", "pactl get-default-sink; pactl get-default-source")
        self.assertEqual((done.returncode, done.stdout), (0, "speaker\nmic\n"), done.stderr)

    def testTwoSessionsAtOnceDoNotMeet(self):
        def begin():
            return subprocess.Popen(
                [SESSION, "--only", "display,keyring,polkit", "sh", "-c", f"/usr/bin/python3 -c '{REPORT}'; read -r go"],
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                text=True,
            )

        with begin() as one, begin() as other:
            first, second = (json.loads(session.stdout.readline()) for session in (one, other))
            for session in (one, other):
                session.stdin.write("\n")
                session.stdin.close()
                self.assertEqual(session.wait(60), 0)
        self.assertNotEqual(first["display"], second["display"])
        for name in ("HOME", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"):
            self.assertNotEqual(first["environment"][name], second["environment"][name])
        self.assertNoTrace(first)
        self.assertNoTrace(second)

    def testALeftOutPartIsNotLookedForOnTheMachine(self):
        foreign = {"DISPLAY": ":77", "WAYLAND_DISPLAY": "w", "XDG_CONFIG_DIRS": "/x", "PULSE_SERVER": "unix:/x", "DBUS_SESSION_BUS_ADDRESS": "unix:path=/x"}
        done = run("--without", "display,bus,system,sound", "/usr/bin/python3", "-c", REPORT, env={**os.environ, **foreign})
        self.assertEqual(done.returncode, 0, done.stderr)
        report = json.loads(done.stdout)
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "XDG_CONFIG_DIRS", "PULSE_SERVER"):
            self.assertNotIn(name, report["environment"])
        for name in ("DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"):
            self.assertTrue(report["environment"][name].startswith("unix:path=" + report["folder"]))
        self.assertEqual(len(report["pids"]), 1, "what needs a part that was left out has been started")

    def testAPartThatDoesNotComeUpIsNamed(self):
        with tempfile.TemporaryDirectory() as folder:
            broken = os.path.join(folder, "openbox")
            with open(broken, "w", encoding="ascii") as file:
                file.write("#!/bin/sh\necho no window today\nexit 3\n")
            os.chmod(broken, 0o755)
            done = run("--only", "wm", "true", env={**os.environ, "PATH": folder + ":" + os.environ["PATH"]})
        self.assertEqual(done.returncode, 125)
        self.assertIn("wm ended with status 3: no window today", done.stderr)


if __name__ == "__main__":
    unittest.main()
