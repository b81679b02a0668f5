#!/usr/bin/env python3
"""Sets what was measured beside the goals: report.py BENCH RESULTS [NAME...]

Reads BENCH/NAME_goals.txt and RESULTS/NAME.json of all programs, or of those named, prints the comparisons, and writes
RESULTS/README.md and pictures. Fails if a goal names a benchmark that is not in the results, or a file is missing.
"""

import pathlib
import sys

import results
import tables


def main(bench, directory, only, draw=None):
    """`draw` makes the pictures, as plots.draw does; without it there are none."""
    pathlib.Path(directory).mkdir(parents=True, exist_ok=True)
    programs, mistakes = results.find_programs(bench, directory, only)
    pictures = {}
    # Of pictures and tables of programs that are no more, nothing stays.
    for old in pathlib.Path(directory).glob("*.svg"):
        old.unlink()
    if draw:
        try:
            pictures = draw(directory, programs, f"{directory}/scale.json")
        except results.Mistake as mistake:
            mistakes.append(str(mistake))
    path = pathlib.Path(directory) / "README.md"
    path.write_text(tables.page(programs, pictures, mistakes), encoding="utf-8")
    for program in programs:
        print(f"{program.name}: {tables.circumstances(program)}")
        print("\n".join(tables.listing(program)))
    judged = sum(len(program.judged()) for program in programs)
    print(f"bench: {sum(len(program.met()) for program in programs)} of {judged} goals are met; {path}")
    for mistake in mistakes:
        print(f"bench: {mistake}", file=sys.stderr)
    return 1 if mistakes else 0


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    import plots
    sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3:], plots.draw))
