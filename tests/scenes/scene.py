"""One whole system in a temporary folder: the reference backend, the client, and the command line between them.

Each scene has its own installation, home, sockets and port, so that scenes run side by side."""
import contextlib
import http.client
import io
import json
import os
import pathlib
import shutil
import signal
import ssl
import subprocess
import tempfile
import time
import unittest
import urllib.error

BOXED = ("vennic-worker", "vennic-picture-")  # the boxed document processes, as the kernel cuts their names
PATIENCE = 60  # seconds that a condition may take on a loaded machine


def wait_for(condition, what, seconds=PATIENCE):
    """Asks until `condition` gives something true, and gives that back."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"waited {seconds} s in vain: {what}")
        time.sleep(0.02)


def memory(pid, part="Pss"):
    """In kB: the process's own pages and its share of the common ones. The part Pss_Anon leaves out what is mapped from
    files, whose share changes with every other process that comes and goes."""
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith(part + ":"):
            return int(line.split()[1])
    raise RuntimeError(f"no line {part}")


class Backend:
    """The reference backend as a child process, and its owner's API."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.ready_file = folder / "ready.json"
        self.process = self.connection = None

    def start(self, *options):
        self.ready_file.unlink(missing_ok=True)
        with open(self.folder / "server.log", "ab") as log:
            self.process = subprocess.Popen(
                [self.program, "--data", self.folder / "server", "--ready-file", self.ready_file, *options],
                stdout=subprocess.DEVNULL, stderr=log)
        wait_for(self._is_ready, "the backend listens")
        self.ready = json.loads(self.ready_file.read_text(encoding="utf-8"))
        self.key = pathlib.Path(self.ready["owner_key_file"]).read_text(encoding="ascii").strip()
        self.trust = ssl.create_default_context(cafile=self.ready["ca"])
        self.connection = http.client.HTTPSConnection("localhost", self.port(), context=self.trust, timeout=75)

    def _is_ready(self):
        if self.process.poll() is not None:
            raise AssertionError("the backend ended: " + (self.folder / "server.log").read_text(errors="replace"))
        return self.ready_file.exists()

    def port(self):
        return int(self.ready["url"].rsplit(":", 1)[1])

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        if self.connection:
            self.connection.close()
        if self.process and self.process.poll() is None:
            self.process.terminate()
            self.process.wait(PATIENCE)

    def call(self, method, path, body=None, headers=None):
        """One call on a connection that is kept, since a scene makes thousands of them."""
        fields = dict(headers or {"X-Owner-Key": self.key})
        if body is not None:
            fields["Content-Type"] = "application/json"
        data = None if body is None else json.dumps(body)
        try:
            answer, text = self._exchange(method, path, data, fields)
        except http.client.RemoteDisconnected:  # it was idle for too long
            answer, text = self._exchange(method, path, data, fields)
        if answer.status >= 400:
            raise urllib.error.HTTPError(path, answer.status, answer.reason, answer.headers, io.BytesIO(text))
        return json.loads(text or b"null")

    def _exchange(self, *request):
        try:
            self.connection.request(*request)
            answer = self.connection.getresponse()
            return answer, answer.read()
        except BaseException:
            self.connection.close()
            raise

    def send(self, device, kind, arguments=None, **more):
        return self.call("POST", "/owner/tasks",
                         {"device_id": device, "kind": kind, "args": arguments or {}, **more})

    def finished(self, task):
        """Waits for the end of a task."""
        end = time.monotonic() + PATIENCE
        while task["state"] not in ("done", "error", "timeout") and time.monotonic() < end:
            task = self.call("GET", f"/owner/tasks/{task['id']}?wait=20")
        return task

    def run(self, device, kind, arguments=None):
        return self.finished(self.send(device, kind, arguments))

    def pairing_code(self):
        return self.call("POST", "/owner/pairings", {})["code"]


