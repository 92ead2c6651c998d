#!/usr/bin/env python3
"""Long runs of the whole system, against the programs named by VENNIC and VENNIC_SERVER.

  kills SECONDS   kills client, worker and backend at random moments while tasks, files and grants come and go;
                  then compares everything with what must be there
  mixed SECONDS   sends tasks of all kinds over a road with faults, in a private desktop session, and prints memory;
                  then compares every end, and what the client counted, with what passed between the two
  idle SECONDS    lets the client poll, and prints its memory, wake-ups and disk writes over time

A number behind SECONDS repeats an earlier run's choices.
"""
import os
import pathlib
import random
import signal
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "scenes"))
from mixed import MixedTasks  # noqa: E402
from scene import Scene, memory, wait_for  # noqa: E402


class Soak(Scene):
    def runTest(self):
        pass


def wake_ups(pid):
    """Voluntary context switches of all threads so far."""
    total = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        for line in (task / "status").read_text().splitlines():
            if line.startswith("voluntary_ctxt_switches"):
                total += int(line.split()[1])
    return total


def written(pid):
    for line in pathlib.Path(f"/proc/{pid}/io").read_text().splitlines():
        if line.startswith("write_bytes"):
            return int(line.split()[1])
    raise RuntimeError("no write_bytes line")


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
            for worker in soak.client.workers():
                os.kill(worker, signal.SIGKILL)
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
    for name, word in sorted(files.items()):
        hits = [item["name"] for item in soak.search(word)]
        if hits != [name]:
            faults.append(f"{word}: {hits} instead of {name}")
    present = {path.name for path in soak.shared.iterdir()}
    if present != set(files):
        faults.append("files differ from what was written")
    print(f"seconds {seconds}, kills {counts}, files {len(files)}, tasks {len(ends)}, faults {len(faults)}")
    for fault in faults[:20]:
        print("  " + fault)
    return 1 if faults else 0


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


def idle(soak, seconds):
    for number in range(50):
        soak.write(f"fiche-{number}.txt", f"fiche {number}\n")
    soak.start_all()
    wait_for(lambda: soak.client.status()["index"]["ready"], "the index is settled")
    pid = soak.client.process.pid
    time.sleep(5)  # what follows a start has settled
    first, waked, wrote, begun = memory(pid), wake_ups(pid), written(pid), time.monotonic()
    print(f"{'s':>5} {'PSS kB':>8} {'wake-ups/s':>11} {'written B':>10}")
    while (passed := time.monotonic() - begun) < seconds:
        time.sleep(min(30, seconds - passed + 0.1))
        passed = time.monotonic() - begun
        print(f"{passed:5.0f} {memory(pid):8} {(wake_ups(pid) - waked) / passed:11.2f} {written(pid) - wrote:10}")
    print(f"growth {memory(pid) - first} kB in {seconds} s; polls and status calls only")
    return 0


def main():
    if len(sys.argv) not in (3, 4) or sys.argv[1] not in ("kills", "mixed", "idle"):
        sys.exit(__doc__)
    if sys.argv[1] == "mixed" and "VENNIC_SESSION" not in os.environ:
        session = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "desktop-session"
        os.execv(session, [session, "--only", "display,bus,keyring,wm", "--", *sys.argv])
    soak = MixedSoak() if sys.argv[1] == "mixed" else Soak()
    soak.setUp()
    try:
        seconds = int(sys.argv[2])
        seed = int(sys.argv[3]) if len(sys.argv) == 4 else random.randrange(10**6)
        if sys.argv[1] == "idle":
            return idle(soak, seconds)
        print(f"seed {seed}")
        return (mixed if sys.argv[1] == "mixed" else kills)(soak, seconds, seed)
    finally:
        soak.doCleanups()


if __name__ == "__main__":
    sys.exit(main())
