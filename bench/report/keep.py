#!/usr/bin/env python3
"""Puts what a benchmark program wrote among the results: keep.py WRITTEN CMAKE_CACHE KEPT

The format stays that of Google Benchmark, with one line for each run, or that of bench/scale.cpp. What would tell of
the place and not of the machine goes (name of the host, paths), and so do digits that mean nothing; the machine, the
compiler and the versions of the peers come in.
"""

import datetime
import json
import pathlib
import re
import subprocess
import sys

# The libraries that the programs call, and the Debian packages that tell their versions.
PEERS = {
    "C library": "libc6-dev", "C++ library": "libstdc++6", "Boost": "libboost-dev", "Abseil": "libabsl-dev",
    "GLib": "libglib2.0-dev", "xz": "liblzma-dev", "ICU": "libicu-dev", "xxHash": "libxxhash-dev",
    "Google Benchmark": "libbenchmark-dev",
}


def output_of(*command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def first_match(pattern, path):
    try:
        match = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8", errors="replace"), re.MULTILINE)
    except OSError:
        return ""
    return match[1].strip() if match else ""


def facts(cache):
    """What the machine, the system, the compiler and the peers are; empty texts are left out."""
    compiler = first_match(r"^CMAKE_CXX_COMPILER:[A-Z]+=(.*)$", cache)
    version = output_of(compiler, "--version") if compiler else ""
    if "Free Software Foundation" in version: # by whatever name it was called
        version = re.sub(r"^\S+", "g++", version)
    found = {
        "machine": first_match(r"^model name\s*: (.*)$", "/proc/cpuinfo"),
        "system": first_match(r'^PRETTY_NAME="?([^"\n]*)', "/etc/os-release"),
        "compiler": version.split("\n")[0],
        "peers": {},
    }
    for name, package in PEERS.items():
        number = output_of("dpkg-query", "-W", "-f=${Version}", package)
        if number:
            found["peers"][name] = number
    return {what: text for what, text in found.items() if text}


def kept_run(run):
    left_out = ("family_index", "per_family_instance_index")
    return {key: float(f"{value:.6g}") if isinstance(value, float) else value
            for key, value in run.items() if key not in left_out}


def kept(written, of_machine):
    """The text of the results to keep."""
    context = {key: value for key, value in written["context"].items() if key not in ("host_name", "executable")}
    context["facts"] = of_machine
    runs = [kept_run(run) for run in written["benchmarks"] if run.get("run_type") != "aggregate"]
    lines = ",\n".join("    " + json.dumps(run, ensure_ascii=False) for run in runs)
    return (f'{{\n  "context": {json.dumps(context, ensure_ascii=False, indent=4)},\n'
            f'  "benchmarks": [\n{lines}\n  ]\n}}\n')


def kept_scale(written, of_machine, date):
    """The same for the series of bench/scale.cpp."""
    where = [of_machine[what] for what in ("machine", "compiler") if what in of_machine]
    head = {"machine": ", ".join(where), "date": date}
    lines = ",\n".join("    " + json.dumps(series, ensure_ascii=False) for series in written["series"])
    return json.dumps({**written, **head, "series": []}, ensure_ascii=False).replace(
        '"series": []', f'"series": [\n{lines}\n  ]') + "\n"


def main(written_path, cache, kept_path):
    written = json.loads(pathlib.Path(written_path).read_text(encoding="utf-8"))
    if "series" in written:
        text = kept_scale(written, facts(cache), datetime.datetime.now().isoformat(timespec="seconds"))
    else:
        text = kept(written, facts(cache))
    pathlib.Path(kept_path).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