class Client:
    """The client as a child process, and its command line."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        home = folder / "home"
        home.mkdir(exist_ok=True)
        self.environment = {
            "HOME": str(home), "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
            "XDG_DATA_HOME": str(folder / "data"), "XDG_CACHE_HOME": str(folder / "cache"),
            "XDG_RUNTIME_DIR": str(folder / "run"), "TZ": "UTC",
            # No bus: the vault is the credential store, and nothing of the machine's user is touched.
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={folder}/no-bus",
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={folder}/no-bus",
            "SSL_CERT_DIR": str(folder / "trust"),
        }
        for name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "LLVM_PROFILE_FILE"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        (folder / "run").mkdir(mode=0o700, exist_ok=True)
        self.log = folder / "client.log"
        self.process = None

    def start(self):
        with open(self.log, "ab") as log:
            self.process = subprocess.Popen([self.program], env=self.environment, stdin=subprocess.DEVNULL, stdout=log,
                                            stderr=subprocess.STDOUT)
        wait_for(self._answers, "the client answers")

    def _answers(self):
        if self.process.poll() is not None:
            raise AssertionError("the client ended: " + self.log.read_text(errors="replace"))
        return self.verb("status").returncode == 0

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            self.process.wait(PATIENCE)

    def verb(self, *arguments, **options):
        return subprocess.run([self.program, *arguments], env=self.environment, capture_output=True, text=True,
                              timeout=100, check=False, **options)

    def show_on(self, screen):
        """From its next start on the client has that screen."""
        self.environment["DISPLAY"] = screen

    def status(self):
        answer = self.verb("status", "--json")
        return json.loads(answer.stdout) if answer.returncode == 0 else None

    def children(self):
        """The child processes of this client: number, name as the kernel keeps it, state."""
        found = []
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                name, fields = (entry / "stat").read_text().split("(", 1)[1].rsplit(")", 1)
                state, parent = fields.split()[:2]
                if int(parent) == self.process.pid:
                    found.append((int(entry.name), name, state))
        return found

    def workers(self):
        """Process ids of the boxed document processes of this client."""
        return [pid for pid, name, _ in self.children() if name in BOXED]


class Scene(unittest.TestCase):
    """Backend and client running and paired, with one shared folder."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vs-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        programs = self.folder / "bin"
        programs.mkdir()
        # The client finds its helper programs beside itself.
        client, server = pathlib.Path(os.environ["VENNIC"]), pathlib.Path(os.environ["VENNIC_SERVER"])
        for source in [*client.parent.glob("vennic*"), server]:
            try:
                os.link(source, programs / source.name)
            except OSError:
                shutil.copy2(source, programs / source.name)
        self.resources = self.folder / "share" / "vennic"
        self.resources.mkdir(parents=True)
        self.shared = self.folder / "documents"
        self.shared.mkdir()
        self.backend = Backend(programs / server.name, self.folder)
        self.client = Client(programs / client.name, self.folder)
        self.addCleanup(self.check_sanitizers)
        self.addCleanup(self.backend.stop)
        self.addCleanup(self.client.stop)

    def check_sanitizers(self):
        """What a sanitizer has said of a program is a failure, whatever became of it."""
        for log in self.folder.glob("*.log"):
            words = log.read_text(errors="replace")
            for beginning in ("runtime error:", "ERROR: AddressSanitizer", "ERROR: LeakSanitizer"):
                if beginning in words:
                    self.fail(words)

    def deploy(self):
        """Leads the client to the backend."""
        ready = self.backend.ready
        self.deploy_to(ready["url"], ready["ca"])

    def deploy_to(self, url, roots):
        ready = self.backend.ready
        settings = {"backend_url": url, "backend_domain": ready["backend_domain"],
                    "api_host": ready["api_host"], "pairing_page": ready["pairing_page"],
                    "package_manager_site": ready["url"]}
        (self.resources / "deployment.json").write_text(json.dumps(settings), encoding="utf-8")
        shutil.copy(roots, self.resources / "pinned-roots.pem")
        # What stands for the system's roots: the backend's authority under OpenSSL's name for it.
        name = subprocess.run(["openssl", "x509", "-noout", "-subject_hash", "-in", ready["ca"]], capture_output=True,
                              text=True, check=True).stdout.strip()
        (self.folder / "trust").mkdir(exist_ok=True)
        shutil.copy(ready["ca"], self.folder / "trust" / f"{name}.0")

    def start_all(self, *server_options):
        self.backend.start(*server_options)
        self.deploy()
        self.client.start()
        paired = self.client.verb("pair", self.backend.pairing_code())
        self.assertEqual(paired.returncode, 0, paired.stderr)
        self.assertEqual(self.client.verb("bridge", "on").returncode, 0)
        self.assertEqual(self.client.verb("share", str(self.shared)).returncode, 0)
        self.device = self.client.status()["device_id"]
        self.await_polling()

    def await_polling(self):
        wait_for(lambda: any(m["device_id"] == self.device and m["connected"]
                             for m in self.backend.call("GET", "/owner/machines")), "the client polls")

    def write(self, name, text, encoding="utf-8"):
        path = self.shared / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.encode(encoding))
        return path

    def search(self, words):
        task = self.backend.run(self.device, "search", {"query": words})
        self.assertEqual(task["state"], "done", task)
        return task["result"]["items"]

    def find(self, words, name):
        """Searches until `name` is among the hits, and gives that hit."""
        def hit():
            return next((item for item in self.search(words) if item["name"] == name), None)
        return wait_for(hit, f"{name} is found by {words}")

    def read(self, document, **arguments):
        return self.backend.run(self.device, "read", {"document_id": document, **arguments})


__all__ = ["BOXED", "Scene", "memory", "wait_for", "signal", "urllib", "PATIENCE"]
