"""A trivial task from the answer of the poll to its PATCH, beside two bare requests on a kept-alive connection."""
from measure import lines_of


def run(bench):
    rows = lines_of([bench.program("bench", "bridge", "bridge_task_bench"), "500" if bench.quick else "5000"])
    bench.line("trivial task, median", "-", rows["task.median"], "ms", 2, "bare pair", rows["bare.median"], most=1.5)
    bench.line("trivial task, 99 of 100", "-", rows["task.p99"], "ms", None, "bare pair", rows["bare.p99"])
