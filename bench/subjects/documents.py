"""Search by words in text documents, and building that index; beside recollindex with recollq, and ripgrep."""
import json
import os
import subprocess
import unicodedata

from measure import bytes_below, command_ms, cpu_seconds, lines_of, present, warm

FULL = 50_000
ABSENT = "zzqxwvkj"
COMMON = "contrat"
PARTS = ["tractation", "ion", "de", "xy", "e", "é"]  # of words: what a person types before the word is whole


def run(bench):
    for count in bench.counts(FULL):
        measure(bench, count)


def measure(bench, count):
    folder = bench.made("docs", count)
    planted = list(json.loads((bench.corpus / f"docs-{count}-planted.json").read_text(encoding="utf-8")))
    words = planted + [ABSENT, COMMON] + PARTS
    scratch = bench.scratch("documents")
    hits = scratch / "hits"
    warm(folder, contents=True)
    ours = lines_of([bench.program("bench", "index", "index_bench"), str(folder), str(scratch / "index"), "--hits",
                     str(hits), *words])
    recoll = Recoll(folder, bench.scratch("recoll")) if count <= bench.recoll_documents else None
    if count > bench.recoll_documents:
        bench.say(f"recoll left out at {count} documents: more than --recoll-documents {bench.recoll_documents}")
    of_text = ours["index.bytes"] / ours["text.bytes"] * 100
    bench.line("index build, CPU", count, ours["build.cpu"], "s", None, *peer("recollindex", recoll, "cpu", 20))
    bench.line("index size", count, ours["index.bytes"] / 1e6, "MB", None, *peer("recoll", recoll, "megabytes", 20))
    bench.line("index size, of the text", count, of_text, "%", 12 if count == FULL else None)
    bench.line("index build, peak memory", count, ours["memory.peak"], "MiB")
    found = hits_by_word(hits)
    differing = 0
    for word in words:
        name = f"search {word}"
        value = ours["search." + word]
        common = word == COMMON or word in PARTS
        budget = 60 if word in PARTS else 3
        bench.line(name, count, value, "ms", budget, "ripgrep",
                   command_ms(["rg", "-il", "-uu", "-F", "--", word, str(folder)], 3),
                   300 if count == FULL and word not in PARTS else None)
        if word in PARTS:
            bench.line(name + ", CPU", count, ours["cpu." + word], "ms")
        if recoll and word not in PARTS:
            bench.line(name, count, value, "ms", budget, "recollq", recoll.search_ms(word), 50 if common else 6)
        if present("rg"):
            differing += compare(bench, word, found[word], theirs(word, folder))
    if present("rg"):
        bench.line("words whose hits differ from rg's", count, differing, "words", 0)


def peer(name, recoll, attribute, wanted):
    return (name, getattr(recoll, attribute), wanted) if recoll else ()


def hits_by_word(path):
    found = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        word, _, hit = line.partition("\t")
        found.setdefault(word, set())
        if hit:
            found[word].add(hit)
    return found


def theirs(word, folder):
    """The files whose text holds the word as ripgrep sees it, and those, folders too, whose name holds it."""
    answer = subprocess.run(["rg", "-il", "-uu", "-F", "--", word, str(folder)], capture_output=True, text=True,
                            check=False)
    files = set(answer.stdout.splitlines())
    wanted = unicodedata.normalize("NFC", word).lower()
    for parent, folders, names in os.walk(folder):
        files |= {os.path.join(parent, n) for n in folders + names if wanted in unicodedata.normalize("NFC", n).lower()}
    return files


def compare(bench, word, ours, others):
    if ours == others:
        return 0
    example = sorted(ours ^ others)[0]
    bench.say(f"{word}: {len(ours - others)} only ours, {len(others - ours)} only ripgrep's, for example {example}")
    return 1


class Recoll:
    """An index made by recollindex, with a configuration of its own."""

    def __init__(self, folder, scratch):
        self.configuration = scratch
        self.cpu = self.megabytes = None
        if not present("recollindex") or not present("recollq"):
            return
        (scratch / "recoll.conf").write_text(f"topdirs = {folder}\nskippedPaths =\n", encoding="utf-8")
        self.cpu = cpu_seconds(["recollindex", "-c", str(scratch)], env=dict(os.environ, HOME=str(scratch)))
        self.megabytes = bytes_below(scratch / "xapiandb") / 1e6

    def search_ms(self, word):
        if self.cpu is None:
            return None
        return command_ms(["recollq", "-c", str(self.configuration), "-S", "mtime", "-D", "-n", "10", word])
