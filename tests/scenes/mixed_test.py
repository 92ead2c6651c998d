"""A thousand tasks of mixed kinds over a bad road."""
import os
import unittest

from mixed import MixedTasks
from scene import proportional_memory

BATCH = 50
GROWTH = 2048  # kB of PSS that may come between two hundred and a thousand tasks


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
        memory, descriptors = self.holdings()
        self.assertLessEqual(descriptors, before[1] + 2)
        # A killed worker may wait for its burial until its next document.
        buried_late = [name for _, name, state in self.client.children() if state == "Z" and "worker" not in name]
        self.assertEqual(buried_late, [])
        if "VENNIC_SANITIZED" not in os.environ:  # a sanitizer keeps what has been freed
            self.assertLessEqual(memory - before[0], GROWTH)

    def holdings(self):
        return proportional_memory(self.client.process.pid), self.descriptors()


if __name__ == "__main__":
    unittest.main()
