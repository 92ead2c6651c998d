"""The popover of the real client on an X server without a screen: how soon it is painted, what it takes of memory, and
what the frames of a streamed answer cost."""
import os
import pathlib
import re
import subprocess
import sys
import time

from measure import ROOT, lines_of, median
from soak import memory, whole_system

SESSION = [str(ROOT / "scripts" / "desktop-session"), "--only", "display,wm", "--"]


def run(bench):
    bench.name_programs()
    rows = lines_of(SESSION + [bench.program("bench", "screen", "screen_bench")])
    for name, figure, unit, budget in (
            ("frame.median", "streaming: a frame, median", "ms", 16.7), ("frame.p95", "streaming: a frame, 95 of 100", "ms", 16.7),
            ("frame.max", "streaming: a frame, longest", "ms", 50), ("frames", "streaming: frames", "a second", None),
            ("delta.median", "streaming: taking a delta, median", "ms", None)):
        bench.line(figure, 2000, rows[name], unit, budget)
    # The rest wants the client on a display: this file again, inside a session.
    answer = subprocess.run(SESSION + [sys.executable, __file__, "1" if bench.quick else "8"], check=True,
                            stdout=subprocess.PIPE, text=True,
                            env={**os.environ, "PYTHONPATH": os.pathsep.join(map(str, (ROOT / "bench", ROOT / "tests" / "scenes")))})
    figures = dict(line.split("\t") for line in answer.stdout.splitlines())
    for name, figure, unit, budget in (
            ("cold", "summon to first frame, cold", "ms", 120), ("warm", "summon to first frame, warm", "ms", 40),
            ("idle", "memory before the first opening", "MB", 30), ("open", "memory, popover open", "MB", 70),
            ("after", "memory a minute after closing", "MB", float(figures["idle"]) + 5)):
        bench.line(figure, "-", float(figures[name]), unit, budget)


def painted(log, count):
    """The times from the summon to the first frame, in ms, once there are `count` of them."""
    end = time.monotonic() + 30
    while time.monotonic() < end:
        found = re.findall(r"first frame after (\d+\.\d+) ms", log.read_text(errors="replace"))
        if len(found) >= count:
            return [float(value) for value in found]
        time.sleep(0.02)
    raise RuntimeError(log.read_text(errors="replace"))


def inside(rounds):
    with whole_system() as system:
        client = system.client
        client.environment.update(DISPLAY=os.environ["DISPLAY"], QT_LOGGING_RULES="vennic.screen.debug=true",
                                  NO_AT_BRIDGE="1")
        system.start_all()
        time.sleep(3)
        pid = client.process.pid
        print(f"idle\t{memory(pid) / 1024}")
        for number in range(rounds):
            client.verb("toggle")
            times = painted(pathlib.Path(client.log), number + 1)
            if number == 0:
                time.sleep(2)
                print(f"open\t{memory(pid) / 1024}")
            client.verb("toggle")
            time.sleep(0.3)
        print(f"cold\t{times[0]}")
        print(f"warm\t{median(times[1:] or times)}")
        time.sleep(63)
        print(f"after\t{memory(pid) / 1024}")


if __name__ == "__main__":
    inside(int(sys.argv[1]))
