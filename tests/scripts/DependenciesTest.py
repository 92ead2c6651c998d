import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = str(ROOT / "scripts" / "install-deps")
GROUPS = {"Compiler": "build", "Faire tourner": "run", "Tester": "test", "Comparer": "bench"}


def run(*arguments, **options):
    return subprocess.run([SCRIPT, *arguments], capture_output=True, text=True, timeout=60, check=False, **options)


def listed():
    """Group, package and reason of each line of the script's list."""
    return [tuple(line.split("\t")) for line in run("--list").stdout.splitlines()]


class Machine:
    """A made-up machine on which some packages are installed, and whose apt-get and sudo write down how they are called."""

    def __init__(self, folder, installed, user, apt="exit 0"):
        self.log = pathlib.Path(folder, "log")
        self.log.touch()
        lines = "\n".join(["ii  " + name for name in installed] + ["rc  removed-but-configured"])
        self.tool(folder, "dpkg-query", f"cat <<'END'\n{lines}\nEND\n")
        self.tool(folder, "apt-get", f'printf "apt-get %s\\n" "$*" >>"{self.log}"\n{apt}\n')
        if user == "sudoer":
            self.tool(folder, "sudo", f'printf "sudo " >>"{self.log}"\nexec "$@"\n')
        for name in ("bash", "env", "awk", "grep", "cat"):
            os.symlink(f"/usr/bin/{name}", os.path.join(folder, name))
        # EUID cannot be set in bash, so the copy reads who it is from a variable.
        self.script = pathlib.Path(folder, "install-deps")
        text = pathlib.Path(SCRIPT).read_text(encoding="utf-8")
        assert text.count("EUID") == 1
        self.script.write_text(text.replace("EUID", "0" if user == "root" else "1000"), encoding="utf-8")
        self.path = folder

    @staticmethod
    def tool(folder, name, body):
        path = pathlib.Path(folder, name)
        path.write_text("#!/bin/sh\n" + body, encoding="utf-8")
        path.chmod(0o755)

    def run(self, *arguments):
        done = subprocess.run(
            ["/usr/bin/bash", str(self.script), *arguments], capture_output=True, text=True, timeout=60, check=False, env={"PATH": self.path}
        )
        return done, self.log.read_text(encoding="utf-8").splitlines()


class DependenciesTest(unittest.TestCase):
    def machine(self, **options):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return Machine(folder.name, **options)

    def packages(self, *groups):
        return [package for group, package, _ in listed() if group in groups]

    def testTheReadmeNamesTheSamePackagesInTheSameGroups(self):
        readme = (ROOT / "README.md").read_text(encoding="utf-8")
        section = readme.split("\n## Dépendances\n")[1].split("\n## ")[0]
        group, told = None, []
        for line in section.splitlines():
            heading = next((name for name in GROUPS if line.startswith(name + " ")), None)
            group = GROUPS[heading] if heading else group
            if row := re.match(r"\| `([^`]+)` \| (.+) \|$", line):
                told.append((group, row.group(1)))
        self.assertEqual(sorted(told), sorted((group, package) for group, package, _ in listed()))

    def testEveryPackageHasOneReasonAndOneGroup(self):
        rows = listed()
        self.assertGreater(len(rows), 40)
        self.assertEqual(len({package for _, package, _ in rows}), len(rows))
        for row in rows:
            self.assertEqual(len(row), 3, row)
            self.assertRegex(row[1], r"^[a-z0-9][a-z0-9+.-]+$")
            self.assertGreater(len(row[2]), 5, row)

    def testNothingMissingNeedsNoRootAndNoApt(self):
        machine = self.machine(installed=self.packages("build", "run", "test"), user="nobody")
        done, calls = machine.run()
        self.assertEqual((done.returncode, calls), (0, []))
        self.assertIn("nothing is missing", done.stdout)

    def testRootInstallsWhatIsMissingAndNothingElse(self):
        present = self.packages("build", "run", "test")
        present.remove("mold")
        present.remove("strace")
        done, calls = self.machine(installed=present, user="root").run()
        self.assertEqual(done.returncode, 0, done.stderr)
        options = "apt-get -y -o DPkg::Lock::Timeout=900"
        self.assertEqual(calls, [f"{options} update", f"{options} install --no-install-recommends mold strace"])
        self.assertIn("missing: mold strace", done.stdout)

    def testAUserInstallsThroughSudo(self):
        done, calls = self.machine(installed=self.packages("build", "run")[1:], user="sudoer").run("--no-tests")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([call.split()[0] for call in calls], ["sudo", "sudo"])
        self.assertTrue(calls[1].endswith("install --no-install-recommends clang-19"), calls)

    def testAUserWithoutSudoIsToldWhatRootHasToRun(self):
        done, calls = self.machine(installed=[], user="nobody").run("--run-only")
        self.assertEqual((done.returncode, calls), (1, []))
        self.assertIn("apt-get install --no-install-recommends " + " ".join(self.packages("run")), done.stderr)

    def testTheGroupsAreChosenByOption(self):
        for option, groups in (("--run-only", ["run"]), ("--no-tests", ["build", "run"]), ("--benches", ["build", "run", "test", "bench"])):
            done, calls = self.machine(installed=[], user="root").run(option, "--check")
            self.assertEqual((done.returncode, calls), (1, []))
            self.assertEqual(done.stdout.strip().removeprefix("install-deps: missing: ").split(), self.packages(*groups))

    def testAFailureOfAptIsAFailure(self):
        done, calls = self.machine(installed=[], user="root", apt="exit 100").run()
        self.assertEqual((done.returncode, len(calls)), (100, 1))

    def testWrongUsageIsRefused(self):
        self.assertEqual(run("--everything").returncode, 2)
        self.assertEqual(run("--help").returncode, 0)


if __name__ == "__main__":
    unittest.main()
