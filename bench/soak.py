#!/usr/bin/env python3
"""Long runs of the whole system, against the programs named by VENNIC and VENNIC_SERVER.

  kills SECONDS   kills client, worker and backend at random moments while tasks, files and grants come and go;
                  then compares everything with what must be there
  readers SECONDS  the same for the document processes alone, which are killed as soon as they are there while documents
                  come; an optional last number is the seed of both
  mixed SECONDS   sends tasks of all kinds over a road with faults, in a private desktop session, and prints memory;
                  then compares every end, and what the client counted, with what passed between the two
  idle SECONDS    lets the client poll, and prints its memory, wake-ups and disk writes over time

A number behind SECONDS repeats an earlier run's choices.
"""
import contextlib
import os
import pathlib
import random
import signal
import sqlite3
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "scenes"))
from mixed import MixedTasks  # noqa: E402
from scene import Scene, memory, wait_for  # noqa: E402


class Soak(Scene):
    def runTest(self):
        pass


@contextlib.contextmanager
def whole_system(kind=Soak):
    """Backend and client, not yet started, of the programs that the environment names."""
    system = kind()
    system.setUp()
    try:
        yield system
    finally:
        system.doCleanups()


def wake_ups(pid):
    """Voluntary context switches so far, by thread."""
    counts = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        with contextlib.suppress(FileNotFoundError):  # it may end meanwhile
            for line in (task / "status").read_text().splitlines():
                if line.startswith("voluntary_ctxt_switches"):
                    counts[task.name] = int(line.split()[1])
    return counts


def woken_since(before, pid):
    """How often the threads that are there now have woken since `before`, which `wake_ups` gave."""
    return sum(count - before.get(thread, 0) for thread, count in wake_ups(pid).items())


def written(pid):
    for line in pathlib.Path(f"/proc/{pid}/io").read_text().splitlines():
        if line.startswith("write_bytes"):
            return int(line.split()[1])
    raise RuntimeError("no write_bytes line")


STATES = ["none", "waiting", "indexed", "refused"]


def index_says(soak, name, word):
    """What the index on disk holds of a document: its row, and where its word stands."""
    catalogue = next((soak.folder / "cache").rglob("catalog.db"))
    database = sqlite3.connect(f"file:{catalogue}?mode=ro", uri=True)
    with contextlib.closing(database):
        rows = database.execute("SELECT * FROM file WHERE name=?", (name.encode(),))
        columns = [column[0] for column in rows.description]
        told = []
        for values in rows.fetchall():
            row = dict(zip(columns, values))
            pending = database.execute("SELECT words FROM pend WHERE id=?", (row["id"],)).fetchone()
            words = pending and f"\n{word}\n".encode() in pending[0]
            state = STATES[row["state"]] if row["state"] < len(STATES) else "?"
            rest = " ".join(f"{key} {row[key]}" for key in columns if key not in ("name", "dir", "state", "kind"))
            told.append(f"text {state}, {rest}, pending words {'absent' if words is None else 'hold it' if words else 'lack it'}")
        live = [row[0].decode() for row in database.execute("SELECT name FROM seg")]
    holding = [each for each in live if f"\n{word}\n".encode() in (catalogue.parent / each).read_bytes()]
    path = soak.shared / name
    disk = f"{path.stat().st_size} bytes, mtime {path.stat().st_mtime_ns}, ctime {path.stat().st_ctime_ns}" \
        if path.exists() else "not there"
    return f"catalogue: {'; '.join(told) or 'no row'}; its word in segments {holding} of {len(live)}; disk: {disk}"


def found_by(soak, word):
    return [item["name"] for item in soak.search(word)]


