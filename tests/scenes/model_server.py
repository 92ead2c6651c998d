"""A scripted OpenAI-compatible server: what a local model's server says, and whatever one might say.

It speaks GET /v1/models and POST /v1/chat/completions (streamed, as server-sent events; an answer in one piece where
the request asks for no stream), on 127.0.0.1, without TLS. Each completion takes the next script from a queue; without
one it repeats the last message of the user, word by word, with a usage record. So it also serves as a stand-in for a
model when one tries the client by hand:

    python3 tests/scenes/model_server.py --port 8080

A scene runs it as a process of its own, so that it can be killed or stopped like any other server:

    server = ModelServer(folder)          # listens on a port of the system's choice; server.endpoint
    server.script(text("Bon"), gate("g"), text("jour"), usage(9, 2), DONE)
    server.open("g")                      # lets the script go on
    server.requests()                     # what was asked: path, body, bytes sent, how it ended
    server.kill()                         # kill -9

A script is a list of steps, each a JSON object with one key:

    {"text": "Bon"}             a piece of text
    {"calls": [{…}, …]}         fragments of tool calls, as in delta.tool_calls
    {"finish": "stop"}          a finish_reason
    {"usage": [9, 2]}           the usage record: prompt and completion tokens, in a chunk without choices
    {"chunk": {…}}              any chunk
    {"line": "data: {"}         any line, its end added
    {"raw": "\\xff"}             any bytes, as Latin-1
    {"done": true}              data: [DONE]
    {"clock": true}             a piece of text that holds CLOCK_MONOTONIC in nanoseconds, and a blank
    {"recall": ["regex", {…}]}  the step behind it, with each § in it replaced by what the expression finds last in the request
    {"pause": 0.05}             seconds of silence
    {"gate": "name"}            silence until the gate is opened; an opened gate stays open
    {"repeat": 1000, "steps": […]}
    {"status": 500, "body": "text"}   first step only: an answer that is no stream
    {"not_http": "garbage"}     first step only: bytes instead of an answer
    {"hang": true}              silence until the peer leaves; as the first step, before the header
    {"cut": true}               the connection ends here, in the middle of the answer
    {"reset": true}             the same with a reset

Behind the last step the answer ends properly. Control, by whoever runs the scene:

    PUT  /control/scripts       a list of scripts, which replace those that wait
    PUT  /control/models        {"status": 200, "body": "…"}: the answer to GET /v1/models from now on
    POST /control/gates/NAME    opens a gate
    GET  /control/requests      the requests so far, and of each completion the bytes that were handed to the system,
                                the steps done, and how it "ended": "whole", "cut", "gone" (the peer left), or null
"""
import argparse
import asyncio
import contextlib
import http.client
import json
import pathlib
import re
import socket
import struct
import subprocess
import sys
import time

LONGEST_BODY = 64 * 1024 * 1024
MODELS = {"object": "list", "data": [{"id": "vennic/essai", "object": "model"}]}


def text(words):
    return {"text": words}


def calls(*fragments):
    return {"calls": list(fragments)}


def finish(reason):
    return {"finish": reason}


def usage(prompt, completion):
    return {"usage": [prompt, completion]}


def gate(name):
    return {"gate": name}


def recall(expression, step):
    return {"recall": [expression, step]}


def repeat(count, *steps):
    return {"repeat": count, "steps": list(steps)}


DONE = {"done": True}


