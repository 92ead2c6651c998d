"""A thousand tasks of mixed kinds over a bad road."""
import os
import unittest

from mixed import MixedTasks
from scene import BOXED, memory

BATCH = 50
GROWTH = 1024  # kB of its own memory that may come between two hundred and a thousand tasks


class Mixed(MixedTasks):
    def test_a_thousand_mixed_tasks_with_faults_are_each_counted_once_and_leave_nothing_behind(self):
        self.begin(seed=3)
        plans = [{}, {"disturb": self.kill_workers}, {"wire": ["slow task", "slow answer"]}, {"disturb": self.kill_workers},
                 {"wire": ["answer", "receipt"]}, {"wire": ["task"]}, {"malformed": 2}, {"disturb": self.kill_backend},
                 {"wire": ["poll", "answer"], "disturb": self.kill_workers}, {"wire": ["receipt", "answer"]}]
        for number in range(20):
            if number == 4:
                self.await_rest()
                before = self.holdings()
            self.batch(BATCH, **plans[number % len(plans)])
        self.assertEqual(self.faults, [])
        self.assertGreater(self.killed, 0)
        self.check_account()
        after = self.holdings()
        self.assertLessEqual(after[1], before[1] + 2)
        # A killed worker may wait for its burial until its next document.
        buried_late = [name for _, name, state in self.client.children() if state == "Z" and name not in BOXED]
        self.assertEqual(buried_late, [])
        if "VENNIC_SANITIZED" not in os.environ:  # a sanitizer keeps what has been freed
            self.assertLessEqual(after[0] - before[0], GROWTH)

    def holdings(self):
        return memory(self.client.process.pid, "Pss_Anon"), self.descriptors()


if __name__ == "__main__":
    unittest.main()
