import configparser
import os
import pathlib
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGING = ROOT / "packaging"
VERBS = {"status", "pair", "token", "sign-out", "share", "shares", "unshare", "bridge", "search", "ask", "open",
         "toggle", "photos", "model", "autostart", "doctor", "quit"}
SERVER_OPTIONS = {"--data", "--listen", "--host", "--ready-file", "--owner-email", "--task-timeout",
                  "--model-url", "--model", "--model-key-file", "--model-on-machine", "--help", "--version"}


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


# What an installation holds, below its prefix; {lib} is the folder of libraries.
INSTALLED = """
bin/vennic
bin/vennic-dialog
bin/vennic-picture-worker
bin/vennic-server
bin/vennic-shortcuts
bin/vennic-worker
{lib}/vennic/vennic-screen.so
share/applications/com.vennic.desktop.desktop
share/bash-completion/completions/vennic
share/bash-completion/completions/vennic-server
share/bash-completion/completions/vennic-shortcuts
share/dbus-1/services/com.vennic.desktop.service
share/doc/vennic/copyright
share/fish/vendor_completions.d/vennic-shortcuts.fish
share/fish/vendor_completions.d/vennic.fish
share/icons/hicolor/scalable/apps/com.vennic.desktop.svg
share/icons/hicolor/symbolic/apps/com.vennic.desktop-symbolic.svg
share/man/man1/vennic-dialog.1
share/man/man1/vennic-picture-worker.1
share/man/man1/vennic-server.1
share/man/man1/vennic-shortcuts.1
share/man/man1/vennic-worker.1
share/man/man1/vennic.1
share/metainfo/com.vennic.desktop.metainfo.xml
share/polkit-1/actions/com.vennic.desktop.policy
share/systemd/user/vennic.service
share/vennic/VennicStatusIcon.svg
share/zsh/site-functions/_vennic
share/zsh/site-functions/_vennic-shortcuts
"""


def check(*command, **options):
    """What a checker says, with its exit status."""
    done = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False, **options)
    return done.returncode, done.stdout + done.stderr


def entry(text):
    """A desktop entry, or a file of the same kind."""
    reader = configparser.RawConfigParser(delimiters="=", comment_prefixes="#", strict=True)
    reader.optionxform = str
    reader.read_string(text)
    return reader


def installed(prefix):
    """Runs the installation of this build, with links in place of copies, and names what came."""
    build = os.environ["VENNIC_BUILD"]
    subprocess.run(["cmake", "--install", build, "--prefix", prefix], check=True, capture_output=True, timeout=100,
                   env={**os.environ, "CMAKE_INSTALL_MODE": "ABS_SYMLINK", "DESTDIR": ""})
    return {str(path.relative_to(prefix)) for path in pathlib.Path(prefix).rglob("*") if not path.is_dir()}


