"""Tasks of mixed kinds for a real client, with faults on their road, and an exact account of what became of each."""
import collections
import os
import pathlib
import random
import signal

from proxy import FaultProxy, Outcome
from reach import MALFORMED, NO_PICTURE, REPEATABLE, ROWS, World
from scene import PATIENCE, Scene, wait_for

LOST = "La machine a demandé la tâche suivante sans répondre à celle-ci."
# What a desktop session gives its programs.
SESSION = ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "XDG_CURRENT_DESKTOP")


class MixedTasks(Scene):
    """A client that reaches the backend through the proxy, and the account of what it is asked."""

    def begin(self, seed):
        self.chance = random.Random(seed)
        self.faults = []  # what was wrong, in words
        self.sent = self.killed = 0  # tasks of batches; workers
        self.served = 0  # the tasks that reached the client so that it could decode them, each time anew
        self.effects = collections.Counter()  # what those were to leave behind
        self.proxy = FaultProxy(self.folder)
        self.addCleanup(self.proxy.stop)
        config = self.folder / "config"
        self.client.environment.update({name: os.environ[name] for name in SESSION if name in os.environ},
                                       XDG_CONFIG_HOME=str(config))
        self.world = World(self.folder, self.shared, self.folder / "data", config)
        self.start_all()
        self.world.folder_id = self.client.status()["shares"][0]["id"]
        # A search finds what the index hasn't read yet, but not what it will read once more because its reader was
        # killed: that must have been read before workers are.
        wait_for(lambda: self.client.status()["index"]["ready"], "the index has read everything")
        self.find("besançon", "ancien.txt")
        self.find("hortensia", "bail.md")
        for name in ("lettre.pdf", "reçu.png", "archive.zip"):
            self.find(name.split(".")[0], name)
        allowed = self.client.verb("photos", "allow")
        self.assertEqual(allowed.returncode, 0, allowed.stderr)
        wait_for(lambda: self.backend.run(self.device, "photos_recent")["result"]["items"], "the photo is in the library")

    def deploy(self):
        self.proxy.lead_to(self.backend)
        self.deploy_to(self.proxy.url, self.proxy.certificate)

    def batch(self, count, wire=(), malformed=0, disturb=None):
        """Sends tasks of chosen kinds, `malformed` of them beyond decoding, while the `wire` faults wait for theirs;
        calls `disturb` once a part is answered, and judges every end."""
        self.world.learn(self.search)
        self.account({})  # of what was asked beside the batches
        killed, before = self.killed, self.proxy.heard
        for fault in wire:
            self.proxy.arm(fault)
        rows = self.chance.choices(ROWS, [row.weight for row in ROWS], k=count - malformed) + [None] * malformed
        self.chance.shuffle(rows)
        tasks = [self.send(row) for row in rows]
        self.sent += count
        if disturb:
            part = before + self.chance.randrange(1, count // 2)
            self.assertTrue(self.proxy.wait(lambda: self.proxy.heard >= part, PATIENCE), "the client answers")
            disturb()
        ended = [self.backend.finished(task) for task in tasks]
        self.assertEqual(self.proxy.armed, [], "every fault that waited has happened")
        deliveries = self.account({task["id"]: row for task, row in zip(tasks, rows)})
        wrong = [fault for task, row in zip(ended, rows) for fault in self.judged(task, row, deliveries.get(task["id"], []))]
        # A killed worker costs one task at most.
        excused = [fault for row, fault in wrong if row and row.boxed][:self.killed - killed]
        self.faults += [fault for _, fault in wrong if fault not in excused]

    def send(self, row):
        if row:
            return self.backend.send(self.device, row.kind, row.asked(self.world))
        return self.backend.send(self.device, *self.chance.choice(MALFORMED), unchecked=True)

    def account(self, rows):
        """Adds up what has passed since the last time; `rows` are those of a batch, None where no client can decode
        it. Gives the deliveries back."""
        self.assertTrue(self.proxy.wait(lambda: self.proxy.under_way == 0, PATIENCE), "every word of the client is settled")
        deliveries = self.proxy.hand_over()
        for task_id, each in deliveries.items():
            if task_id in rows and rows[task_id] is None:
                continue
            self.served += len(each)
            if task_id in rows and rows[task_id].effect:
                self.effects[rows[task_id].effect] += len(each)
        return deliveries

    def judged(self, task, row, deliveries):
        """What is wrong with the end of a task, as pairs of its row and words: the backend's record is compared with
        what passed through the proxy, and what the client said with the row."""
        words = [word for delivery in deliveries for word in delivery.words]
        recorded = (task["state"], task["result"] if task["state"] == "done" else task["error_message"])
        if row is None:
            if words or recorded != ("timeout", LOST):
                yield row, f"{task['kind']} can't be decoded, and ended as {recorded}"
            return
        possible = [record(word.said) for word in words if word.outcome is Outcome.TAKEN]
        if not possible:  # nothing came through, or it isn't known whether it did
            possible = [record(word.said) for word in words if word.outcome is Outcome.UNKNOWN] + [("timeout", LOST)]
        if recorded not in possible:
            yield None, f"{task['kind']} is recorded as {recorded} instead of {possible}"
        if len(deliveries) > (2 if row.kind in REPEATABLE else 1):
            yield None, f"{row.kind} was delivered {len(deliveries)} times"
        for word in words:
            # A picture whose answer was cut off is answered once more, by none.
            second = row.kind == "thumbnail" and word is not words[0] and word.said == NO_PICTURE
            if not second and not self.is_right(row, word.said):
                yield row, f"{row.kind} {task['args']}: {word.said}"

    def is_right(self, row, said):
        try:
            return row.is_right(said, self.world)
        except (KeyError, IndexError, TypeError, ValueError):
            return False

    def kill_workers(self):
        for worker in self.client.workers():
            os.kill(worker, signal.SIGKILL)
            self.killed += 1

    def kill_backend(self):
        self.backend.kill()
        self.backend.start()
        self.proxy.lead_to(self.backend)

    def await_rest(self):
        wait_for(lambda: self.client.status()["bridge"] == "polling", "the client waits for its next task")

    def check_account(self):
        """That the client counted each task that it received once, and did each thing once."""
        self.account({})
        self.await_rest()
        self.assertEqual(self.client.status()["tasks_served"], self.served)
        wait_for(lambda: self.world.seen_effects().total() >= self.effects.total(), "what was started is done")
        self.assertEqual(self.world.seen_effects(), self.effects)

    def descriptors(self):
        return len(list(pathlib.Path(f"/proc/{self.client.process.pid}/fd").iterdir()))


def record(said):
    """What the backend makes of the client's word."""
    return ("done", said["result"]) if said["status"] == "done" else ("error", said["error_message"])
