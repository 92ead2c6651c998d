import contextlib
import io
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / folder) for folder in ("bench", "bench/subjects", "tests/scenes")]

import measure  # noqa: E402
import names  # noqa: E402


def bench(quick=False, corpus="/nowhere"):
    return measure.Bench(ROOT / "build" / "release", pathlib.Path(corpus), ["tenth", "full"], quick, 1, 1, 5000)


def printed(action):
    with contextlib.redirect_stdout(io.StringIO()) as out:
        action()
    return out.getvalue()


class BenchTest(unittest.TestCase):
    def testAFigureIsJudgedByItsBudgetAndCounted(self):
        run = bench()
        self.assertIn("miss", printed(lambda: run.line("x", 10, 3.1, "ms", 3)))
        self.assertIn("pass", printed(lambda: run.line("x", 10, 2.9, "ms", 3)))
        self.assertIn("miss", printed(lambda: run.line("frames", 10, 50, "a second", 59, higher=True)))
        self.assertEqual((run.judged, run.missed), (3, 2))

    def testAFigureWithoutABudgetIsNotJudged(self):
        run = bench()
        line = printed(lambda: run.line("x", 10, 2, "ms", None, "peer", 12))
        self.assertNotIn("pass", line)
        self.assertRegex(line, r"load \d")
        self.assertEqual(run.judged, 0)

    def testARatioSaysHowManyTimesBetterThePeerIsBeaten(self):
        line = printed(lambda: bench().line("x", 10, 2, "ms", None, "peer", 12, 6))
        self.assertIn("6 ×", line)
        self.assertNotIn("miss", line)
        self.assertIn("miss", printed(lambda: bench().line("x", 10, 2, "ms", None, "peer", 11, 6)))
        self.assertIn("miss", printed(lambda: bench().line("x", 10, 12, "p/s", None, "peer", 10, 1.3, higher=True)))

    def testAPartOfThePeersFigureIsJudgedByItsMost(self):
        self.assertNotIn("miss", printed(lambda: bench().line("x", 10, 1.4, "ms", None, "peer", 1, most=1.5)))
        self.assertIn("miss", printed(lambda: bench().line("x", 10, 1.6, "ms", None, "peer", 1, most=1.5)))

    def testAHundredthIsNotJudged(self):
        self.assertNotIn("miss", printed(lambda: bench(quick=True).line("x", 10, 9, "ms", 3)))

    def testAMissingPeerIsSaidMissing(self):
        run = bench()
        self.assertIn("peer missing", printed(lambda: run.line("x", 10, 2, "ms", None, "peer", None, 6)))
        self.assertEqual(run.missing, ["peer"])
        self.assertIsNone(measure.command_ms(["no-such-program-anywhere"]))

    def testGrowthPutsTheTenthBesideTheWhole(self):
        run = bench()

        def two():
            run.line("x", 100, 2, "ms")
            run.line("x", 1000, 6, "ms")
            run.growth()
        self.assertIn("3 × for 10 ×", printed(two))

    def testACorpusIsMadeOnceAndTheSameEveryTime(self):
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            made = [bench(corpus=folder) for folder in (first, second)]
            folders = []
            printed(lambda: folders.extend(run.made("names", 50) for run in made))
            told = [sorted(str(path.relative_to(folder)) for path in folder.rglob("*")) for folder in folders]
            self.assertEqual(told[0], told[1])
            self.assertEqual(sum(path.is_file() for path in folders[0].rglob("*")), 50)
            self.assertEqual(printed(lambda: made[0].made("names", 50)), "")

    def testAnUnfinishedCorpusIsFinished(self):
        with tempfile.TemporaryDirectory() as corpus:
            (pathlib.Path(corpus) / "pdfs-2").mkdir()
            folders = []
            printed(lambda: folders.append(bench(corpus=corpus).made("pdfs", 2)))
            self.assertEqual(len(os.listdir(folders[0])), 2)

    def testAComposedNameIsNotSplitIntoItsLetters(self):
        self.assertFalse(names.composed_has("/a/de\u0301cembre.pdf", "de"))
        self.assertTrue(names.composed_has("/a/de\u0301cembre.pdf", "dé pdf"))

    def testAnUnknownSubjectIsRefusedBeforeAnythingIsBuilt(self):
        answer = subprocess.run([ROOT / "scripts" / "bench", "weather"], capture_output=True, text=True, check=False)
        self.assertEqual(answer.returncode, 2)
        self.assertIn("no such subject: weather", answer.stderr)


if __name__ == "__main__":
    unittest.main()