class PackagingTest(unittest.TestCase):
    def testTheDesktopEntryIsValidAndTakesLinks(self):
        file = PACKAGING / "com.vennic.desktop.desktop"
        self.assertEqual(check("desktop-file-validate", str(file)), (0, ""))
        content = entry(file.read_text(encoding="utf-8"))
        main = content["Desktop Entry"]
        # For a desktop that doesn't take the road over the bus: a link that leads to the settings.
        self.assertEqual(content["Desktop Action settings"]["Exec"], "vennic vennic://local/setup")
        self.assertEqual(main["MimeType"], "x-scheme-handler/vennic;")
        self.assertEqual(main["DBusActivatable"], "true")
        self.assertEqual(main["Exec"], "vennic %U")
        self.assertTrue((PACKAGING / "icons" / (main["Icon"] + ".svg")).exists())

    def testTheMetadataIsValidAndLeadsToTheDesktopEntry(self):
        file = PACKAGING / "com.vennic.desktop.metainfo.xml"
        status, said = check("appstreamcli", "validate", "--no-net", "--no-color", str(file))
        self.assertEqual(status, 0, said)
        self.assertNotRegex(said, r"(?m)^[EW]: ")
        component = xml.etree.ElementTree.parse(file).getroot()
        self.assertEqual(component.findtext("id"), "com.vennic.desktop")
        self.assertEqual(component.findtext("launchable"), "com.vennic.desktop.desktop")
        self.assertEqual(component.findtext("project_license"), "GPL-3.0-or-later")
        main = entry((PACKAGING / "com.vennic.desktop.desktop").read_text(encoding="utf-8"))["Desktop Entry"]
        self.assertEqual([kind.text for kind in component.iter("mediatype")], main["MimeType"].rstrip(";").split(";"))

    def testTheUserUnitIsAcceptedBySystemd(self):
        unit = (PACKAGING / "systemd" / "vennic.service.in").read_text(encoding="utf-8")
        with tempfile.TemporaryDirectory() as folder:
            for program, good in (("/bin/true", True), ("/nowhere/vennic", False)):
                file = pathlib.Path(folder, "vennic.service")
                file.write_text(unit.replace("@program@", program), encoding="utf-8")
                status, said = check("systemd-analyze", "verify", "--user", "--man=no", str(file),
                                     env={**os.environ, "XDG_RUNTIME_DIR": folder})
                self.assertEqual(status == 0, good, said)
                if good:
                    self.assertNotIn("vennic.service", said)

    def testTheApplicationIconHasTheAccentOfTheWindowsAlone(self):
        theme = (ROOT / "src" / "ui" / "Theme.qml").read_text(encoding="utf-8")
        accent = re.search(r'color accentFill: dark \? "#[0-9a-f]+" : "(#[0-9a-f]+)"', theme).group(1)
        icon = xml.etree.ElementTree.parse(PACKAGING / "icons" / "com.vennic.desktop.svg").getroot()
        used = {shape.get(name) for shape in icon.iter() for name in ("fill", "stroke")}
        self.assertEqual(used, {accent, "#fff", "none", None})
        self.assertEqual(icon.get("width"), icon.get("height"))

    def testAnInstallationIsCompleteAndKnowsWhereItIs(self):
        programs = [name.split("/")[-1] for name in INSTALLED.split() if name.startswith(("bin/", "{lib}/"))]
        built = {file.name for folder in ("bin", "server") for file in pathlib.Path(os.environ["VENNIC_BUILD"], folder).glob("vennic*") if file.is_file()}
        if missing := set(programs) - built:
            self.skipTest(f"not built: {missing}")
        with tempfile.TemporaryDirectory() as folder:
            cache = pathlib.Path(os.environ["VENNIC_BUILD"], "CMakeCache.txt").read_text(encoding="utf-8")
            lib = re.search(r"^CMAKE_INSTALL_LIBDIR:PATH=(.+)$", cache, re.MULTILINE).group(1)
            prefix = pathlib.Path(folder, "mes programmes")
            self.assertEqual(installed(str(prefix)), set(INSTALLED.format(lib=lib).split()))
            for name, section, key in (("dbus-1/services/com.vennic.desktop.service", "D-BUS Service", "Exec"),
                                       ("systemd/user/vennic.service", "Service", "ExecStart")):
                told = entry((prefix / "share" / name).read_text(encoding="utf-8"))[section][key].strip('"')
                self.assertEqual(told, str(prefix / "bin" / "vennic"))
                self.assertTrue(os.access(told, os.X_OK))
            bus = entry((prefix / "share/dbus-1/services/com.vennic.desktop.service").read_text(encoding="utf-8"))
            self.assertTrue((prefix / "share/systemd/user" / bus["D-BUS Service"]["SystemdService"]).exists())

    def testThePackageRecommendsWhatTheReadmeRecommends(self):
        control = (PACKAGING / "debian" / "control.in").read_text(encoding="utf-8")
        recommended = re.search(r"^Recommends: (.+)$", control, re.MULTILINE).group(1)
        readme = (ROOT / "README.md").read_text(encoding="utf-8")
        told = re.search(r"\nRecommandés sur un bureau[^\0]+?\n\n", readme).group(0)
        self.assertEqual(sorted(re.findall(r"`([^`]+)`", told)), sorted(re.findall(r"(?:^|, )([^ ,]+)", recommended)))

    def testThePackageIsNotBegunWithoutTheSettingsItWasToHold(self):
        script = str(ROOT / "scripts" / "package")
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "deployment.json").write_text("{}", encoding="utf-8")
            status, said = check(script, "--deployment", folder)
            self.assertEqual((status, said), (1, f"Il manque {folder}/pinned-roots.pem\n"))
        self.assertEqual(check(script, "--everything")[0], 2)
        self.assertEqual(check(script, "--help")[0], 0)

    def testPurgingLeavesTheFilesOfOthers(self):
        text = (PACKAGING / "debian" / "postrm").read_text(encoding="utf-8")
        with tempfile.TemporaryDirectory() as folder:
            settings = pathlib.Path(folder, "vennic")
            script = text.replace("/etc/vennic", str(settings))

            def run(step):
                self.assertEqual(check("sh", "-c", script, "postrm", step), (0, ""))
                return sorted(file.name for file in settings.iterdir()) if settings.exists() else None

            settings.mkdir()
            for name in ("deployment.json", "pinned-roots.pem", "notes"):
                (settings / name).touch()
            self.assertEqual(run("remove"), ["deployment.json", "notes", "pinned-roots.pem"])
            self.assertEqual(run("purge"), ["notes"])
            (settings / "notes").unlink()
            self.assertIsNone(run("purge"))
            self.assertIsNone(run("purge"))

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

    def testTheProgramsThatOnlyTheClientStartsHaveTheirPagesToo(self):
        for program, statuses in (("vennic-worker", "0 1 2"), ("vennic-picture-worker", "0 1 2"), ("vennic-dialog", "2 10 11 12 13")):
            page = manual(program + ".1")
            self.assertIn(f"       {program} - ", page)
            self.assertRegex(page, r"Programme +interne")
            status = page.split("\nSTATUT DE SORTIE\n")[1].split("\nVOIR AUSSI\n")[0]
            self.assertEqual(re.findall(r"^ {7}(\d+)\b", status, re.MULTILINE), statuses.split(), program)

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
            json = {"--json"} if verb in ("status", "shares", "search", "ask", "photos", "model", "autostart", "doctor") else set()
            self.assertEqual(offered, {"--help"} | json | ({"--local"} if verb == "ask" else set()), verb)
        self.assertEqual(complete("vennic", "bridge", "o"), ["off", "on"])
        self.assertEqual(complete("vennic", "photos", ""), ["allow", "deny", "status"])
        self.assertEqual(complete("vennic", "model", ""),
                         ["detect", "download", "endpoint", "install", "name", "off", "on", "status"])
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
