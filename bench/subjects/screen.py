"""The real client on an X server without a screen, with a tray: how soon it is there, how soon its popover is painted, what
it takes of memory, and what the frames of a streamed answer cost."""
import os
import pathlib
import re
import sys
import time

from desktop import DesktopScene
from measure import ROOT, lines_of, median, resident
from soak import memory, wait_for, wake_ups, whole_system, woken_since, written
from starts import Tray, Watcher

FOLDERS = [ROOT / "bench", ROOT / "bench" / "subjects", ROOT / "tests" / "scenes"]
MINUTE = 63  # seconds after which what is let go after a minute has gone


class Desktop(DesktopScene):
    def runTest(self):
        pass


def session(parts):
    return [str(ROOT / "scripts" / "desktop-session"), "--only", parts, "--"]


def run(bench):
    bench.name_programs()
    # The client wants a session around it: this file again, inside one.
    os.environ["PYTHONPATH"] = os.pathsep.join(map(str, FOLDERS))
    rounds, seconds = ("2", "2") if bench.quick else ("9", str(bench.idle_seconds))
    rows = lines_of([*session("display,bus,keyring,wm,panel"), sys.executable, "-B", __file__, rounds, seconds])
    for name, figure, unit, budget in (
            ("start.tray", "start to the icon in the tray, median", "ms", 150),
            ("start.poll", "start to polling, with a tray, median", "ms", 150),
            ("start.slowest", "start to polling, slowest", "ms", None),
            ("cold", "summon to first frame, cold, median", "ms", 120),
            ("cold.slowest", "summon to first frame, cold, slowest", "ms", None),
            ("warm", "summon to first frame, warm, median", "ms", 40),
            ("warm.slowest", "summon to first frame, warm, slowest", "ms", None),
            ("idle", "memory before the first opening (PSS)", "MB", 30),
            ("open", "memory, popover open (PSS)", "MB", 70),
            ("after", "memory a minute after closing (PSS)", "MB", rows["idle"] + 5),
            ("idle.own", "of that nobody else's, before", "MB", None), ("open.own", "of that nobody else's, open", "MB", None),
            ("after.own", "of that nobody else's, after", "MB", None),
            ("idle.whole", "with all that others share (RSS), before", "MB", None),
            ("open.whole", "with all that others share (RSS), open", "MB", None),
            ("after.whole", "with all that others share (RSS), after", "MB", None),
            ("wakes", "idle wake-ups, with a tray", "a second", 1), ("written", "idle, written to disk", "bytes", 0)):
        bench.line(figure, "-", rows[name], unit, budget)
    rows = lines_of([*session("display,wm"), bench.program("bench", "screen", "screen_bench")])
    for name, figure, unit, budget in (
            ("frame.median", "streaming: a frame, median", "ms", 16.7), ("frame.p95", "streaming: a frame, 95 of 100", "ms", 16.7),
            ("frame.max", "streaming: a frame, longest", "ms", 50),
            ("delta.median", "streaming: taking a delta, median", "ms", None)):
        bench.line(figure, 2000, rows[name], unit, budget)
    bench.line("streaming: frames", 2000, rows["frames"], "a second", 59, higher=True)  # of 60


def painted(log, count):
    """The times from the summon to the first frame, in ms, once there are `count` of them."""
    def times():
        found = re.findall(r"first frame after (\d+\.\d+) ms", pathlib.Path(log).read_text(errors="replace"))
        return [float(value) for value in found] if len(found) >= count else None
    return wait_for(times, "the popover is painted")


def say(name, value, unit):
    print(f"{name}\t{value}\t{unit}", flush=True)


def inside(rounds, idle_seconds):
    with whole_system(Desktop) as system:
        client = system.client
        client.environment.update(QT_LOGGING_RULES="vennic.screen.debug=true", NO_AT_BRIDGE="1")
        system.start_all()
        cold = starts(system, rounds)
        pid = client.process.pid
        time.sleep(min(10, idle_seconds))  # what follows a start has settled
        woken, wrote, begun = wake_ups(pid), written(pid), time.monotonic()
        time.sleep(idle_seconds)
        say("wakes", woken_since(woken, pid) / (time.monotonic() - begun), "a second")
        say("written", written(pid) - wrote, "bytes")
        memories("idle", pid)
        client.verb("toggle")
        cold.append(painted(client.log, rounds + 1)[-1])
        time.sleep(2)
        memories("open", pid)
        warm = []
        for number in range(2 * rounds):
            client.verb("toggle")
            time.sleep(0.3)
            client.verb("toggle")
            warm.append(painted(client.log, rounds + 2 + number)[-1])
        client.verb("toggle")
        time.sleep(MINUTE)
        memories("after", pid)
        for name, times in (("cold", cold), ("warm", warm)):
            say(name, median(times), "ms")
            say(name + ".slowest", max(times), "ms")


def starts(system, rounds):
    """Starts the client so many times, and once more; gives the times to the first frame of all but the last in ms."""
    watcher, tray, to_tray, to_poll, cold = Watcher(system), Tray(), [], [], []
    for number in range(rounds + 1):
        icons = len(tray.times)
        begun, polled = watcher.restart()
        to_poll.append((polled - begun) * 1000)
        to_tray.append((tray.next_after(icons) - begun) * 1000)
        wait_for(lambda: system.client.status()["index"]["ready"], "the index is settled")
        time.sleep(1)
        if number < rounds:
            system.client.verb("toggle")
            cold.append(painted(system.client.log, number + 1)[-1])
    tray.close()
    say("start.tray", median(to_tray), "ms")
    say("start.poll", median(to_poll), "ms")
    say("start.slowest", max(to_poll), "ms")
    return cold


def memories(name, pid):
    say(name, memory(pid) / 1024, "MB")
    say(name + ".own", memory(pid, "Pss_Anon") / 1024, "MB")
    say(name + ".whole", resident(pid), "MB")


if __name__ == "__main__":
    inside(int(sys.argv[1]), int(sys.argv[2]))