def missing(soak, files):
    """What is wrong with each document that its word doesn't find, and whether time or a new start mends it."""
    # An idle-priority thread on a busy machine: what is only late is found within this time.
    late = {name: word for name, word in sorted(files.items()) if found_by(soak, word) != [name]}
    if not late:
        return []
    # Before anything is tried, so that the cause shows.
    said = {name: index_says(soak, name, word) for name, word in late.items()}
    status = soak.client.status()["index"]
    print(f"not found at the first search: {len(late)}, index {status}")
    for name in list(late)[:20]:
        print(f"  {name}: {said[name]}")
    end = time.monotonic() + 60
    while late and time.monotonic() < end:
        late = {name: word for name, word in late.items() if found_by(soak, word) != [name]}
        time.sleep(0.2)
    faults = [f"{word}: {found_by(soak, word)} instead of {name} after a minute; {index_says(soak, name, word)}"
              for name, word in late.items()]
    if late:
        soak.client.kill()
        soak.client.start()
        wait_for(lambda: soak.client.status()["index"]["ready"], "the index is settled after a new start")
        mended = [name for name, word in late.items() if found_by(soak, word) == [name]]
        print(f"found again after a new start: {mended}")
    return faults


def end_workers(soak):
    """Kills the document processes of the client, and gives how many there were."""
    killed = 0
    for worker in soak.client.workers():
        with contextlib.suppress(ProcessLookupError):  # it may end by itself meanwhile
            os.kill(worker, signal.SIGKILL)
            killed += 1
    return killed


def kills(soak, seconds, seed):
    chance = random.Random(seed)
    soak.start_all("--task-timeout", "20")
    files, ends, counts = {}, [], {"client": 0, "worker": 0, "backend": 0}
    device, shares = soak.device, soak.client.status()["shares"]
    end = time.monotonic() + seconds
    number = 0
    while time.monotonic() < end:
        for _ in range(chance.randrange(1, 6)):
            number += 1
            name, word = f"fiche-{number}.txt", f"mot{number}x"
            soak.write(name, f"fiche {number} {word}\n")
            files[name] = word
            if chance.random() < 0.3:
                gone = chance.choice(sorted(files))
                (soak.shared / gone).unlink()
                del files[gone]
        tasks = []
        for _ in range(chance.randrange(1, 4)):
            tasks.append(soak.backend.send(device, "search", {"query": chance.choice(sorted(files.values()) or ["x"])}))
        time.sleep(chance.random() * 0.5)  # the random moment
        victim = chance.choice(["client", "worker", "backend"])
        counts[victim] += 1
        if victim == "client":
            soak.client.kill()
            time.sleep(chance.random() * 0.2)
            soak.client.start()
        elif victim == "backend":
            soak.backend.kill()
            time.sleep(chance.random() * 0.2)
            soak.backend.start("--task-timeout", "20")
        else:
            end_workers(soak)
        # Within the round: the backend's history is bounded.
        ends += [soak.backend.finished(task)["state"] for task in tasks]
    soak.await_polling()
    status = soak.client.status()
    faults = []
    if status["device_id"] != device or status["shares"] != shares or not status["authenticated"]:
        faults.append("the account, the device or the grants have changed")
    for state in sorted(set(ends)):
        print(f"tasks {state}: {ends.count(state)}")
    if set(ends) - {"done"}:
        faults.append("a task without side effects was lost")
    wait_for(lambda: soak.client.status()["index"]["ready"], "the index is settled")
    lost = missing(soak, files)
    faults += lost
    present = {path.name for path in soak.shared.iterdir()}
    if present != set(files):
        faults.append("files differ from what was written")
    print(f"seconds {seconds}, kills {counts}, files {len(files)}, tasks {len(ends)}, "
          f"texts lost {len(lost)}, faults {len(faults)}")
    for fault in faults[:20]:
        print("  " + fault)
    return 1 if faults else 0


