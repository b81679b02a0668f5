#!/usr/bin/env python3
"""Compares counted instructions with those on record: instructions.py [--record] COUNTED DUMPS RECORD

COUNTED is what bench/operations.cpp printed: lines "# what: text" of what the counts depend on, and lines
"operation ; calls". DUMPS is the name that callgrind was given for its output; each operation has a file DUMPS.NUMBER.
RECORD has the same first lines, and lines "operation ; instructions of one call". Fails if an operation takes over
5 % more than on record, or is not on record, or is on record and was not counted.
"""

import pathlib
import re
import sys

TOLERANCE = 0.05
TITLE = ("# Instructions of one call of each operation of bench/operations.cpp, as valgrind counts them.\n"
         "# Written by ./dev bench --record, looked after by ./dev bench --check.\n")


class Mistake(Exception):
    """Something that was not counted or not recorded as it should be."""


def read(text, number):
    """The lines "# what: text", and of the others the operations with their numbers."""
    circumstances, values = [], {}
    for line in text.splitlines():
        if line.startswith("#"):
            if ": " in line:
                circumstances.append(line)
        elif line.strip():
            name, _, value = (part.strip() for part in line.partition(";"))
            try:
                values[name] = number(value)
            except ValueError:
                raise Mistake(f"'{line}' is not 'operation ; number'") from None
    return circumstances, values


def dumped(directory, name):
    """The instructions of each operation, from callgrind's files."""
    counts = {}
    for path in pathlib.Path(directory).glob(name + ".*"):
        text = path.read_text(encoding="utf-8", errors="replace")
        operation = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
        count = re.search(r"^(?:summary|totals): (\d+)", text, re.MULTILINE)
        if operation and count:
            counts[operation[1].strip()] = int(count[1])
    return counts


def per_call(calls, counts):
    missing = [name for name in calls if not counts.get(name)]
    if missing:
        raise Mistake("valgrind has counted nothing for: " + ", ".join(missing))
    if not calls:
        raise Mistake("nothing was counted")
    return {name: counts[name] / number for name, number in calls.items()}


def record_text(circumstances, counted):
    return TITLE + "".join(line + "\n" for line in circumstances) + "".join(
        f"{name} ; {value:.2f}\n" for name, value in counted.items())


def compare(circumstances, counted, recorded_circumstances, recorded):
    """Prints all operations, and what is to be done. Returns whether none is dearer than it may be."""
    if circumstances != recorded_circumstances:
        print("bench: what the counts depend on is not as on record:")
        print("\n".join([f"  now    {line[2:]}" for line in circumstances] +
                        [f"  record {line[2:]}" for line in recorded_circumstances]))
    width = max(map(len, [*counted, *recorded]))
    dearer, cheaper, strange = 0, 0, 0
    for name in dict.fromkeys([*recorded, *counted]):
        now, before = counted.get(name), recorded.get(name)
        if now is None or before is None:
            strange += 1
            print(f"  {name:<{width}}  {'not counted' if now is None else 'not on record'}")
            continue
        change = round(100 * (now / before - 1), 1) + 0.0 # no -0.0
        remark = ("DEARER" if now > before * (1 + TOLERANCE) else
                  "cheaper" if now < before * (1 - TOLERANCE) else "")
        dearer += remark == "DEARER"
        cheaper += remark == "cheaper"
        print(f"  {name:<{width}}  {before:12,.2f} -> {now:12,.2f}  {change:+6.1f} %  {remark}".rstrip())
    print(f"bench: {len(counted)} operations counted, {dearer} dearer than on record by over {100 * TOLERANCE:.0f} %, "
          f"{cheaper} cheaper, {strange} not comparable")
    if cheaper or strange:
        print("bench: record the counts with ./dev bench --record, in the commit that changes them")
    return not dearer and not strange


def main(counted_path, dumps, record_path, records):
    record = pathlib.Path(record_path)
    try:
        circumstances, calls = read(pathlib.Path(counted_path).read_text(encoding="utf-8"), int)
        dumps = pathlib.Path(dumps)
        counted = per_call(calls, dumped(dumps.parent, dumps.name))
        if records:
            record.write_text(record_text(circumstances, counted), encoding="utf-8")
            print(f"bench: {len(counted)} operations are on record in {record}")
            return 0
        if not record.is_file():
            raise Mistake(f"there is no {record}; make it with ./dev bench --record")
        return 0 if compare(circumstances, counted, *read(record.read_text(encoding="utf-8"), float)) else 1
    except Mistake as mistake:
        print(f"bench: {mistake}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    arguments = [argument for argument in sys.argv[1:] if argument != "--record"]
    if len(arguments) != 3:
        sys.exit(__doc__)
    sys.exit(main(*arguments, "--record" in sys.argv))
