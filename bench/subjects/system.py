"""The whole client, paired with a backend: from start to polling, memory and wake-ups when idle, and how soon a file
that was just made is found."""
import os
import time

from measure import median
from soak import memory, wake_ups, whole_system, woken_since, written
from starts import Watcher

FEW = 50
DOCUMENTS = 50_000


def run(bench):
    bench.name_programs()
    sizes = [FEW] if bench.quick else [FEW, *bench.counts(DOCUMENTS)]
    for count in sizes:
        with whole_system() as system:
            measure(bench, system, count)


def measure(bench, system, count):
    for number in range(FEW):
        system.write(f"fiche-{number}.txt", f"fiche {number}\n")
    system.start_all()
    if count > FEW:
        folder = bench.made("docs", count)
        shared = system.client.verb("share", str(folder))
        if shared.returncode != 0:
            raise RuntimeError(shared.stderr)
    if not settled(bench, system, count):
        return
    starts(bench, system, count)
    freshness(bench, system, count)
    idle(bench, system, count)


def settled(bench, system, count):
    """Whether the client's index, which works at idle priority, holds everything in time."""
    begun = time.monotonic()
    while time.monotonic() - begun < bench.settle_seconds:
        index = system.client.status()["index"]
        if index["ready"] and index["files"] >= count:
            if count > FEW:
                bench.line("client: index settled after", count, time.monotonic() - begun, "s")
            return True
        time.sleep(0.5)
    bench.say(f"client, {count} documents: not measured; {index['files']} were indexed at idle priority in "
              f"{bench.settle_seconds} s, load {os.getloadavg()[0]:.1f}")
    return False


def starts(bench, system, count):
    watcher = Watcher(system)
    times = []
    for _ in range(3 if bench.quick else 15):
        begun, polled = watcher.restart()
        times.append((polled - begun) * 1000)
    bench.line("start to polling, median", count, median(times), "ms", 150)
    bench.line("start to polling, slowest", count, max(times), "ms")


def freshness(bench, system, count):
    settled(bench, system, 0)
    took = {"name": [], "text": []}
    for number in range(3 if bench.quick else 10):
        path = system.shared / f"fraicheur{number}n.txt"
        begun = time.perf_counter()
        path.write_text(f"fraicheur{number}t\n", encoding="utf-8")
        for what, word in (("name", f"fraicheur{number}n"), ("text", f"fraicheur{number}t")):
            while path.name not in system.client.verb("search", "--json", word).stdout:
                if time.perf_counter() - begun > 60:
                    raise RuntimeError(f"{word} wasn't found in 60 s")
            took[what].append((time.perf_counter() - begun) * 1000)
        path.unlink()
    for what, budget in (("name", 1000), ("text", 2000)):
        bench.line(f"file made, found by {what}, median", count, median(took[what]), "ms", budget)
        bench.line(f"file made, found by {what}, slowest", count, max(took[what]), "ms", budget)


def idle(bench, system, count):
    pid = system.client.process.pid
    time.sleep(2 if bench.quick else 10)  # what follows the last search has settled
    woken, wrote, begun = wake_ups(pid), written(pid), time.monotonic()
    time.sleep(bench.idle_seconds)
    passed = time.monotonic() - begun
    bench.line("idle memory (PSS)", count, memory(pid) / 1024, "MB", 30)
    for worker in system.client.workers():
        bench.line("idle memory of a worker (PSS)", count, memory(worker) / 1024, "MB")
    bench.line("idle wake-ups", count, woken_since(woken, pid) / passed, "a second", 1)
    bench.line("idle, written to disk", count, written(pid) - wrote, "bytes", 0)
