"""One level of a big folder through backend and client, beside `ls -l` of it."""
import json
import time
import urllib.request

from measure import command_ms, forget_highest, highest, median, warm
from soak import memory, wait_for, whole_system

FULL = 100_000
BUDGET = 1500  # ms, for FULL


def run(bench):
    bench.name_programs()
    for count in bench.counts(FULL):
        with whole_system() as system:
            measure(bench, system, count)


def measure(bench, system, count):
    folder = bench.made("flat", count)
    warm(folder, contents=False)
    system.start_all()
    shared = system.client.verb("share", str(folder))
    if shared.returncode != 0:
        raise RuntimeError(shared.stderr)
    share = next(s["id"] for s in system.client.status()["shares"] if s["path"] == str(folder))
    shown = sum(not entry.name.startswith(".") for entry in folder.iterdir())
    wait_for(lambda: system.client.status()["index"]["ready"], "the index settles", bench.settle_seconds)
    pid = system.client.process.pid
    before = memory(pid) / 1024
    forget_highest(pid)
    handled, took = [], []
    for _ in range(3 if bench.quick else 5):
        answer, milliseconds = listed(system, share)
        assert len(answer["result"]["items"]) == shown
        handled.append(answer["handled_ms"])
        took.append(milliseconds)
    bench.line("listing: task to answer", count, median(handled), "ms", None, "ls -l",
               command_ms(["ls", "-l", str(folder)]))
    bench.line("listing: owner's wait", count, median(took), "ms", BUDGET if count == FULL else None)
    bench.line("listing: client's memory before", count, before, "MB")
    bench.line("listing: client's memory, highest", count, highest(pid), "MB")
    time.sleep(2)
    bench.line("listing: client's memory after", count, memory(pid) / 1024, "MB")


def listed(system, share):
    """The task once it has ended, and how long its owner waited for the whole answer in ms."""
    backend = system.backend
    begun = time.perf_counter()
    task = backend.send(system.device, "list_dir", {"folder_id": share})
    request = urllib.request.Request(f"{backend.ready['url']}/owner/tasks/{task['id']}?wait=20",
                                     headers={"X-Owner-Key": backend.key})
    with urllib.request.urlopen(request, timeout=60, context=backend.trust) as reply:
        body = reply.read()
    milliseconds = (time.perf_counter() - begun) * 1000
    answer = json.loads(body)
    if answer["state"] != "done":
        raise RuntimeError(f"the listing ended as {answer['state']}: {answer['error_message']}")
    return answer, milliseconds