def readers(soak, seconds, seed):
    chance = random.Random(seed)
    soak.start_all()
    files, killed, number = {}, 0, 0
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        for _ in range(5):
            number += 1
            name, word = f"fiche-{number}.txt", f"mot{number}x"
            soak.write(name, f"fiche {number} {word}\n")
            files[name] = word
        pause = time.monotonic() + 1
        while time.monotonic() < pause:
            killed += end_workers(soak)
            time.sleep(chance.random() * 0.02)
    begun = time.monotonic()
    wait_for(lambda: soak.client.status()["index"]["ready"], "the index is settled", 600)
    print(f"settled after {time.monotonic() - begun:.1f} s")
    lost = missing(soak, files)
    print(f"seconds {seconds}, readers killed {killed}, files {len(files)}, texts lost {len(lost)}")
    for fault in lost[:20]:
        print("  " + fault)
    return 1 if lost else 0


class MixedSoak(MixedTasks):
    def runTest(self):
        pass


def mixed(soak, seconds, seed):
    soak.begin(seed)
    plans = [{}, {"malformed": 1}, {"disturb": soak.kill_workers}, {"disturb": soak.kill_backend},
             *({"wire": [fault]} for fault in ("poll", "task", "slow task", "answer", "receipt", "slow answer"))]
    print(f"{'s':>5} {'tasks':>8} {'PSS kB':>8} {'descriptors':>12} {'faults':>7}")
    begun, shown = time.monotonic(), -30
    while (passed := time.monotonic() - begun) < seconds:
        if passed - shown >= 30:
            print(f"{passed:5.0f} {soak.sent:8} {memory(soak.client.process.pid):8} "
                  f"{soak.descriptors():12} {len(soak.faults):7}", flush=True)
            shown = passed
        soak.batch(50, **soak.chance.choice(plans))
    soak.check_account()
    print(f"seconds {seconds}, tasks {soak.sent}, deliveries {soak.served}, workers killed {soak.killed}, "
          f"faults {len(soak.faults)}")
    for fault in soak.faults[:20]:
        print("  " + fault[:500])
    return 1 if soak.faults else 0


def both(pid):
    """PSS, which moves as other programs with the same libraries come and go, and the client's own part of it, in kB."""
    return memory(pid), memory(pid, "Pss_Anon")


def idle(soak, seconds):
    for number in range(50):
        soak.write(f"fiche-{number}.txt", f"fiche {number}\n")
    soak.start_all()
    wait_for(lambda: soak.client.status()["index"]["ready"], "the index is settled")
    pid = soak.client.process.pid
    time.sleep(5)  # what follows a start has settled
    first, waked, wrote, begun = both(pid), wake_ups(pid), written(pid), time.monotonic()
    print(f"{'s':>5} {'PSS kB':>8} {'own kB':>8} {'wake-ups/s':>11} {'written B':>10}")
    while (passed := time.monotonic() - begun) < seconds:
        time.sleep(min(30, seconds - passed + 0.1))
        passed = time.monotonic() - begun
        shared, own = both(pid)
        print(f"{passed:5.0f} {shared:8} {own:8} {woken_since(waked, pid) / passed:11.2f} {written(pid) - wrote:10}", flush=True)
    last = both(pid)
    print(f"growth {last[0] - first[0]} kB of PSS, {last[1] - first[1]} kB of its own in {seconds} s; "
          "polls only")
    return 0


def main():
    if len(sys.argv) not in (3, 4) or sys.argv[1] not in ("kills", "readers", "mixed", "idle"):
        sys.exit(__doc__)
    if sys.argv[1] == "mixed" and "VENNIC_SESSION" not in os.environ:
        session = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "desktop-session"
        os.execv(session, [session, "--only", "display,bus,keyring,wm", "--", sys.executable, *sys.argv])
    soak = MixedSoak() if sys.argv[1] == "mixed" else Soak()
    soak.setUp()
    try:
        seconds = int(sys.argv[2])
        seed = int(sys.argv[3]) if len(sys.argv) == 4 else random.randrange(10**6)
        if sys.argv[1] == "idle":
            return idle(soak, seconds)
        print(f"seed {seed}")
        return {"readers": readers, "mixed": mixed, "kills": kills}[sys.argv[1]](soak, seconds, seed)
    finally:
        soak.doCleanups()


if __name__ == "__main__":
    sys.exit(main())
