"""What the subjects of scripts/bench share: where things are, which sizes are wanted, how a peer's command is timed,
and the lines that are printed."""
import json
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent


class Bench:
    """One run: its build, its corpora, and the figures measured so far."""

    def __init__(self, build, corpus, sizes, quick, idle_seconds, settle_seconds, recoll_documents):
        self.build, self.corpus, self.sizes, self.quick = build, corpus, sizes, quick
        self.idle_seconds, self.settle_seconds, self.recoll_documents = idle_seconds, settle_seconds, recoll_documents
        self.figures = []  # (figure, size, value, unit) where the size is a number
        self.missing = []
        self.judged = self.missed = 0

    def program(self, *path):
        return str(self.build.joinpath(*path))

    def name_programs(self):
        """Tells the scenes which programs to run."""
        os.environ.update(VENNIC=self.program("bin", "vennic"), VENNIC_WORKER=self.program("bin", "vennic-worker"),
                          VENNIC_SERVER=self.program("server", "vennic-server"))

    def counts(self, full):
        """The sizes wanted of a subject whose whole size is `full`, the smallest first."""
        parts = {"quick": 100, "tenth": 10, "full": 1}
        return [full // parts[size] for size in self.sizes]

    def made(self, kind, count):
        """The folder of `count` files of a kind, made now unless an earlier run finished it."""
        folder = self.corpus / f"{kind}-{count}"
        done = self.corpus / f"{kind}-{count}.done"
        if not done.exists():
            self.corpus.mkdir(parents=True, exist_ok=True)
            self.say(f"making {kind}-{count}…")
            begun = time.monotonic()
            subprocess.run([sys.executable, str(ROOT / "bench" / "corpus.py"), kind, str(folder), "--count", str(count)],
                           check=True)
            done.write_text(f"{time.monotonic() - begun:.0f} s\n", encoding="ascii")
        return folder

    def scratch(self, name):
        """An empty folder of that name."""
        folder = self.corpus / "scratch" / name
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        return folder

    def say(self, text):
        print(f"# {text}", flush=True)

    def line(self, figure, size, value, unit, budget=None, peer=None, theirs=None, wanted=None, most=None,
             higher=False):
        """Prints a figure. `budget` is the most that it may be (the least, if `higher` is better); `wanted` the least
        number of times by which it should be better than the peer's figure `theirs`, in the same unit; `most` the
        greatest part of the peer's figure that it may be."""
        short = False
        cells = [f"{figure:<48}", f"{size:>9}", f"{shown(value):>9} {unit:<8}"]
        if budget is None:
            cells.append(" " * 11)
        else:
            short = value < budget if higher else value > budget
            cells.append(f"{'≥' if higher else '≤'} {shown(budget):<9}")
        if peer and theirs is None:
            self.missing.append(peer)
            cells.append(f"{peer} missing")
        elif peer:
            better = (value / theirs if higher else theirs / value) if value and theirs else float("nan")
            ratio = better if most is None else 1 / better
            cells.append(f"{peer:<12} {shown(theirs):>9} {shown(ratio) + ' ×':>9}")
            if wanted is not None:
                short = short or not ratio >= wanted
                cells.append(f"≥ {shown(wanted)} ×")
            if most is not None:
                short = short or not ratio <= most
                cells.append(f"≤ {shown(most)} ×")
        judged = budget is not None or (theirs is not None and (wanted is not None or most is not None))
        if judged and not self.quick:  # a hundredth is too small to judge by
            cells.append("miss" if short else "pass")
            self.missed += short
            self.judged += 1
        cells.append(f"load {os.getloadavg()[0]:.1f}")
        print("  ".join(cells).rstrip(), flush=True)
        if isinstance(size, int) and (figure, size) not in [f[:2] for f in self.figures]:
            self.figures.append((figure, size, value, unit))

    def growth(self):
        """What each figure costs at ten times the size."""
        by_name = {}
        for figure, size, value, unit in self.figures:
            by_name.setdefault(figure, []).append((size, value, unit))
        pairs = {name: sorted(rows) for name, rows in by_name.items() if len(rows) > 1}
        if pairs:
            print(f"\n{'growth':<48}       from           to")
        for name, rows in pairs.items():
            (small, low, unit), (big, high, _) = rows[0], rows[-1]
            if low:
                factor = f"{shown(high / low)} × for {shown(big / small)} ×"
                print(f"{name:<48}  {shown(low):>9}    {shown(high):>9} {unit:<8}  {factor}")


def shown(number):
    if number != number:
        return "-"
    if abs(number) >= 1000:
        return f"{number:,.0f}".replace(",", " ")
    return f"{number:.3g}"


def present(program):
    return shutil.which(program) is not None


def command_ms(command, runs=5):
    """The median wall time of a command in ms, warm, its output read and thrown away; none if it is missing."""
    if not present(command[0]) or not present("hyperfine"):
        return None
    quoted = " ".join("'" + part.replace("'", "'\\''") + "'" for part in command)
    answer = subprocess.run(["hyperfine", "-N", "-i", "--warmup", "1", "--runs", str(runs), "--output", "pipe", "--style",
                             "none", "--export-json", "/dev/stdout", quoted], capture_output=True, check=False)
    if answer.returncode != 0:
        raise RuntimeError("hyperfine: " + answer.stderr.decode(errors="replace"))
    return json.loads(answer.stdout)["results"][0]["median"] * 1000


def cpu_seconds(command, **options):
    """Processor time of a command and of its children, which must succeed."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def lines_of(command):
    """Standard output of a bench program of ours: name, value, unit on each line, tabs between."""
    answer = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True)
    rows = {}
    for line in answer.stdout.splitlines():
        name, value, _ = line.split("\t")
        rows[name] = float(value)
    return rows


def warm(folder, contents):
    """Brings a tree, and what its files hold, into the disk caches, so that nobody pays for being the first."""
    for parent, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(parent, name)
            if contents:
                with open(path, "rb") as file:
                    file.read()
            else:
                os.lstat(path)


def bytes_below(folder):
    return sum(os.lstat(os.path.join(parent, name)).st_size for parent, _, names in os.walk(folder) for name in names)


def forget_highest(pid):
    """The process's highest memory counts from now on."""
    pathlib.Path(f"/proc/{pid}/clear_refs").write_text("5", encoding="ascii")


def highest(pid):
    """The most memory that a process has had at once, in MB (resident, shared pages whole)."""
    return status_mb(pid, "VmHWM")


def resident(pid):
    return status_mb(pid, "VmRSS")


def status_mb(pid, name):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1]) / 1024
    raise RuntimeError(f"no {name} line")


def load():
    return " ".join(f"{value:.1f}" for value in os.getloadavg())


median = statistics.median
