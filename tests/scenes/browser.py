"""A real browser without a screen: opens pages, types, looks, and tells what the pages asked for.

It speaks the DevTools protocol over a pipe, so nothing listens anywhere."""
import base64
import json
import os
import pathlib
import queue
import shutil
import subprocess
import tempfile
import threading

PATIENCE = 60
KEYS = {"Tab": ("Tab", 9, ""), "Enter": ("Enter", 13, "\r"), "Space": ("Space", 32, " "), "ArrowDown": ("ArrowDown", 40, ""),
        "ArrowUp": ("ArrowUp", 38, "")}
NAMES = {"Space": " "}
ALT, CONTROL, SHIFT = 1, 2, 8


class Browser:
    def __init__(self, width=1280, height=900):
        self.folder = tempfile.mkdtemp(prefix="vb-")
        to_read, self.write_end = os.pipe()
        self.read_end, to_write = os.pipe()
        # The browser reads at 3 and writes at 4. Its sandbox takes a user that is not root; it sees our own pages only.
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{to_read} 4>&{to_write}', "bash", "chromium", "--headless=new", "--no-sandbox",
             "--disable-gpu", "--no-first-run", "--disable-dev-shm-usage", "--disable-background-networking", "--mute-audio",
             "--force-color-profile=srgb", "--lang=fr-FR", f"--user-data-dir={self.folder}/profile", "--remote-debugging-pipe", "about:blank"],
            pass_fds=(to_read, to_write), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={"PATH": "/usr/bin:/bin", "HOME": self.folder, "LANG": "fr_FR.UTF-8", "LANGUAGE": "fr", "TZ": "Europe/Paris"})
        os.close(to_read)
        os.close(to_write)
        self.messages = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        self.number = 0
        self.session = None
        self.requested, self.said = [], []  # addresses that were asked for, and what the page's console was told
        self.addresses = {}  # by the request's identifier
        self.blocked = []  # addresses that the pages' own policy refused
        page = next(target for target in self.call("Target.getTargets")["targetInfos"] if target["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        self.call("Security.setIgnoreCertificateErrors", ignore=True)  # the authority is made anew by each scene
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(domain + ".enable")
        self.look(width, height)

    def stop(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        os.close(self.write_end)
        shutil.rmtree(self.folder, ignore_errors=True)

    def _read(self):
        with open(self.read_end, "rb") as pipe:
            rest = b""
            while piece := pipe.read1(1 << 16):
                *whole, rest = (rest + piece).split(b"\0")
                for each in whole:
                    self.messages.put(json.loads(each))

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.write_end, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.messages.get(timeout=PATIENCE)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise AssertionError(f"{method}: {answer['error']}")
                return answer["result"]
            self._note(answer)

    def _note(self, event):
        told = event.get("params", {})
        if event.get("method") == "Network.requestWillBeSent":
            self.requested.append(told["request"]["url"])
            self.addresses[told["requestId"]] = told["request"]["url"]
        elif event.get("method") == "Network.loadingFailed" and told.get("blockedReason") == "csp":
            self.blocked.append(self.addresses.get(told["requestId"]))
        elif event.get("method") == "Log.entryAdded":
            if told["entry"]["level"] != "verbose" and told["entry"]["source"] != "network":
                self.said.append(told["entry"]["text"])
        elif event.get("method") == "Runtime.exceptionThrown":
            self.said.append(told["exceptionDetails"].get("exception", {}).get("description", "exception"))
        elif event.get("method") == "Page.javascriptDialogOpening":
            self.said.append("dialog: " + told["message"])

    def look(self, width, height, scheme="light", scale=1):
        """The window's size in the page's pixels, and light or dark."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=scale, mobile=False)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def open(self, address):
        self.call("Page.navigate", url=address)
        self.wait("document.readyState === 'complete'")

    def run(self, script):
        """The value of an expression in the page, which may be a promise."""
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise AssertionError(result["exceptionDetails"].get("exception", {}).get("description", script))
        return result["result"].get("value")

    def wait(self, script, seconds=PATIENCE):
        """Waits until an expression is true, and gives its value. The page is asked, so that nothing else waits here."""
        for _ in range(seconds * 50):
            value = self.run(script)
            if value:
                return value
            threading.Event().wait(0.02)
        raise AssertionError(f"waited {seconds} s in vain: {script}\n{self.text()}")

    def text(self, selector="body"):
        return self.run(f"document.querySelector({json.dumps(selector)})?.innerText ?? null")

    def focused(self):
        """What has the keyboard: its identifier, else its words."""
        return self.run("document.activeElement.id || document.activeElement.innerText || document.activeElement.tagName")

    def key(self, name, modifiers=0):
        code, number, text = KEYS[name]
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=NAMES.get(name, name), code=code, windowsVirtualKeyCode=number,
                      modifiers=modifiers, **({"text": text} if text and kind == "keyDown" else {}))

    def type(self, text):
        self.call("Input.insertText", text=text)

    def tab_to(self, wanted, most=60):
        """Goes on by the keyboard until something has it."""
        for _ in range(most):
            if self.focused() == wanted:
                return
            self.key("Tab")
        raise AssertionError(f"the keyboard doesn't come to {wanted}, but to {self.focused()}")

    def picture(self, name, whole=True):
        """Keeps a picture of the page where somebody wants to look at it."""
        if "VENNIC_PICTURES" in os.environ:
            taken = self.call("Page.captureScreenshot", captureBeyondViewport=whole)
            pathlib.Path(os.environ["VENNIC_PICTURES"], name + ".png").write_bytes(base64.b64decode(taken["data"]))
