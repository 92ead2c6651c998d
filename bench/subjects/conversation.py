"""Persisting one piece of an answer in a long conversation, beside encoding the whole of it by Qt."""
from measure import lines_of


def run(bench):
    rows = lines_of([bench.program("bench", "core", "conversation_bench")])
    for messages in (50, 500):
        size = round(rows[f"{messages}.bytes"] / 1000)
        bench.say(f"conversation of {size} kB")
        bench.line("conversation: a delta, median", messages, rows[f"{messages}.delta.median"], "ms", 0.3, "Qt, whole",
                   rows[f"{messages}.whole.median"])
        bench.line("conversation: a delta, 95 of 100", messages, rows[f"{messages}.delta.p95"], "ms")
        bench.line("conversation: a delta of the local model, median", messages, rows[f"{messages}.local.median"], "ms", 0.3,
                   "Qt, whole", rows[f"{messages}.whole.median"])
        bench.line("conversation: a delta of the local model, 95 of 100", messages, rows[f"{messages}.local.p95"], "ms")
