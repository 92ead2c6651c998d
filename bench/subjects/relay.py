"""Inference relayed to the backend: the delay of a piece of text beside a libcurl that reads the same stream, and the
processor time of a thousand tokens."""
from measure import lines_of


def run(bench):
    sizes = ["30", "100", "5000"] if bench.quick else ["300", "1000", "100000"]
    rows = lines_of([bench.program("bench", "bridge", "relay_bench"), *sizes])
    first, theirs = rows["first.median"], rows["curl.median"]
    bench.line("first token, median", "-", first, "ms", None, "curl", theirs)
    bench.line("first token, added to curl's", "-", max(first - theirs, 0), "ms", 2)
    bench.line("first token, 99 of 100", "-", rows["first.p99"], "ms", None, "curl", rows["curl.p99"])
    bench.line("update, added to curl's", "-", max(rows["update.newest.median"] - theirs, 0), "ms", 2)
    bench.line("update, 99 of 100", "-", rows["update.newest.p99"], "ms")
    # A piece waits for twenty characters or the one that comes after 0.05 s: 60 ms at 100 tokens a second.
    bench.line("oldest token of an update, median", "-", rows["update.oldest.median"], "ms", 60)
    bench.line("tokens of an update", "-", rows["update.tokens"], "tokens")
    bench.line("processor, 1,000 tokens at 100/s", "-", rows["paced.cpu"], "ms")
    bench.line("processor, 1,000 tokens in a flood", "-", rows["flood.cpu"], "ms")
    bench.line("flood", "-", rows["flood.speed"], "tokens/s", higher=True)