class ModelServer:
    """The server as a child process, for scenes and benches."""

    def __init__(self, folder, port=0):
        self.ready_file = pathlib.Path(folder) / f"model-{time.monotonic_ns()}.json"
        self.process = subprocess.Popen([sys.executable, "-B", __file__, "--port", str(port), "--ready-file", self.ready_file])
        end = time.monotonic() + 60
        while not self.ready_file.exists():
            if self.process.poll() is not None or time.monotonic() > end:
                raise AssertionError("the model's server doesn't listen")
            time.sleep(0.01)
        self.port = json.loads(self.ready_file.read_text(encoding="utf-8"))["port"]
        self.endpoint = f"http://127.0.0.1:{self.port}/v1"

    def script(self, *steps):
        """The next completion says this."""
        self.scripts([list(steps)])

    def scripts(self, scripts):
        self.control("PUT", "/control/scripts", scripts)

    def models(self, answer, status=200):
        self.control("PUT", "/control/models", {"status": status, "body": json.dumps(answer)})

    def open(self, name):
        self.control("POST", f"/control/gates/{name}")

    def requests(self, path="/v1/chat/completions"):
        return [request for request in self.control("GET", "/control/requests") if request["path"] == path]

    def control(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        with contextlib.closing(connection):
            connection.request(method, path, None if body is None else json.dumps(body))
            return json.loads(connection.getresponse().read() or b"null")

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(60)


class Ended(Exception):
    """The script has ended the connection."""


class Answer:
    """One completion on its way."""

    def __init__(self, server, reader, writer, record):
        self.server, self.reader, self.writer, self.record = server, reader, writer, record
        self.started = False

    async def play(self, steps):
        first = steps[0] if steps else {}
        if "status" in first:
            return await self.whole(first["status"], first.get("body", "").encode())
        if "not_http" in first:
            await self.send(first["not_http"].encode("latin-1"))
            return self.writer.close()
        for step in steps:
            await self.step(step)
        await self.start()
        await self.send(b"0\r\n\r\n")
        self.record["ended"] = "whole"

    async def whole(self, status, body, kind="text/plain"):
        await self.send(f"HTTP/1.1 {status} Answer\r\nContent-Type: {kind}\r\nContent-Length: {len(body)}\r\n\r\n".encode() + body)
        self.record["ended"] = "whole"

    async def start(self):
        if not self.started:
            self.started = True
            await self.send(b"HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n")

    async def send(self, data):
        self.writer.write(data)
        await self.writer.drain()
        self.record["sent"] += len(data)

    async def piece(self, data):
        await self.start()
        await self.send(b"%x\r\n%s\r\n" % (len(data), data))

    async def line(self, line):
        await self.piece(line.encode() + b"\n")

    async def chunk(self, chunk):
        shape = {"id": "chatcmpl-essai", "object": "chat.completion.chunk", "created": 0, "model": "vennic/essai"}
        await self.line("data: " + json.dumps(shape | chunk, ensure_ascii=False) + "\n")

    async def delta(self, delta, reason=None):
        await self.chunk({"choices": [{"index": 0, "delta": delta, "finish_reason": reason}]})

    async def step(self, step):
        name = next(iter(step))
        if name == "repeat":
            for _ in range(step["repeat"]):
                for inner in step["steps"]:
                    await self.step(inner)
            return
        await getattr(self, "do_" + name)(step[name])
        self.record["steps"] += 1

    async def do_text(self, words):
        await self.delta({"content": words})

    async def do_calls(self, fragments):
        await self.delta({"tool_calls": fragments})

    async def do_finish(self, reason):
        await self.delta({}, reason)

    async def do_usage(self, counts):
        await self.chunk({"choices": [], "usage": {"prompt_tokens": counts[0], "completion_tokens": counts[1],
                                                   "total_tokens": sum(counts)}})

    async def do_chunk(self, chunk):
        await self.chunk(chunk)

    async def do_line(self, line):
        await self.line(line)

    async def do_raw(self, raw):
        await self.piece(raw.encode("latin-1"))

    async def do_done(self, _):
        await self.line("data: [DONE]\n")

    async def do_clock(self, _):
        await self.start()
        await self.delta({"content": f"{time.monotonic_ns()} "})

    async def do_recall(self, told):
        expression, step = told
        found = re.findall(expression, self.record["body"])
        await self.step(json.loads(json.dumps(step, ensure_ascii=False).replace("§", found[-1] if found else "nothing")))

    async def do_pause(self, seconds):
        await self.start()
        await asyncio.sleep(seconds)

    async def do_gate(self, name):
        await self.start()
        await self.unless_gone(self.server.gate(name).wait())

    async def do_hang(self, _):
        await self.unless_gone(asyncio.Event().wait())

    async def do_cut(self, _):
        self.record["ended"] = "cut"
        raise Ended

    async def do_reset(self, _):
        self.writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.record["ended"] = "cut"
        self.writer.transport.abort()
        raise Ended

    async def unless_gone(self, waiting):
        """Waits, or ends with the peer."""
        tasks = [asyncio.ensure_future(waiting), asyncio.ensure_future(self.reader.read(1))]
        done, pending = await asyncio.wait(tasks, return_when=asyncio.FIRST_COMPLETED)
        for task in pending:
            task.cancel()
        await asyncio.gather(*pending, return_exceptions=True)
        if tasks[1] in done:
            raise ConnectionResetError


def echo(body):
    """What is said without a script: the user's last words."""
    said = next((message.get("content") for message in reversed(body.get("messages", [])) if message.get("role") == "user"), "")
    words = str(said or "").split(" ")
    return [*(text(word if index == 0 else " " + word) for index, word in enumerate(words)), finish("stop"),
            usage(len(json.dumps(body)) // 4, len(words)), DONE]


def assembled(steps):
    """The same in one piece, for who asks for no stream: texts and usage."""
    said = "".join(step.get("text", "") for step in steps)
    counts = next((step["usage"] for step in steps if "usage" in step), [0, 0])
    return {"id": "chatcmpl-essai", "object": "chat.completion", "model": "vennic/essai",
            "choices": [{"index": 0, "finish_reason": "stop", "message": {"role": "assistant", "content": said}}],
            "usage": {"prompt_tokens": counts[0], "completion_tokens": counts[1], "total_tokens": sum(counts)}}


class Server:
    """The server itself, in its own process."""

    def __init__(self):
        self.waiting = []
        self.records = []
        self.gates = {}
        self.listing = {"status": 200, "body": json.dumps(MODELS)}

    def gate(self, name):
        return self.gates.setdefault(name, asyncio.Event())

    async def serve(self, reader, writer):
        writer.transport.set_write_buffer_limits(0)  # what was sent is what the system took
        with contextlib.suppress(ConnectionError, asyncio.IncompleteReadError, Ended):
            while await self.one(reader, writer):
                pass
        writer.close()

    async def one(self, reader, writer):
        head = await reader.readuntil(b"\r\n\r\n")
        method, path, _ = head.split(b"\r\n", 1)[0].decode("latin-1").split(" ")
        fields = {name.strip().lower(): value.strip() for name, _, value in
                  (line.partition(":") for line in head.decode("latin-1").split("\r\n")[1:])}
        body = await reader.readexactly(min(int(fields.get("content-length", 0)), LONGEST_BODY))
        if path.startswith("/control/"):
            await self.reply(writer, 200, json.dumps(self.control(method, path, body)))
            return True
        record = {"method": method, "path": path, "fields": fields, "body": body.decode("utf-8", "replace"), "sent": 0,
                  "steps": 0, "ended": None}
        self.records.append(record)
        if path == "/v1/models":
            await self.reply(writer, self.listing["status"], self.listing["body"])
        elif path == "/v1/chat/completions" and method == "POST":
            await self.complete(reader, writer, record)
        else:
            await self.reply(writer, 404, '{"error":{"message":"unknown"}}')
        return True

    async def complete(self, reader, writer, record):
        asked = json.loads(record["body"])
        asked = asked if isinstance(asked, dict) else {}
        steps = self.waiting.pop(0) if self.waiting else echo(asked)
        answer = Answer(self, reader, writer, record)
        try:
            if asked.get("stream"):
                await answer.play(steps)
            else:
                await answer.whole(200, json.dumps(assembled(steps)).encode(), "application/json")
        except ConnectionError:
            record["ended"] = "gone"
            raise

    def control(self, method, path, body):
        if path == "/control/scripts":
            self.waiting = json.loads(body)
        elif path == "/control/models":
            self.listing = json.loads(body)
        elif path.startswith("/control/gates/"):
            self.gate(path.rsplit("/", 1)[1]).set()
        elif method == "GET" and path == "/control/requests":
            return self.records
        return None

    @staticmethod
    async def reply(writer, status, words):
        data = words.encode()
        writer.write(f"HTTP/1.1 {status} Answer\r\nContent-Type: application/json\r\nContent-Length: {len(data)}\r\n\r\n".encode() + data)
        await writer.drain()


async def run(port, ready_file):
    server = Server()
    listening = await asyncio.start_server(server.serve, "127.0.0.1", port, limit=LONGEST_BODY)
    port = listening.sockets[0].getsockname()[1]
    if ready_file:
        unfinished = ready_file.with_suffix(".tmp")
        unfinished.write_text(json.dumps({"port": port}), encoding="utf-8")
        unfinished.rename(ready_file)
    else:
        print(f"http://127.0.0.1:{port}/v1", flush=True)
    async with listening:
        await listening.serve_forever()


def main():
    parser = argparse.ArgumentParser(description="A scripted OpenAI-compatible server.")
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--ready-file", type=pathlib.Path)
    arguments = parser.parse_args()
    with contextlib.suppress(KeyboardInterrupt):
        asyncio.run(run(arguments.port, arguments.ready_file))


if __name__ == "__main__":
    main()
