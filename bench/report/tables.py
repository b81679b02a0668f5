"""The text of the report: numbers in plain words, and the page of tables."""

import datetime
import itertools

NOT_KNOWN = "not recorded"


def time_text(nanoseconds):
    for unit, size in (("ns", 1.0), ("µs", 1e3), ("ms", 1e6), ("s", 1e9)):
        if nanoseconds < size * 999.5 or unit == "s":
            return f"{three_digits(nanoseconds / size)} {unit}"


def three_digits(value):
    """Three digits that count, and no powers of ten."""
    for limit, decimals in ((99.95, 0), (9.995, 1), (0.9995, 2), (0.09995, 3), (0.009995, 4)):
        if value >= limit:
            return f"{value:.{decimals}f}"
    return f"{value:.5f}"


def verdict(comparison):
    if comparison.missing:
        return "not measured"
    return {None: "only shown", True: "met", False: "not met"}[comparison.met]


def day(date):
    """21 November 2026, from what Google Benchmark writes."""
    try:
        parsed = datetime.datetime.fromisoformat(date)
    except (TypeError, ValueError):
        return NOT_KNOWN
    return f"{parsed.day} {parsed:%B %Y}"


def days(programs):
    return ", ".join(dict.fromkeys(day(program.results.context.get("date")) for program in programs)) or NOT_KNOWN


def place(results):
    """What a comparison of times depends on: lines of (what, text)."""
    facts = results.facts()
    peers = ", ".join(f"{name} {version}" for name, version in facts.get("peers", {}).items())
    return (("Machine", facts.get("machine", NOT_KNOWN)),
            ("Processors", str(results.context.get("num_cpus", NOT_KNOWN))),
            ("System", facts.get("system", NOT_KNOWN)),
            ("Compiler", facts.get("compiler", NOT_KNOWN)),
            ("Peers", peers or NOT_KNOWN))


def caption(programs):
    """Where and when, in one line, for the pictures."""
    where = dict.fromkeys(tuple(text for what, text in place(program.results) if what in ("Machine", "Compiler"))
                          for program in programs)
    return "; ".join(", ".join(texts) for texts in where) + "; " + days(programs)


def escaped(text):
    return text.replace("|", "\\|")


def table(program):
    lines = ["| comparison | own time | peer's time | ratio | goal | |", "|---|---:|---:|---:|---|---|"]
    for comparison in program.comparisons:
        cells = [comparison.goal.title, "", "", "", comparison.goal.text() or "–", verdict(comparison)]
        if not comparison.missing:
            cells[1:4] = [time_text(comparison.own), time_text(comparison.peer), three_digits(comparison.ratio)]
        if comparison.met is False or comparison.missing:
            cells[5] = f"**{cells[5]}**"
        lines.append("| " + " | ".join(map(escaped, cells)) + " |")
    return lines


def circumstances(program):
    """When, how often, and how quiet it was."""
    results = program.results
    parts = [day(results.context.get("date")), f"{results.repetitions()} repetitions"]
    spread = results.typical_spread()
    if spread is not None:
        parts.append(f"the middle half of them within {100 * spread:.1f} %")
    load = results.context.get("load_avg")
    if load:
        parts.append(f"load of the machine at the start {load[0]:.1f}")
    return ", ".join(parts) + "."


def page(programs, pictures, mistakes):
    """README.md of the results. `pictures` are names of files by the program's name; "overview" and "scale" too."""
    judged = sum(len(program.judged()) for program in programs)
    met = sum(len(program.met()) for program in programs)
    sections = [program.name for program in programs] + (["by number of strings"] if pictures.get("scale") else [])
    contents = " · ".join(f"[{name}](#{name.replace(' ', '-')})" for name in sections)
    lines = ["# Results of the benchmarks", "", "Contents: " + contents, "",
             "Written by `./dev bench`; [how to read, run and add a benchmark](../README.md), "
             "[why it is as fast as it is](../../docs/performance.md).", "",
             "The ratio is the library's time by the peer's, medians of repetitions in one run: below 1 the",
             "library is faster. Times are CPU time of one operation, and time on the clock where threads or",
             "files are at work.", "",
             f"**{met} of {judged} goals are met.**", ""]
    if mistakes:
        lines += ["**This page is not complete:**", ""] + [f"- {mistake}" for mistake in mistakes] + [""]
    lines += [f"![The first comparisons of each program, and all that miss their goal]({name})\n" for name in pictures.get("overview", [])]

    lines += ["## Where", ""]
    groups = [(where, list(group)) for where, group in
              itertools.groupby(sorted(programs, key=lambda program: place(program.results)),
                                key=lambda program: place(program.results))]
    for where, group in groups:
        if len(groups) > 1:
            lines += [", ".join(program.name for program in group) + ":", ""]
        lines += ["| | |", "|---|---|"] + [f"| {what} | {escaped(text)} |" for what, text in where]
        lines += [f"| Measured | {days(group)} |", ""]

    for program in programs:
        lines += [f"## {program.name}", "", circumstances(program), ""] + table(program) + [""]
        lines += [f"![{program.name}]({name})\n" for name in pictures.get(program.name, [])]
    if pictures.get("scale"):
        lines += ["## By number of strings", "",
                  "Each number of strings once, in a process of its own; the names are asked for in random order. Differences",
                  "of a fifth mean little.", ""]
        lines += [f"![By number of strings]({name})\n" for name in pictures["scale"]]
    return "\n".join(lines).rstrip("\n") + "\n"


def listing(program):
    """The table for a terminal."""
    rows = [(comparison.goal.title, "" if comparison.missing else three_digits(comparison.ratio),
             comparison.goal.text() or "-", verdict(comparison)) for comparison in program.comparisons]
    width = max((len(row[0]) for row in rows), default=0)
    return [f"  {title:<{width}}  {ratio:>7}  {goal:<12}  {outcome}".rstrip() for title, ratio, goal, outcome in rows]
