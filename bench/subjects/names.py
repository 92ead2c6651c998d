"""Search by name in a deep tree, and building that index; beside updatedb and plocate."""
import subprocess
import unicodedata

from measure import command_ms, cpu_seconds, lines_of, present, warm

FULL = 1_000_000
COMMON = ["facture", "relevé bancaire 2019", "réunion"]
PARTS = ["de", "e"]
RARE = ["e5a1", "contrat guérin", "zzqxwvkj"]


def run(bench):
    for count in bench.counts(FULL):
        measure(bench, count)


def measure(bench, count):
    folder = bench.made("names", count)
    scratch = bench.scratch("names")
    database = scratch / "plocate.db"
    hits = scratch / "hits"
    warm(folder, contents=False)
    ours = lines_of([bench.program("bench", "index", "index_bench"), str(folder), str(scratch / "index"), "--hits",
                     str(hits), *RARE, *COMMON, *PARTS])
    theirs = None
    if present("updatedb") and present("plocate"):
        theirs = cpu_seconds(["updatedb", "-l", "0", "-U", str(folder), "-o", str(database), "--prunepaths", "",
                              "--prunenames", "", "--prunefs", ""])
    bench.line("names: build, CPU", count, ours["build.cpu"], "s", None, "updatedb", theirs)
    bench.line("names: index size", count, ours["index.bytes"] / 1e6, "MB", None, "plocate",
               database.stat().st_size / 1e6 if database.exists() else None)
    found = by_word(hits)
    lost = 0
    for word in RARE + COMMON + PARTS:
        command = ["plocate", "-d", str(database), "-i", "-b", *word.split()]
        wanted = (50 if word in COMMON else 1) if count == FULL else None
        bench.line(f"name {word}", count, ours["search." + word], "ms", 30, "plocate",
                   command_ms(command, 3) if theirs is not None else None, wanted)
        if theirs is not None:
            lost += compare(bench, word, found[word], command, str(folder))
    if theirs is not None:
        bench.line("words that lose names to plocate", count, lost, "words", 0)


def by_word(path):
    found = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        word, _, hit = line.partition("\t")
        found.setdefault(word, set()).add(hit)
    return found


def compare(bench, word, ours, command, root):
    """1 if plocate finds a name that we don't. It also finds hidden files, which we leave out; and it takes a
    decomposed accent for a letter and a sign, where we see the accented letter."""
    answer = subprocess.run(command, capture_output=True, text=True, check=False).stdout.splitlines()
    others = {path for path in answer if "/." not in path[len(root):] and path != root and composed_has(path, word)}
    missed, more = others - ours, ours - others - {""}
    decomposed = {path for path in more if unicodedata.normalize("NFC", path) != path}
    if more - decomposed:
        bench.say(f"{word}: {len(more - decomposed)} only ours, for example {sorted(more - decomposed)[0]}")
    if missed:
        bench.say(f"{word}: {len(missed)} only plocate's, for example {sorted(missed)[0]}")
    return 1 if missed else 0


def composed_has(path, words):
    name = unicodedata.normalize("NFC", path.rsplit("/", 1)[1]).lower()
    return all(word.lower() in name for word in words.split())
