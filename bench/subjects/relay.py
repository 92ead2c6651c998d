"""Inference relayed to the backend: the delay of a piece of text beside a libcurl that reads the same stream, the
processor time of a thousand tokens, and the real client's memory under a flood."""
from measure import forget_highest, highest, lines_of, resident
from model_server import DONE, ModelServer, repeat, text, usage
from soak import whole_system

FLOOD = 100_000


def run(bench):
    sizes = ["30", "100", "5000"] if bench.quick else ["300", "1000", str(FLOOD)]
    rows = lines_of([bench.program("bench", "bridge", "relay_bench"), *sizes])
    first, theirs = rows["first.median"], rows["curl.median"]
    bench.line("first token, median", "-", first, "ms", None, "curl", theirs)
    bench.line("first token, added to curl's", "-", max(first - theirs, 0), "ms", 2)
    bench.line("first token, 99 of 100", "-", rows["first.p99"], "ms", None, "curl", rows["curl.p99"])
    update, theirs = rows["update.newest.median"], rows["curl.update.median"]
    bench.line("update, median", "-", update, "ms", None, "curl", theirs)
    bench.line("update, added to curl's", "-", max(update - theirs, 0), "ms", 2)
    bench.line("update, 99 of 100", "-", rows["update.newest.p99"], "ms", None, "curl", rows["curl.update.p99"])
    # A piece waits for twenty characters or the one that comes after 0.05 s: 60 ms at 100 tokens a second.
    bench.line("oldest token of an update, median", "-", rows["update.oldest.median"], "ms", 60)
    bench.line("tokens of an update", "-", rows["update.tokens"], "tokens")
    bench.line("processor, 1,000 tokens at 100/s", "-", rows["paced.cpu"], "ms")
    bench.line("processor, 1,000 tokens in a flood", "-", rows["flood.cpu"], "ms")
    bench.line("flood", "-", rows["flood.speed"], "tokens/s", higher=True)
    bench.name_programs()
    for count in bench.counts(FLOOD):
        with whole_system() as system:
            flood(bench, system, count)


def flood(bench, system, count):
    model = ModelServer(system.folder)
    system.addCleanup(model.stop)
    system.start_all()
    for words in (["endpoint", model.endpoint], ["name", "vennic/essai"], ["on"]):
        done = system.client.verb("model", *words)
        if done.returncode != 0:
            raise RuntimeError(done.stderr)
    infer(system, model, 100)
    pid = system.client.process.pid
    before = resident(pid)
    forget_highest(pid)
    infer(system, model, count)
    # An answer's end holds all of it, so its text is kept meanwhile: 0.8 MB of the 100 000.
    bench.line("memory under deltas, growth at most", count, highest(pid) - before, "MB", 8)
    after = resident(pid)
    bench.line("memory after them, growth", count, after - before, "MB", 4)
    for _ in range(3):
        infer(system, model, count)
    bench.line("memory after three times as many again, growth", count, resident(pid) - after, "MB", 1)


def infer(system, model, count):
    """Relays an answer of so many pieces."""
    model.script(repeat(count, text("mot ")), usage(9, count), DONE)
    task = system.backend.run(system.device, "llm_infer", {"openai_body_json": '{"messages":[]}'})
    if task["state"] != "done" or "".join(task["stream"]) != "mot " * count:
        raise RuntimeError(f"the inference ended as {task['state']}")
