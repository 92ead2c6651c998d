"""Starts of the client, timed from outside: until the backend holds its poll, and until its icon is in the tray."""
import contextlib
import http.client
import json
import subprocess
import threading
import time


class Watcher:
    """Asks the backend on one kept-alive connection whether the client polls."""

    def __init__(self, system):
        self.client, self.backend, self.device = system.client, system.backend, system.device
        host = self.backend.ready["url"].removeprefix("https://").rstrip("/")
        self.connection = http.client.HTTPSConnection(host, context=self.backend.trust, timeout=30)

    def polls(self):
        self.connection.request("GET", "/owner/machines", headers={"X-Owner-Key": self.backend.key})
        machines = json.loads(self.connection.getresponse().read())
        return any(m["device_id"] == self.device and m["connected"] for m in machines)

    def until(self, state):
        end = time.monotonic() + 60
        while self.polls() != state:
            if time.monotonic() > end:
                raise RuntimeError("the client doesn't poll" if state else "the client still polls")
            time.sleep(0.001)

    def restart(self):
        """Ends the client and starts it again once the backend has noticed. Gives when it was started and when it polled,
        as of time.perf_counter()."""
        client = self.client
        client.stop()
        self.until(False)
        begun = time.perf_counter()
        with open(client.log, "ab") as log:
            client.process = subprocess.Popen([client.program], env=client.environment, stdin=subprocess.DEVNULL,
                                              stdout=log, stderr=log)
        self.until(True)
        return begun, time.perf_counter()


class Tray:
    """Hears from the session bus of this process when an icon comes into the tray."""

    def __init__(self):
        self.times, self.changed = [], threading.Condition()
        self.process = subprocess.Popen(
            ["gdbus", "monitor", "--session", "--dest", "org.kde.StatusNotifierWatcher", "--object-path",
             "/StatusNotifierWatcher"], stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        for line in self.process.stdout:
            now = time.perf_counter()
            if "StatusNotifierItemRegistered" in line:
                with self.changed:
                    self.times.append(now)
                    self.changed.notify()

    def next_after(self, count):
        """When the icon behind the first `count` came, as of time.perf_counter()."""
        with self.changed:
            if not self.changed.wait_for(lambda: len(self.times) > count, 60):
                raise RuntimeError("no icon came into the tray")
            return self.times[count]

    def close(self):
        with contextlib.suppress(ProcessLookupError):
            self.process.terminate()
        self.process.wait()
