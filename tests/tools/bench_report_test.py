#!/usr/bin/env python3
"""Tests of bench/report: that nothing goes missing from the comparison, and that goals are judged as written."""

import contextlib
import io
import json
import os
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench" / "report"))

import instructions
import keep
import report
import results
import tables

try:
    import plots
except ModuleNotFoundError: # matplotlib is installed by ./dev bench
    plots = None


def run(name, cpu, real=0.0, unit="ns", threads=1, **more):
    return {"name": name, "run_name": name, "run_type": "iteration", "threads": threads, "cpu_time": cpu,
            "real_time": real, "time_unit": unit, **more}


class InDirectory(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(directory.name)
        pathlib.Path("results").mkdir()

    def write(self, name, goals, runs, context=None):
        if goals is not None:
            pathlib.Path(f"{name}_goals.txt").write_text(goals, encoding="utf-8")
        if runs is not None:
            content = {"context": context or {}, "benchmarks": runs}
            pathlib.Path(f"results/{name}.json").write_text(json.dumps(content), encoding="utf-8")

    def report(self, *only):
        """The result, the output and the page of a report."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            result = report.main(".", "results", list(only))
        return result, output.getvalue(), pathlib.Path("results/README.md").read_text(encoding="utf-8")

    def comparison(self, goals, runs):
        self.write("some", goals, runs)
        programs, mistakes = results.find_programs(".", "results")
        self.assertEqual(mistakes, [])
        return programs[0].comparisons[0]


class Goals(InDirectory):
    def test_a_goal_below_a_number_is_missed_by_that_number(self):
        goal = results.Goal("title", "own", "peer", "< 0.65")
        self.assertEqual([goal.met_by(ratio) for ratio in (0.649, 0.65, 0.651)], [True, False, False])

    def test_a_goal_of_at_most_a_number_is_met_by_that_number(self):
        goal = results.Goal("title", "own", "peer", "<= 1.1")
        self.assertEqual([goal.met_by(ratio) for ratio in (1.099, 1.1, 1.101)], [True, True, False])

    def test_a_pair_that_is_only_shown_meets_and_misses_nothing(self):
        self.assertIsNone(results.Goal("title", "own", "peer", "-").met_by(17.0))

    def test_comments_and_empty_lines_are_no_goals(self):
        pathlib.Path("some").write_text("# a ; b ; c ; -\n\n  # d\na ; b<C, D>/1 ; c ; -\n", encoding="utf-8")
        goals = results.read_goals("some")
        self.assertEqual([(goal.title, goal.own, goal.peer) for goal in goals], [("a", "b<C, D>/1", "c")])

    def test_lines_of_another_form_are_refused_with_their_place(self):
        for line in ("a ; b ; c", "a ; b ; c ; - ; d", "a ; ; c ; -", "a ; b ; c ; > 2", "a ; b ; c ; < x",
                     "a ; b ; c ; 1"):
            pathlib.Path("some").write_text("# head\n" + line + "\n", encoding="utf-8")
            with self.assertRaisesRegex(results.Mistake, "^some:2: "):
                results.read_goals("some")


class Times(InDirectory):
    def test_the_ratio_is_that_of_the_medians(self):
        found = self.comparison("a ; own ; peer ; < 2", [run("own", time) for time in (9, 1, 4)] +
                                [run("peer", time) for time in (2, 1, 100)])
        self.assertEqual((found.own, found.peer, found.ratio, found.met), (4, 2, 2, False))

    def test_cpu_time_counts_for_one_thread(self):
        found = self.comparison("a ; own ; peer ; -", [run("own", 3, real=50), run("peer", 4, real=1)])
        self.assertEqual(found.ratio, 0.75)

    def test_real_time_counts_for_threads_and_where_the_name_says_so(self):
        for name, threads in (("x/real_time", 1), ("x/manual_time", 1), ("x/threads:2", 2)):
            found = self.comparison(f"a ; own{name} ; peer{name} ; -", [
                run("own" + name, 9, real=3, threads=threads), run("peer" + name, 1, real=6, threads=threads)])
            self.assertEqual(found.ratio, 0.5)

    def test_real_time_is_not_compared_with_cpu_time(self):
        self.write("some", "a ; own/real_time ; peer ; -", [run("own/real_time", 1), run("peer", 1)])
        programs, mistakes = results.find_programs(".", "results")
        self.assertEqual(programs, [])
        self.assertIn("real time with CPU time", mistakes[0])

    def test_units_are_taken_into_account(self):
        found = self.comparison("a ; own ; peer ; -", [run("own", 2, unit="us"), run("peer", 4000)])
        self.assertEqual((found.own, found.ratio), (2000, 0.5))

    def test_aggregates_are_no_repetitions(self):
        found = self.comparison("a ; own ; peer ; -", [run("own", 2), run("own", 90, run_type="aggregate"),
                                                       run("peer", 4)])
        self.assertEqual(found.ratio, 0.5)


class Report(InDirectory):
    def test_is_whole_if_all_is_there(self):
        self.write("some", "a title ; own ; peer ; < 1\nanother ; peer ; own ; < 1\n", [run("own", 1), run("peer", 2)])
        result, output, page = self.report()
        self.assertEqual(result, 0)
        self.assertIn("1 of 2 goals are met", output)
        self.assertIn("| a title | 1.00 ns | 2.00 ns | 0.500 | below 1 | met |", page)
        self.assertIn("| another | 2.00 ns | 1.00 ns | 2.00 | below 1 | **not met** |", page)

    def test_fails_if_a_goal_names_what_was_not_measured(self):
        for goals in ("a ; own ; pear ; -", "a ; owl ; peer ; < 1"):
            self.write("some", goals, [run("own", 1), run("peer", 2)])
            result, output, page = self.report()
            self.assertEqual(result, 1)
            self.assertRegex(output, "has no benchmark '(pear|owl)'")
            self.assertIn("**not measured**", page)

    def test_a_goal_that_was_not_measured_is_not_met(self):
        self.write("some", "a ; own ; pear ; < 1", [run("own", 1)])
        self.assertIn("0 of 1 goals are met", self.report()[1])

    def test_fails_without_the_results_of_a_program(self):
        self.write("some", "a ; own ; peer ; -", None)
        result, output, _ = self.report()
        self.assertEqual(result, 1)
        self.assertIn("results/some.json", output)

    def test_fails_without_the_goals_of_a_program(self):
        self.write("some", None, [run("own", 1)])
        result, output, _ = self.report()
        self.assertEqual(result, 1)
        self.assertIn("some_goals.txt", output)

    def test_fails_if_a_benchmark_failed(self):
        self.write("some", "a ; own ; peer ; -",
                   [run("own", 1), run("peer", 2, error_occurred=True, error_message="no tree")])
        result, output, _ = self.report()
        self.assertEqual(result, 1)
        self.assertIn("no tree", output)

    def test_fails_if_the_results_are_not_what_a_program_writes(self):
        self.write("some", "a ; own ; peer ; -", [])
        for text in ("", "[]", '{"context": {}}'):
            pathlib.Path("results/some.json").write_text(text, encoding="utf-8")
            self.assertEqual(self.report()[0], 1, text)

    def test_fails_if_a_benchmark_took_no_time(self):
        for own, peer in ((0, 1), (1, 0)):
            self.write("some", "a ; own ; peer ; -", [run("own", own), run("peer", peer)])
            self.assertEqual(self.report()[0], 1)

    def test_a_mistake_in_one_program_leaves_the_others(self):
        self.write("bad", "a ; b", [run("own", 1)])
        self.write("good", "a title ; own ; peer ; -", [run("own", 1), run("peer", 2)])
        result, _, page = self.report()
        self.assertEqual(result, 1)
        self.assertIn("| a title |", page)

    def test_looks_at_those_named_only(self):
        self.write("bad", "a ; b", None)
        self.write("good", "a ; own ; peer ; -", [run("own", 1), run("peer", 2)])
        self.assertEqual(self.report("good")[0], 0)

    def test_the_file_of_another_program_is_no_benchmark(self):
        self.write("scale", None, [])
        self.assertEqual(self.report()[0], 0)

    def test_bars_in_titles_do_not_cut_a_table(self):
        self.write("some", "a | b ; own ; peer ; -", [run("own", 1), run("peer", 2)])
        self.assertIn("| a \\| b |", self.report()[2])

    def test_tells_machines_that_differ_apart(self):
        for name, machine in (("first", "old"), ("second", "new")):
            self.write(name, "a ; own ; peer ; -", [run("own", 1), run("peer", 2)],
                       {"num_cpus": 2, "facts": {"machine": machine, "peers": {"Boost": "1.74"}}})
        page = self.report()[2]
        self.assertIn("first:\n\n| | |\n|---|---|\n| Machine | old |", page)
        self.assertIn("second:\n\n| | |\n|---|---|\n| Machine | new |", page)


class Sweeps(InDirectory):
    def sweeps(self, goals, names):
        self.write("some", goals, [run(name, index + 1.0, real=index + 1.0) for index, name in enumerate(names)])
        programs, mistakes = results.find_programs(".", "results")
        self.assertEqual(mistakes, [])
        return programs[0].sweeps()

    def test_three_sizes_are_a_series(self):
        found = self.sweeps("a ; own/16 ; peer/16 ; -",
                            [f"{who}/{size}" for who in ("own", "peer") for size in (64, 16, 4)])
        self.assertEqual(found, [[("own", True, None, [(4, 3), (16, 2), (64, 1)]),
                                  ("peer", False, None, [(4, 6), (16, 5), (64, 4)])]])

    def test_the_argument_may_have_a_name(self):
        found = self.sweeps("a ; own/size:1 ; peer/size:1 ; -",
                            [f"{who}/size:{n}" for who in ("own", "peer") for n in (1, 2, 3)])
        self.assertEqual([series[2] for series in found[0]], ["size", "size"])

    def test_the_kind_of_time_may_follow_the_size(self):
        found = self.sweeps("a ; own/1/real_time ; peer/1/real_time ; -",
                            [f"{who}/{n}/real_time" for who in ("own", "peer") for n in (1, 2, 3)])
        self.assertEqual([series[0] for series in found[0]], ["own/real_time", "peer/real_time"])

    def test_two_sizes_are_none(self):
        self.assertEqual(self.sweeps("a ; own/1 ; peer/1 ; -", ["own/1", "own/2", "peer/1", "peer/2"]), [])

    def test_series_that_share_a_peer_are_in_one_picture(self):
        names = [f"{who}/{size}" for who in ("one", "two", "peer", "apart", "rest") for size in (1, 2, 3)]
        found = self.sweeps("a ; one/1 ; peer/1 ; -\nb ; apart/1 ; rest/1 ; -\nc ; two/1 ; peer/1 ; -\n", names)
        self.assertEqual([[series[0] for series in group] for group in found],
                         [["apart", "rest"], ["one", "peer", "two"]])


@unittest.skipUnless(plots, "matplotlib is not installed")
class Pictures(InDirectory):
    def draw(self):
        """The pictures' texts, by file."""
        for path in pathlib.Path("results").glob("*.svg"):
            path.unlink()
        programs, mistakes = results.find_programs(".", "results")
        self.assertEqual(mistakes, [])
        named = plots.draw("results", programs, "results/scale.json")
        pictures = {path.name: path.read_text(encoding="utf-8") for path in pathlib.Path("results").glob("*.svg")}
        self.assertEqual(sorted(pictures), sorted(sum(named.values(), [])))
        return pictures

    def measure(self):
        self.write("some", "".join(f"a < b, {size} ; own/{size} ; peer/{size} ; <= 1.1\n" for size in (1, 2, 3)) +
                   "c ; own/1 ; alone ; -\n",
                   [run(f"{who}/{size}", size) for who in ("own", "peer") for size in (1, 2, 3)] + [run("alone", 9)],
                   {"date": "2026-11-01T12:30:00+00:00", "facts": {"machine": "machine of the results"}})

    def test_are_the_same_for_the_same_results(self):
        self.measure()
        first = self.draw()
        self.assertEqual(sorted(first), ["overview.svg", "some.svg", "some_sizes.svg", "summary.svg"])
        self.assertEqual(self.draw(), first)

    def test_tell_the_machine_and_the_day_of_the_results(self):
        self.measure()
        for picture in self.draw().values():
            self.assertIn("machine of the results", picture)
            self.assertIn("1 November 2026", picture)

    def test_the_overview_has_what_misses_its_goal_and_nothing_that_is_only_shown(self):
        self.write("some", "".join(f"met {n} ; own ; peer ; < 1\n" for n in range(5)) +
                   "missed ; peer ; own ; < 1\na pair ; own ; peer ; -\n", [run("own", 1), run("peer", 2)])
        overview = self.draw()["overview.svg"]
        self.assertEqual([text in overview for text in ("met 0", "met 3", "met 4", "missed", "a pair")],
                         [True, True, False, True, False])
        self.assertIn("5 of 6 goals are met", overview)

    def test_the_summary_has_the_first_comparisons_and_no_others(self):
        self.write("some", "".join(f"met {n} ; own ; peer ; < 1\n" for n in range(3)) + "missed ; peer ; own ; < 1\n",
                   [run("own", 1), run("peer", 2)])
        summary = self.draw()["summary.svg"]
        self.assertEqual([text in summary for text in ("met 0", "met 1", "met 2", "missed")],
                         [True, True, False, False])
        self.assertIn("3 of 4 goals are met", summary)

    def test_more_panels_than_anybody_looks_at_are_left_to_the_bars(self):
        for groups, is_drawn in ((plots.MOST_PANELS, True), (plots.MOST_PANELS + 1, False)):
            heads = [f"{who}{number}" for number in range(groups) for who in ("own", "peer")]
            self.write("some", "".join(f"{n} ; own{n}/1 ; peer{n}/1 ; -\n" for n in range(groups)),
                       [run(f"{head}/{size}", size) for head in heads for size in (1, 2, 3)])
            self.assertEqual("some_sizes.svg" in self.draw(), is_drawn)

    def test_scale_has_a_picture_for_each_unit(self):
        self.measure()
        series = [{"name": "look-up", "unit": "ns", "points": [[1000, 12.3], [10000, 14]]},
                  {"name": "look-up", "unit": "ns", "points": [[1000, 20], [10000, 2000]], "peer": "a peer"},
                  {"name": "look-up", "unit": "ns", "points": [[1000, 20]], "kind": "another"},
                  {"name": "memory", "unit": "bytes per string", "points": [[1000, 80], [10000, 90]]}]
        pathlib.Path("results/scale.json").write_text(json.dumps({"machine": "m", "series": series}), encoding="utf-8")
        pictures = self.draw()
        self.assertIn("look-up, a peer", pictures["scale_ns.svg"])
        self.assertIn("look-up, another", pictures["scale_ns.svg"])
        self.assertIn("memory", pictures["scale_bytes_per_string.svg"])
        self.assertNotIn("memory", pictures["scale_ns.svg"])

    def test_scale_of_another_form_is_a_mistake(self):
        self.measure()
        pathlib.Path("results/scale.json").write_text('{"series": [{"name": "x"}]}', encoding="utf-8")
        with self.assertRaisesRegex(results.Mistake, "scale.json"):
            self.draw()


class Texts(unittest.TestCase):
    def test_times_have_three_digits_and_a_unit(self):
        for nanoseconds, text in ((0.00987, "0.00987 ns"), (0.0412, "0.0412 ns"), (0.1234, "0.123 ns"),
                                  (1.234, "1.23 ns"), (12.34, "12.3 ns"), (999.4, "999 ns"), (999.6, "1.00 µs"),
                                  (12345, "12.3 µs"), (2e6, "2.00 ms"), (5e12, "5000 s")):
            self.assertEqual(tables.time_text(nanoseconds), text)

    def test_a_date_is_told_without_the_time(self):
        self.assertEqual(tables.day("2026-11-01T12:30:00+00:00"), "1 November 2026")
        self.assertEqual(tables.day(None), tables.NOT_KNOWN)


class Keep(unittest.TestCase):
    def test_keeps_runs_and_leaves_the_place_out(self):
        written = {"context": {"host_name": "box", "executable": "/home/x", "num_cpus": 2},
                   "benchmarks": [run("a<B>", 1.5, family_index=2), run("a<B>", 2.5, run_type="aggregate")]}
        content = json.loads(keep.kept(written, {"machine": "m"}))
        self.assertEqual(content["context"], {"num_cpus": 2, "facts": {"machine": "m"}})
        self.assertEqual(content["benchmarks"], [run("a<B>", 1.5)])

    def test_keeps_six_digits_of_a_time(self):
        written = {"context": {}, "benchmarks": [run("a", 1234567.891, real=0.00012345678)]}
        kept = json.loads(keep.kept(written, {}))["benchmarks"][0]
        self.assertEqual((kept["cpu_time"], kept["real_time"]), (1234570.0, 0.000123457))

    def test_keeps_the_series_of_scale(self):
        series = [{"name": "look-up", "unit": "ns", "points": [[1, 2.5]]}, {"name": "b", "unit": "ns", "points": []}]
        content = json.loads(keep.kept_scale({"series": series}, {"machine": "m", "compiler": "c"}, "2026-11-01"))
        self.assertEqual(content, {"machine": "m, c", "date": "2026-11-01", "series": series})


class Instructions(InDirectory):
    COUNTED = "# compiler: g++ 1\none ; 10\ntwo ; 4\n"

    def check(self, one, two, counted=COUNTED, records=False):
        """The result and the output for so many instructions in all."""
        for path in pathlib.Path(".").glob("dump.*"):
            path.unlink()
        pathlib.Path("counted").write_text(counted, encoding="utf-8")
        for number, (name, count) in enumerate((("one", one), ("two", two)), 1):
            pathlib.Path(f"dump.{number}").write_text(
                f"version: 1\ndesc: Trigger: Client Request: {name}\nevents: Ir\nsummary: {count}\n", encoding="utf-8")
        output = io.StringIO()
        with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
            result = instructions.main("counted", "dump", "record", records)
        return result, output.getvalue()

    def test_a_record_is_what_was_counted_by_call(self):
        self.assertEqual(self.check(1005, 80, records=True)[0], 0)
        record = pathlib.Path("record").read_text(encoding="utf-8")
        self.assertTrue(record.endswith("# compiler: g++ 1\none ; 100.50\ntwo ; 20.00\n"), record)
        self.assertEqual(self.check(1005, 80)[0], 0)

    def test_fails_above_five_percent_more_and_no_sooner(self):
        self.check(1000, 80, records=True)
        self.assertEqual(self.check(1050, 84)[0], 0)
        result, output = self.check(1000, 85)
        self.assertEqual(result, 1)
        self.assertRegex(output, "two .* DEARER")
        self.assertIn("1 dearer", output)

    def test_asks_to_record_what_is_cheaper(self):
        self.check(1000, 80, records=True)
        result, output = self.check(900, 80)
        self.assertEqual(result, 0)
        self.assertIn("--record", output)
        self.assertNotIn("--record", self.check(960, 80)[1])

    def test_fails_if_an_operation_is_on_one_side_only(self):
        self.check(1000, 80, records=True)
        self.assertEqual(self.check(1000, 80, counted="one ; 10\n")[0], 1)
        self.check(1000, 80, counted="one ; 10\n", records=True)
        self.assertEqual(self.check(1000, 80)[0], 1)

    def test_fails_if_nothing_was_counted(self):
        self.check(1000, 80, records=True)
        self.assertEqual(self.check(1000, 0)[0], 1)
        self.assertEqual(self.check(1000, 80, counted="")[0], 1)
        self.assertEqual(self.check(1000, 80, counted="three ; 2\n")[0], 1)

    def test_fails_without_a_record(self):
        self.assertEqual(self.check(1000, 80)[0], 1)

    def test_tells_if_the_compiler_is_another(self):
        self.check(1000, 80, records=True)
        self.assertNotIn("not as on record", self.check(1000, 80)[1])
        result, output = self.check(1000, 80, counted=self.COUNTED.replace("g++ 1", "g++ 2"))
        self.assertEqual(result, 0)
        self.assertIn("now    compiler: g++ 2", output)


if __name__ == "__main__":
    unittest.main()
