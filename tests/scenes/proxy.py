"""A proxy between client and backend that reads what passes and breaks what it is told to."""
import contextlib
import dataclasses
import enum
import http.client
import http.server
import json
import ssl
import subprocess
import threading
import time

TASKS = "/api/v1/bridge/tasks/"


class Outcome(enum.Enum):
    """What became of a word of the client."""
    UNDER_WAY = enum.auto()
    TAKEN = enum.auto()
    REFUSED = enum.auto()  # by the backend, or by a fault
    UNKNOWN = enum.auto()  # the backend was gone before it said so


@dataclasses.dataclass(eq=False)
class Word:
    """What the client said of a task: its status with result or error_message."""
    said: dict
    outcome: Outcome = Outcome.UNDER_WAY


@dataclasses.dataclass(eq=False)
class Delivery:
    """A task that went to the client to its last byte."""
    task: dict
    words: list[Word] = dataclasses.field(default_factory=list)


class Cut(Exception):
    """The connection to the client ends here, without a word."""


class FaultProxy:
    """Speaks TLS with a certificate of its own. One armed fault meets the next request that it fits:

      "poll"       the poll is not passed on
      "task"       half of the answer that brings a task is passed back
      "slow task"  the task comes late
      "answer"     the client's word on a task is not passed on
      "receipt"    the backend takes the client's word, but the client doesn't hear so
      "slow answer" the client's word comes late
    """
    LATE = 0.4  # seconds

    def __init__(self, folder):
        self.certificate, key = folder / "proxy.pem", folder / "proxy.key"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                        "-keyout", key, "-out", self.certificate, "-days", "2", "-subj", "/CN=vennic test",
                        "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1"], check=True, capture_output=True)
        self.changed = threading.Condition()
        self.deliveries = {}  # of each task, in their order
        self.heard = self.under_way = 0  # words of the client
        self.armed = []
        self.backend, self.generation = None, 0
        tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        tls.load_cert_chain(self.certificate, key)

        class Listener(http.server.ThreadingHTTPServer):
            daemon_threads = True
            proxy = self

            def finish_request(self, request, client_address):
                with contextlib.suppress(OSError):  # the client hung up, or was cut off
                    with tls.wrap_socket(request, server_side=True) as secured:
                        self.RequestHandlerClass(secured, client_address, self)

        self.listener = Listener(("127.0.0.1", 0), Passing)
        self.url = f"https://localhost:{self.listener.server_port}"
        threading.Thread(target=self.listener.serve_forever, args=(0.02,), daemon=True).start()

    def lead_to(self, backend):
        """Passes requests on to this backend from now on; anew after each of its starts."""
        self.backend, self.generation = backend, self.generation + 1

    def stop(self):
        self.listener.shutdown()
        self.listener.server_close()

    def arm(self, fault):
        with self.changed:
            self.armed.append(fault)

    def meets(self, fault):
        """Whether this fault was armed; then it has happened."""
        with self.changed:
            if fault not in self.armed:
                return False
            self.armed.remove(fault)
            self.changed.notify_all()
            return True

    def wait(self, condition, seconds):
        """Waits until `condition` holds; it is asked after each thing that passes."""
        with self.changed:
            return self.changed.wait_for(condition, seconds)

    def note(self, delivery):
        with self.changed:
            self.deliveries.setdefault(delivery.task["id"], []).append(delivery)
            self.changed.notify_all()

    def take_back(self, delivery):
        with self.changed:
            self.deliveries[delivery.task["id"]].remove(delivery)

    def hear(self, task_id, said):
        word = Word(said)
        with self.changed:
            self.deliveries[task_id][-1].words.append(word)
            self.heard += 1
            self.under_way += 1
            self.changed.notify_all()
        return word

    def settle(self, word, outcome):
        with self.changed:
            word.outcome = outcome
            self.under_way -= 1
            self.changed.notify_all()

    def hand_over(self):
        """All deliveries so far; they are forgotten here."""
        with self.changed:
            deliveries, self.deliveries = self.deliveries, {}
            return deliveries


class Passing(http.server.BaseHTTPRequestHandler):
    """One connection of the client."""
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    wbufsize = -1  # a head and its body travel together
    upstream = None
    generation = 0

    def log_message(self, *_):
        pass

    def pass_on(self, body):
        """The backend's answer: status, content type, body."""
        proxy = self.server.proxy
        if self.generation != proxy.generation:
            if self.upstream:
                self.upstream.close()
            self.upstream = http.client.HTTPSConnection("localhost", proxy.backend.port(), context=proxy.backend.trust,
                                                        timeout=75)
            self.generation = proxy.generation
        try:
            fields = {name: value for name, value in self.headers.items() if name.lower() not in ("host", "connection")}
            self.upstream.request(self.command, self.path, body or None, fields)
            answer = self.upstream.getresponse()
            return answer.status, answer.headers.get("Content-Type"), answer.read()
        except (OSError, http.client.HTTPException) as error:
            self.generation = 0
            raise Cut from error

    def pass_back(self, status, content_type, body, share=1.0):
        self.send_response_only(status)
        if content_type:
            self.send_header("Content-Type", content_type)
        if status != 204:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body[:int(len(body) * share)])
        self.wfile.flush()

    def poll(self, body):
        proxy = self.server.proxy
        if proxy.meets("poll"):
            raise Cut
        status, content_type, answer = self.pass_on(body)
        if status != 200:
            return self.pass_back(status, content_type, answer)
        if proxy.meets("task"):
            self.pass_back(status, content_type, answer, 0.5)
            raise Cut
        if proxy.meets("slow task"):
            time.sleep(proxy.LATE)
        delivery = Delivery(json.loads(answer))
        proxy.note(delivery)
        try:
            self.pass_back(status, content_type, answer)
        except OSError:
            proxy.take_back(delivery)
            raise

    def update(self, body):
        proxy = self.server.proxy
        word = proxy.hear(self.path.removeprefix(TASKS), json.loads(body))
        if proxy.meets("answer"):
            proxy.settle(word, Outcome.REFUSED)
            raise Cut
        if proxy.meets("slow answer"):
            time.sleep(proxy.LATE)
        try:
            status, content_type, answer = self.pass_on(body)
        except Cut:
            proxy.settle(word, Outcome.UNKNOWN)
            raise
        proxy.settle(word, Outcome.TAKEN if 200 <= status < 300 else Outcome.REFUSED)
        if proxy.meets("receipt"):
            raise Cut
        self.pass_back(status, content_type, answer)

    def serve(self):
        body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
        try:
            if self.command == "GET" and self.path.startswith(TASKS + "next?"):
                self.poll(body)
            elif self.command == "PATCH" and self.path.startswith(TASKS):
                self.update(body)
            else:
                self.pass_back(*self.pass_on(body))
        except Cut:
            self.close_connection = True

    do_GET = do_POST = do_PATCH = do_DELETE = serve  # noqa: N815
