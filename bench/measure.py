#!/usr/bin/python3
"""Runs a benchmark program. Where the times of one library spread widely, its row and size are measured
again, up to two times, with all libraries side by side as before; all times count. Writes them as JSON.

Usage: measure.py OUTPUT REPETITIONS PROGRAM [ARGUMENT...]"""

import json
import pathlib
import statistics
import subprocess
import sys
import tempfile

WIDE = 0.05  # between the quarters, as a share of the median
RETRIES = 2
AT_ONCE = 100  # benchmarks whose names fit a command line


def run(program, repetitions, arguments=()):
    """The context, and the entries of each benchmark by its name."""
    with tempfile.TemporaryDirectory(dir=pathlib.Path.cwd() / "build") as folder:
        file = pathlib.Path(folder) / "out.json"
        subprocess.run([*program, *arguments, f"--benchmark_repetitions={repetitions}", "--benchmark_min_time=0.02",
                        "--benchmark_out_format=json", f"--benchmark_out={file.relative_to(pathlib.Path.cwd())}"],
                       check=True, stdout=subprocess.DEVNULL)
        document = json.loads(file.read_text())
    entries = {}
    for entry in document["benchmarks"]:
        if entry.get("run_type") == "iteration":
            entries.setdefault(entry["run_name"], []).append(entry)
    return document["context"], entries


def spread(entries):
    times = [entry["cpu_time"] for entry in entries]
    if len(times) < 3 or statistics.median(times) == 0:
        return 0
    quarters = statistics.quantiles(times)
    return (quarters[2] - quarters[0]) / statistics.median(times)


def group(name):
    row, _, size = name.split("/")
    return row, size


def wide_groups(entries):
    return {group(name) for name, found in entries.items() if spread(found) > WIDE}


def main():
    output, repetitions, program = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3:]
    context, entries = run(program, repetitions)
    for _ in range(RETRIES):
        wide = wide_groups(entries)
        again = [name for name in entries if group(name) in wide]
        for start in range(0, len(again), AT_ONCE):
            names = "|".join(again[start:start + AT_ONCE])
            for name, found in run(program, repetitions, [f"--benchmark_filter=^({names})$"])[1].items():
                entries[name] += found
    print(f"{len({group(name) for name in entries})} rows and sizes, {len(wide_groups(entries))} of which still "
          f"spread by more than {WIDE:.0%}")
    output.write_text(json.dumps({"context": context, "benchmarks": [e for found in entries.values() for e in found]}))


if __name__ == "__main__":
    main()
