"""Counting user-perceived characters, beside ICU's break iterator in the same process."""
from measure import lines_of


def run(bench):
    rows = lines_of([bench.program("bench", "worker", "graphemes_bench"), "2" if bench.quick else "20"])
    for text in ("french", "ascii", "mixed"):
        bench.line(f"graphemes, {text}", "-", rows[f"{text}.ours"], "MB/s", None, "ICU", rows[f"{text}.icu"],
                   20 if text == "french" else None, higher=True)
