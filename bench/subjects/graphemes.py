"""Counting user-perceived characters, beside ICU's break iterator in the same process."""
from measure import lines_of

MEGABYTES = 20


def run(bench):
    documents = bench.made("docs", 500 if bench.quick else 5000)
    text = bench.scratch("graphemes") / "documents.txt"
    left = (2 if bench.quick else MEGABYTES) * 1_000_000
    with open(text, "wb") as out:
        for path in sorted(documents.rglob("*.txt")):
            left -= out.write(path.read_bytes())
            if left <= 0:
                break
    rows = lines_of([bench.program("bench", "worker", "graphemes_bench"), str(text)])
    for kind in ("documents", "ascii", "mixed"):
        bench.line(f"graphemes, {kind}", "-", rows[f"{kind}.ours"], "MB/s", None, "ICU", rows[f"{kind}.icu"], higher=True)
