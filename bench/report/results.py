"""What the benchmark programs measured, and how that compares with the goals set for it."""

import json
import pathlib
import re
import statistics

UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
GOAL = re.compile(r"(<=?) *([0-9]+(?:\.[0-9]+)?)")
SIZE = re.compile(r"(?P<head>.*)/(?:(?P<argument>[A-Za-z_]+):)?(?P<size>[0-9]+)(?P<tail>/(?:real|manual)_time)?")

# scale.json is of another form, and drawn by itself.
SCALE = "scale"


class Mistake(Exception):
    """Something that makes the report wrong or incomplete; the text says where and what."""


class Goal:
    """One line of a goals file: two benchmarks to compare, and what the ratio of their times is to be."""

    def __init__(self, title, own, peer, goal):
        self.title, self.own, self.peer = title, own, peer
        self.strict = self.limit = None
        if goal != "-":
            match = GOAL.fullmatch(goal)
            if not match:
                raise Mistake(f"'{goal}' is no goal: write '< 0.65', '<= 1.1' or '-'")
            self.strict, self.limit = match[1] == "<", float(match[2])

    def met_by(self, ratio):
        """None if the pair is only shown."""
        if self.limit is None:
            return None
        return ratio < self.limit if self.strict else ratio <= self.limit

    def text(self):
        if self.limit is None:
            return ""
        return f"{'below' if self.strict else 'at most'} {self.limit:g}"


def read_goals(path):
    """The goals of a file, in its order."""
    goals = []
    for number, line in enumerate(pathlib.Path(path).read_text(encoding="utf-8").splitlines(), 1):
        if not line.strip() or line.lstrip().startswith("#"):
            continue
        fields = [field.strip() for field in line.split(";")]
        try:
            if len(fields) != 4 or not all(fields):
                raise Mistake("a line is 'title ; own benchmark ; benchmark of the peer ; goal'")
            goals.append(Goal(*fields))
        except Mistake as mistake:
            raise Mistake(f"{path}:{number}: {mistake}") from None
    return goals


def counts_real_time(run):
    """CPU time is the steadier one, but says nothing about threads that wait for each other, or for the disk."""
    return run.get("threads", 1) > 1 or any(mark in run["run_name"] for mark in ("/real_time", "/manual_time"))


class Times:
    """The times of one benchmark, in nanoseconds: one for each repetition."""

    def __init__(self, real):
        self.real = real
        self.each = []

    def median(self):
        return statistics.median(self.each)

    def spread(self):
        """How far apart the middle half of the repetitions lies, as a share of the median."""
        if len(self.each) < 4:
            return None
        low, _, high = statistics.quantiles(self.each, n=4, method="inclusive")
        return (high - low) / self.median()


class Results:
    """One file as Google Benchmark writes it."""

    def __init__(self, path):
        try:
            content = json.loads(pathlib.Path(path).read_text(encoding="utf-8"))
            self.context = content["context"]
            self.benchmarks = {}
            for run in content["benchmarks"]:
                self._add(run)
        except (ValueError, KeyError, TypeError) as error:
            raise Mistake(f"{path}: not what Google Benchmark writes ({error})") from None
        except Mistake as mistake:
            raise Mistake(f"{path}: {mistake}") from None

    def _add(self, run):
        if run.get("error_occurred"):
            raise Mistake(f"{run['run_name']}: {run.get('error_message', 'failed')}")
        if run.get("run_type") == "aggregate":
            return
        real = counts_real_time(run)
        times = self.benchmarks.setdefault(run["run_name"], Times(real))
        times.each.append(run["real_time" if real else "cpu_time"] * UNITS[run["time_unit"]])

    def facts(self):
        """What keep.py noted of the machine, the compiler and the peers."""
        return self.context.get("facts", {})

    def repetitions(self):
        return max((len(times.each) for times in self.benchmarks.values()), default=0)

    def typical_spread(self):
        spreads = [times.spread() for times in self.benchmarks.values()]
        spreads = [spread for spread in spreads if spread is not None]
        return statistics.median(spreads) if spreads else None


