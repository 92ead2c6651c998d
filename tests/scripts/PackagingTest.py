import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "packaging"
VERBS = {"status", "pair", "token", "sign-out", "share", "shares", "unshare", "bridge", "search", "ask", "open", "photos", "model", "doctor", "quit"}
SERVER_OPTIONS = {"--data", "--listen", "--host", "--ready-file", "--owner-email", "--task-timeout", "--help", "--version"}


def complete(program, *words, folder="/", path=None):
    """What bash offers for the last word, sorted."""
    function = "_" + program.replace("-", "_")
    script = f'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); {function}; printf "%s\\n" "${{COMPREPLY[@]}}"'
    done = subprocess.run(
        ["bash", "-c", script, "bash", str(PACKAGING / "completions" / "vennic"), program, *words],
        capture_output=True, text=True, check=True, cwd=folder, env={**os.environ, **({"PATH": path} if path else {})},
    )
    assert not done.stderr, done.stderr
    return sorted(done.stdout.split("\n")[:-1]) if done.stdout.strip() else []


def manual(name):
    """The page as a reader sees it, without a single warning."""
    # Without a page length groff needs no page breaks, which would cut sentences apart.
    done = subprocess.run(
        ["groff", "-man", "-Tutf8", "-k", "-ww", "-b", "-P-cbou", "-rLL=100n", str(PACKAGING / "man" / name)],
        capture_output=True, text=True, check=True, env={**os.environ, "LC_ALL": "C.UTF-8"},
    )
    assert not done.stderr, done.stderr
    return done.stdout


class PackagingTest(unittest.TestCase):
    def testTheManualPagesRenderWithoutWarningsAndNameEverything(self):
        page = manual("vennic.1")
        verbs = set(re.findall(r"^ {7}([a-z-]+)(?= |$)", page.split("\nVERBES\n")[1].split("\nOPTIONS\n")[0], re.MULTILINE))
        self.assertEqual(verbs, VERBS)
        status = page.split("\nSTATUT DE SORTIE\n")[1].split("\nENVIRONNEMENT\n")[0]
        self.assertEqual(re.findall(r"^ {7}(\d)\b", status, re.MULTILINE), ["0", "1", "2", "3"])
        page = manual("vennic-server.1")
        options = set(re.findall(r"^ {7}(--[a-z-]+)", page.split("\nOPTIONS\n")[1].split("\nSTATUT DE SORTIE\n")[0], re.MULTILINE))
        self.assertEqual(options, SERVER_OPTIONS)

    def testTheManualPageOfTheAutomationsNamesEverything(self):
        page = manual("vennic-shortcuts.1")
        verbs = page.split("\nVERBES\n")[1].split("\nOPTIONS\n")[0]
        self.assertEqual(re.findall(r"^ {7}([a-z]+)\s", verbs, re.MULTILINE), ["list", "run"])
        status = page.split("\nSTATUT DE SORTIE\n")[1].split("\nENVIRONNEMENT\n")[0]
        self.assertEqual(re.findall(r"^ {7}(\d+)\b", status, re.MULTILINE), ["0", "1", "2", "126", "127"])

    def testBashOffersTheAutomationsAsTheyAreNamed(self):
        self.assertEqual(complete("vennic-shortcuts", ""), ["--help", "--version", "list", "run"])
        with tempfile.TemporaryDirectory() as folder:
            tool = pathlib.Path(folder, "vennic-shortcuts")
            path = folder + ":/usr/bin:/bin"
            tool.write_text("#!/bin/sh\n[ \"$*\" = list ] && printf 'Éteindre\\nA b\\n$(x) *\\n'\n", encoding="utf-8")
            tool.chmod(0o755)
            self.assertEqual(complete("vennic-shortcuts", "run", "", path=path), ["$(x) *", "A b", "Éteindre"])
            self.assertEqual(complete("vennic-shortcuts", "run", "A", path=path), ["A b"])
            self.assertEqual(complete("vennic-shortcuts", "run", "x", "", path=path), [])
            self.assertEqual(complete("vennic-shortcuts", "list", "", path=path), [])
            tool.write_text("#!/bin/sh\necho 'Le dossier ne peut pas être lu' >&2\nexit 1\n", encoding="utf-8")
            self.assertEqual(complete("vennic-shortcuts", "run", "", path=path), [])

    def testBashOffersTheVerbs(self):
        self.assertEqual(set(complete("vennic", "")), VERBS | {"--help", "--version"})
        self.assertEqual(complete("vennic", "sh"), ["share", "shares"])
        self.assertEqual(complete("vennic", "zz"), [])

    def testBashOffersTheOptionsOfAVerb(self):
        for verb in VERBS:
            offered = set(complete("vennic", verb, "-"))
            json = {"--json"} if verb in ("status", "shares", "search", "ask", "photos", "model", "doctor") else set()
            self.assertEqual(offered, {"--help"} | json | ({"--local"} if verb == "ask" else set()), verb)
        self.assertEqual(complete("vennic", "bridge", "o"), ["off", "on"])
        self.assertEqual(complete("vennic", "photos", ""), ["allow", "deny", "status"])
        self.assertEqual(set(complete("vennic-server", "--")), SERVER_OPTIONS)
        self.assertEqual(complete("vennic-server", "--listen", ""), [])

    def testBashOffersFoldersToShare(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("Mes documents", "Éclairs"):
                os.mkdir(os.path.join(folder, name))
            pathlib.Path(folder, "fichier.txt").touch()
            self.assertEqual(complete("vennic", "share", "", folder=folder), ["Mes documents", "Éclairs"])
            self.assertEqual(complete("vennic", "share", "a", "M", folder=folder), ["Mes documents"])
            self.assertEqual(complete("vennic-server", "--data", "", folder=folder), ["Mes documents", "Éclairs"])

    def testBashOffersTheSharesOfTheRunningClient(self):
        with tempfile.TemporaryDirectory() as folder:
            client = pathlib.Path(folder, "vennic")
            path = folder + ":/usr/bin:/bin"
            shares = '[{"id": "0B7A9D1C-52D4-4B3E-9A60-2C1D0E6F7A8B", "name": "a-bcdefghi"}]'
            client.write_text(f"#!/bin/sh\n[ \"$*\" = 'shares --json' ] && echo '{shares}'\n", encoding="utf-8")
            client.chmod(0o755)
            self.assertEqual(complete("vennic", "unshare", "", path=path), ["0B7A9D1C-52D4-4B3E-9A60-2C1D0E6F7A8B"])
            client.write_text("#!/bin/sh\necho 'Vennic ne tourne pas' >&2\nexit 3\n", encoding="utf-8")
            self.assertEqual(complete("vennic", "unshare", "", path=path), [])

    def testThePolkitActionAsksThePersonThemself(self):
        action = xml.etree.ElementTree.parse(PACKAGING / "polkit" / "com.vennic.desktop.policy").getroot().find("action")
        self.assertEqual(action.get("id"), "com.vennic.desktop.read-token")
        self.assertEqual(action.findtext("message"), "Authentifie-toi pour accéder à Vennic")
        defaults = {rule.tag: rule.text for rule in action.find("defaults")}
        self.assertEqual(defaults, {"allow_any": "auth_self", "allow_inactive": "auth_self", "allow_active": "auth_self"})


if __name__ == "__main__":
    unittest.main()
