#!/usr/bin/env python3
"""Lines and branches of the library's sources that tests reached, from llvm-cov's export.

coverage.py EXPORT.json PROJECT FILE...

FILE is a source's path from PROJECT; what the export knows of others is left out. A branch is one
outcome of a condition in the source: of the instances of a template, any that had it will do.
"""

import argparse
import collections
import json
import pathlib
import sys


def read(export):
    """For each file: lines in all and reached, and for each condition its two counts."""
    lines = {}
    conditions = collections.defaultdict(dict)
    data = json.loads(export.read_text())["data"][0]

    def name_of(path):
        # What the builds for Windows record begins with a folder that does not exist.
        return "src/" + path.rpartition("src/")[2]

    for file in data["files"]:
        summary = file["summary"]["lines"]
        # The same file in another program: the better figure of the two.
        name = name_of(file["filename"])
        best = lines.get(name, (0, 0))
        lines[name] = max(best, (summary["count"], summary["covered"]), key=lambda pair: (pair[1], pair[0]))
    for function in data["functions"]:
        names = [name_of(name) for name in function["filenames"]]
        for line, column, end_line, end_column, true, false, file, *_ in function["branches"]:
            counts = conditions[names[file]].setdefault((line, column, end_line, end_column), [0, 0])
            counts[0] += true
            counts[1] += false
    return lines, conditions


def text_of(project, name, place):
    line, column, end_line, end_column = place
    text = (project / name).read_text().split("\n")[line - 1]
    return text[column - 1 : end_column - 1 if end_line == line else None].strip()


def percentage(reached, count):
    return f"{100 * reached / count:.1f} %" if count else "-"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("export", type=pathlib.Path)
    parser.add_argument("project", type=pathlib.Path)
    parser.add_argument("files", nargs="+")
    parser.add_argument("--least", type=float, default=0, help="percentage of branches to be reached")
    arguments = parser.parse_args()

    project = arguments.project.resolve()
    lines, conditions = read(arguments.export)
    sums = [0, 0, 0, 0]
    missed = []
    for name in sorted(arguments.files):
        if name not in lines:
            continue
        # Of a condition that the compiler knows the outcome of, such as that of "if constexpr", it
        # counts neither.
        known = {place: counts for place, counts in conditions[name].items()
                 if not text_of(project, name, place).startswith("constexpr")}
        outcomes = [count for counts in known.values() for count in counts]
        row = (*lines[name], len(outcomes), sum(count > 0 for count in outcomes))
        sums = [sum(pair) for pair in zip(sums, row)]
        print(f"{name:<62} lines {row[1]:4} of {row[0]:4}  branches {row[3]:3} of {row[2]:3}")
        missed += [f"{name}:{place[0]}: never {outcome}: {text_of(project, name, place)}"
                   for place, counts in sorted(known.items())
                   for outcome, count in zip(("true", "false"), counts) if not count]
    print(*missed, sep="\n")
    print(f"reached: {sums[1]} of {sums[0]} lines ({percentage(sums[1], sums[0])}),"
          f" {sums[3]} of {sums[2]} branches ({percentage(sums[3], sums[2])})")
    sys.exit(sums[2] == 0 or 100 * sums[3] / sums[2] < arguments.least)


if __name__ == "__main__":
    main()
