"""benchmarks/compare notices what got worse, does not take noise for it, and refuses what is typed wrongly."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "benchmarks"))
import comparison  # noqa: E402


def row(ratio, what="copy"):
    return comparison.Row(what, [ratio * peer for peer in (1.0, 1.1, 1.2)], "s", "cp", [1.0, 1.1, 1.2])


class Expected(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name) / "expected.json"

    def expect(self, **rows):
        self.path.write_text(json.dumps(rows))
        return comparison.Expectations(self.path)

    def check(self, expectations, first, *again):
        runs = iter(again)
        return comparison.check([first], expectations, lambda: [next(runs)], len(again))

    def test_takes_what_is_as_expected(self):
        expectations = self.expect(copy={"low": 0.9, "ratio": 1.0, "high": 1.1})
        self.assertEqual([], self.check(expectations, row(1.1), row(9.0)))

    def test_names_what_is_more_than_half_as_long_again(self):
        expectations = self.expect(copy={"low": 0.9, "ratio": 1.0, "high": 1.1})
        self.assertEqual([], self.check(expectations, row(1.49)))
        [complaint] = self.check(expectations, row(1.6), row(1.6), row(1.6))
        self.assertEqual("copy: got worse: 1.60 (1.60-1.60), expected 1.00, 1.50 at most", complaint)

    def test_allows_room_above_a_wide_spread(self):
        expectations = self.expect(copy={"low": 0.5, "ratio": 1.0, "high": 1.6})
        self.assertEqual([], self.check(expectations, row(1.99)))
        self.assertNotEqual([], self.check(expectations, row(2.01)))

    def test_measures_again_what_seems_worse(self):
        expectations = self.expect(copy={"low": 0.9, "ratio": 1.0, "high": 1.1})
        self.assertEqual([], self.check(expectations, row(2.0), row(1.9), row(1.0)))

    def test_never_takes_a_good_row_for_worse_later(self):
        expectations = self.expect(copy={"low": 0.9, "ratio": 1.0, "high": 1.1},
                                   move={"low": 0.9, "ratio": 1.0, "high": 1.1})
        runs = iter([[row(1.0), row(2.0, "move")]])
        self.assertEqual([], comparison.check([row(2.0), row(1.0, "move")], expectations, lambda: next(runs), 1))

    def test_complains_of_a_row_that_nothing_is_expected_of(self):
        [complaint] = self.check(self.expect(), row(1.0))
        self.assertIn("copy: nothing is expected of it yet", complaint)

    def test_does_not_judge_mere_times(self):
        self.assertEqual([], self.check(self.expect(), comparison.Row("copy", [5.0, 6.0, 7.0], "ms")))

    def test_judges_growth_and_memory(self):
        for unit in ("", "MiB"):
            expectations = self.expect(copy={"low": 9, "ratio": 10, "high": 11})
            [complaint] = self.check(expectations, comparison.Row("copy", [16.0, 16.0, 16.0], unit))
            self.assertIn("copy: got worse: 16.00", complaint)

    def test_learns_ratio_and_spread(self):
        expectations = self.expect(move={"low": 1, "ratio": 1, "high": 1})
        expectations.learn([comparison.Row("copy", [1.0, 2.0, 3.0], "s", "cp", [1.0, 1.0, 1.0])])
        expectations.write()
        self.assertEqual({"copy": {"low": 1.5, "ratio": 2.0, "high": 2.5}, "move": {"low": 1, "ratio": 1, "high": 1}},
                         comparison.Expectations(self.path).rows)

    def test_refuses_a_damaged_file(self):
        for text in ("{", "[]", '{"copy": 1}', '{"copy": {"low": 1, "ratio": 1}}',
                     '{"copy": {"low": 1, "ratio": "1", "high": 1}}', '{"copy": {"low": 0, "ratio": 1, "high": 1}}',
                     '{"copy": {"low": 1, "ratio": true, "high": 1}}', '{"copy": {"low": 2, "ratio": 1, "high": 3}}'):
            self.path.write_text(text)
            with self.assertRaisesRegex(comparison.Mistake, "^expected.json: ", msg=text):
                comparison.Expectations(self.path)

    def test_expects_something_of_each_row_that_the_project_has(self):
        self.assertNotEqual({}, comparison.Expectations(ROOT / "benchmarks" / "expected.json").rows)


class Figures(unittest.TestCase):
    def test_ratio_is_the_median_from_turn_to_turn(self):
        # The machine got slower in the last turn, for both.
        measured = comparison.Row("copy", [1.0, 1.1, 8.0], "s", "cp", [1.0, 1.0, 8.0])
        self.assertEqual(1.0, measured.ratio().median)

    def test_table_has_quartiles_beside_medians(self):
        text = comparison.table([comparison.Row("copy", [1.0, 2.0, 3.0], "s", "cp", [1.0, 1.0, 1.0], "1.00")])
        self.assertIn("2.000 s (1.500-2.500)", text)
        self.assertIn("1.000 s (1.000-1.000)", text)
        self.assertIn("2.00 (1.50-2.50)", text)


class Typed(unittest.TestCase):
    def refused(self, *words):
        ended = subprocess.run([sys.executable, "-B", ROOT / "benchmarks" / "compare", *words], capture_output=True,
                               text=True, timeout=60)
        self.assertEqual(2, ended.returncode, ended.stderr)
        return ended.stderr

    def test_refuses_a_row_that_there_is_not(self):
        self.assertIn("fetsch: no such row; there are fetch, series", self.refused("fetsch"))

    def test_refuses_too_few_turns(self):
        self.assertIn("2 turns are too few; 3 at least", self.refused("2", "fetch"))

    def test_refuses_a_number_in_the_place_of_a_row(self):
        self.assertIn("3: no such row", self.refused("fetch", "3"))

    def test_refuses_to_check_and_to_expect_at_once(self):
        self.assertIn("not allowed with", self.refused("--check", "--expect"))

    def test_refuses_slow_rows_when_quick_ones_are_wanted(self):
        self.assertIn("none of these rows is quick", self.refused("--quick", "extraction-many"))


if __name__ == "__main__":
    unittest.main()