class Comparison:
    """A goal, and the times of its two benchmarks, or nothing where one of them is not in the results."""

    def __init__(self, goal, results):
        self.goal = goal
        self.missing = [name for name in (goal.own, goal.peer) if name not in results.benchmarks]
        self.own = self.peer = self.ratio = self.met = None
        if self.missing:
            return
        own, peer = results.benchmarks[goal.own], results.benchmarks[goal.peer]
        if own.real != peer.real:
            raise Mistake(f"'{goal.title}' compares real time with CPU time: one of the two lacks UseRealTime()")
        self.own, self.peer = own.median(), peer.median()
        if min(self.own, self.peer) <= 0:
            raise Mistake(f"'{goal.title}': one of the two took no time, so nothing was measured")
        self.ratio = self.own / self.peer
        self.met = goal.met_by(self.ratio)


def split_size(name):
    """The name of the series that a benchmark belongs to, the name of the argument, if it has one, and the size.
    Nothing for a benchmark without a size."""
    match = SIZE.fullmatch(name)
    return (match["head"] + (match["tail"] or ""), match["argument"], int(match["size"])) if match else None


class Program:
    """A benchmark program: its name, its results, and its comparisons in the order of the goals file."""

    def __init__(self, name, goals_path, results_path):
        self.name = name
        self.results = Results(results_path)
        self.comparisons = []
        for goal in read_goals(goals_path):
            try:
                self.comparisons.append(Comparison(goal, self.results))
            except Mistake as mistake:
                raise Mistake(f"{goals_path}: {mistake}") from None
        self.mistakes = [f"{goals_path}: '{comparison.goal.title}': {results_path} has no benchmark '{name}'"
                         for comparison in self.comparisons for name in comparison.missing]

    def judged(self):
        return [comparison for comparison in self.comparisons if comparison.goal.limit is not None]

    def met(self):
        return [comparison for comparison in self.judged() if comparison.met]

    def sweeps(self):
        """The series over a size, of three sizes or more, of benchmarks that are compared. Returns a list of groups of
        series that are compared with each other; a series is its name, whether it is the library's own, the name of
        the argument and a list of (size, nanoseconds)."""
        series = {}
        for name, times in self.results.benchmarks.items():
            if split_size(name):
                head, argument, size = split_size(name)
                series.setdefault(head, (argument, []))[1].append((size, times.median()))
        series = {head: found for head, found in series.items() if len(found[1]) >= 3}
        groups = []
        own_heads = set()
        for comparison in self.comparisons:
            ends = [split_size(name) for name in (comparison.goal.own, comparison.goal.peer)]
            heads = [end[0] for end in ends if end and end[0] in series]
            if len(heads) != 2:
                continue
            own_heads.add(heads[0])
            joined = [group for group in groups if any(head in group for head in heads)]
            groups = [group for group in groups if group not in joined]
            groups.append(list(dict.fromkeys(sum(joined, []) + heads)))
        return [[(head, head in own_heads, series[head][0], sorted(series[head][1])) for head in group]
                for group in groups]


def find_programs(bench, results, only=None):
    """The programs whose goals or results are there, or those named; and the mistakes found while reading."""
    names = only or ({path.name[:-len("_goals.txt")] for path in pathlib.Path(bench).glob("*_goals.txt")} |
                     {path.stem for path in pathlib.Path(results).glob("*.json")})
    programs, mistakes = [], []
    for name in sorted(set(names) - {SCALE}):
        goals_path, results_path = f"{bench}/{name}_goals.txt", f"{results}/{name}.json"
        absent = [path for path in (goals_path, results_path) if not pathlib.Path(path).is_file()]
        try:
            if absent:
                raise Mistake(f"{name}: there is no {' and no '.join(absent)}")
            program = Program(name, goals_path, results_path)
        except Mistake as mistake:
            mistakes.append(str(mistake))
            continue
        programs.append(program)
        mistakes += program.mistakes
    return programs, mistakes
