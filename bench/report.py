#!/usr/bin/python3
"""Turns what the benchmarks printed into docs/benchmarks.md, its chart and its raw data, and says
which goals were reached. scripts/bench calls it; see there."""

import argparse
import json
import pathlib
import re
import statistics
import subprocess

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the backend was chosen)
import matplotlib.ticker  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATA = ROOT / "docs/benchmarks"
PAGE = ROOT / "docs/benchmarks.md"
OURS = ("cifra", "cifra-scalar")
BUILDS = {"clang": "Clang", "gcc": "GCC"}
GCC_SHARE = 0.9  # of a goal, which is set for Clang
MEGA = 1e6

# Title, row, our library, smallest and largest size, the peer or None for the best one, goal.
ANY = 1 << 40
GOALS = [
    ("Blowfish, 256 bytes and more", "blowfish-encrypt", "cifra", 256, ANY, None, 1.60),
    ("Blowfish, 256 bytes and more", "blowfish-decrypt", "cifra", 256, ANY, None, 1.60),
    ("Blowfish, 64 bytes", "blowfish-encrypt", "cifra", 64, 64, None, 1.45),
    ("Blowfish, 64 bytes", "blowfish-decrypt", "cifra", 64, 64, None, 1.45),
    ("Blowfish, 16 bytes", "blowfish-encrypt", "cifra", 16, 16, None, 1.25),
    ("Blowfish, 16 bytes", "blowfish-decrypt", "cifra", 16, 16, None, 1.25),
    ("Blowfish, 8 bytes", "blowfish-encrypt", "cifra", 8, 8, None, 1.05),
    ("Blowfish, 8 bytes", "blowfish-decrypt", "cifra", 8, 8, None, 1.05),
    ("Key schedule", "blowfish-key", "cifra", 0, ANY, None, 1.00),
    ("MD5, 64 KiB and more", "md5", "cifra", 65536, ANY, None, 1.05),
    ("MD5, 1 KiB", "md5", "cifra", 1024, 1024, None, 1.01),
    ("MD5, 64 bytes", "md5", "cifra", 64, 64, None, 1.05),
    ("MD5, 16 bytes", "md5", "cifra", 16, 16, None, 1.08),
    ("Base64 without vector instructions", "base64-encode", "cifra-scalar", 0, ANY, "openssl", 2.0),
    ("Base64 without vector instructions", "base64-decode", "cifra-scalar", 0, ANY, "openssl", 2.0),
    ("Base64, 1 KiB and more", "base64-encode", "cifra", 1024, ANY, "openssl", 6.0),
    ("Base64, 1 KiB and more", "base64-decode", "cifra", 1024, ANY, "openssl", 5.0),
]
MODEL_GOALS = {
    "Blowfish encrypt": {"N1": 6.2, "V2": 3.2},
    "Blowfish decrypt": {"N1": 6.2, "V2": 3.2},
    "MD5": {"N1": 4.6},
    "Base64 encode": {"N1": 0.45},
    "Base64 decode": {"N1": 0.60},
}
HASH_FILE_GOAL = 0.90
HASH_FILE_MEMORY = 16 << 20
LIBRARY_BYTES = 400 << 10


class Results:
    """The times of a run of a benchmark program: [nanoseconds] by row, library and size."""

    def __init__(self, document, clock):
        self.times, self.counters = {}, {}
        for entry in document["benchmarks"]:
            if entry.get("run_type") != "iteration":
                continue
            row, library, size = entry["run_name"].split("/")
            scale = {"ns": 1, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
            self.times.setdefault((row, library, int(size)), []).append(round(entry[clock] * scale, 3))
            if "peakBytesAboveIdle" in entry:
                self.counters.setdefault(row, []).append(int(entry["peakBytesAboveIdle"]))

    def nanoseconds(self, row, library, size):
        return statistics.median(self.times[row, library, size])

    def speed(self, row, library, size):
        """Megabytes a second; for the key schedule, thousands of keys."""
        amount = 1000 if row == "blowfish-key" else size
        return amount / self.nanoseconds(row, library, size) * 1e9 / MEGA

    def rows(self):
        return sorted({row for row, _, _ in self.times})

    def sizes(self, row):
        return sorted({size for r, _, size in self.times if r == row})

    def libraries(self, row):
        """Ours first."""
        return sorted({library for r, library, _ in self.times if r == row},
                      key=lambda library: (library not in OURS, library))

    def ratio(self, row, size, ours="cifra", peer=None):
        """How many times as fast as the peer, or the best of them, we are."""
        peers = [peer] if peer else [library for library in self.libraries(row) if library not in OURS]
        return min(self.nanoseconds(row, library, size) for library in peers) / self.nanoseconds(row, ours, size)

    def data(self):
        return [{"row": row, "library": library, "size": size, "nanoseconds": times}
                for (row, library, size), times in sorted(self.times.items())]


def size_name(size):
    for unit, name in ((1 << 30, "GiB"), (1 << 20, "MiB"), (1 << 10, "KiB")):
        if size >= unit:
            return f"{size // unit} {name}"
    return f"{size} B"


def table(head, rows):
    def line(cells):
        return "| " + " | ".join(str(cell) for cell in cells) + " |"

    return "\n".join([line(head), "|---|" + "---:|" * (len(head) - 1)] + [line(row) for row in rows])


def mark(reached):
    return "reached" if reached else "**missed**"


def goal_rows(engines):
    """A line for each goal, and whether all were reached with Clang."""
    lines = []
    for title, row, ours, smallest, largest, peer, goal in GOALS:
        sizes = [size for size in engines["clang"].sizes(row) if smallest <= size <= largest]
        cells = [f"{title}: {row.split('-')[-1] if '-' in row else 'digest'}", peer or "best peer", f"{goal:.2f}"]
        for build in BUILDS:
            worst = min(engines[build].ratio(row, size, ours, peer) for size in sizes)
            needed = goal * (GCC_SHARE if build == "gcc" else 1)
            cells += [f"{worst:.2f}", mark(round(worst, 2) >= round(needed, 2))]
        lines.append(cells)
    return lines


def library_goal_rows(library, sizes):
    lines = []
    for algorithm, row, rival in (("MD5", "md5", "engine"), ("SHA-256", "sha256", "library")):
        size = library.sizes(f"{row}-file")[0]
        share = library.speed(f"{row}-file", "library", size) / library.speed(f"{row}-update", rival, 1 << 20)
        lines.append([f"`HashFile` of 1 GiB, {algorithm}, against memory", f"{HASH_FILE_GOAL:.2f}", f"{share:.2f}",
                      mark(round(share, 2) >= HASH_FILE_GOAL)])
        # The first of a process: what later ones need is there already.
        peak = library.counters[f"{row}-file"][0]
        lines.append([f"its memory above the idle process, {algorithm}", size_name(HASH_FILE_MEMORY),
                      f"{peak / (1 << 20):.1f} MiB", mark(peak < HASH_FILE_MEMORY)])
    for cpu, size in sizes.items():
        lines.append([f"`Cifra.dll` for {cpu}, stripped", size_name(LIBRARY_BYTES), f"{size / 1024:.0f} KiB",
                      mark(size <= LIBRARY_BYTES)])
    return lines


def model_rows(model):
    lines = []
    for entry in model:
        cells = [entry["name"], entry["instructions"], entry["spills"]]
        for cpu, cycles in entry["cyclesPerByte"].items():
            goal = MODEL_GOALS[entry["name"]].get(cpu)
            cells.append(f"{cycles:.2f}" + (f" (goal {goal:.2f}: {mark(cycles <= goal)})" if goal else ""))
        lines.append(cells)
    return lines


def engine_tables(results):
    parts = []
    for row in results.rows():
        libraries = results.libraries(row)
        unit = "Thousand keys a second" if row == "blowfish-key" else "MB/s"
        lines = [[size_name(size)] + [f"{results.speed(row, library, size):.0f}" for library in libraries] +
                 [f"{results.ratio(row, size):.2f}"] for size in results.sizes(row)]
        parts.append(f"### {row}\n\n{unit}; the last column is Cifra over the best peer.\n\n" +
                     table(["Input"] + libraries + ["ratio"], lines))
    return "\n\n".join(parts)


def library_table(library):
    lines = []
    for row in library.rows():
        for size in library.sizes(row):
            for name in library.libraries(row):
                if (row, name, size) not in library.times:
                    continue
                time = f"{library.nanoseconds(row, name, size) / 1e3:.2f}"
                if row == "life":
                    lines.append([f"life of an object: {name}", "", time, ""])
                else:
                    speed = f"{library.speed(row, name, size):.0f}"
                    lines.append([f"{row}, {name}", size_name(size), time, speed])
    return table(["What", "Input", "µs", "MB/s"], lines)


def chart(results, path):
    rows = [row for row in results.rows() if row != "blowfish-key"]
    libraries = list(dict.fromkeys(library for row in rows for library in results.libraries(row)))
    color = {library: f"C{i}" for i, library in enumerate(sorted(libraries))}
    figure, panels = plt.subplots(len(rows), 1, figsize=(8, 4 * len(rows)), layout="constrained")
    for panel, row in zip(panels, rows):
        for library in results.libraries(row):
            width, marker, order = (2.5, "o", 3) if library in OURS else (1.2, ".", 2)
            panel.plot(results.sizes(row), [results.speed(row, library, size) for size in results.sizes(row)],
                       label=library, color=color[library], linewidth=width, marker=marker, zorder=order)
        panel.set(title=row, yscale="log", xlabel="input", ylabel="MB/s")
        panel.set_xscale("log", base=2)
        panel.set_xticks(results.sizes(row), [size_name(size) for size in results.sizes(row)], fontsize="small")
        for axis in (panel.yaxis.set_major_formatter, panel.yaxis.set_minor_formatter):
            axis(matplotlib.ticker.LogFormatter(minor_thresholds=(2, 1)))
        panel.grid(alpha=0.3)
        panel.legend(fontsize="small")
    plt.rcParams["svg.hashsalt"] = "cifra"  # the same data gives the same file
    figure.savefig(path, metadata={"Date": None})


def machine():
    text = pathlib.Path("/proc/cpuinfo").read_text()
    return f"{re.search(r'model name.*: (.*)', text)[1].strip()}, {text.count('processor')} cores"


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0]


PAGE_TEXT = """# Benchmarks

Made by `scripts/bench`, which measures anew and writes this page, its [chart](benchmarks/chart.svg)
and its raw data ([Clang](benchmarks/clang.json), [GCC](benchmarks/gcc.json),
[the library](benchmarks/library.json), [the ARM64 model](benchmarks/model-arm64.json)).

{setting}

The engines are the source files of `Cifra.dll`, built natively, in one process with the libraries
that people would use instead; all are checked to give the same results first. Every row is measured
{repetitions} times, all rows interleaved at random; what counts is the median of the processor time.
Debian 12 has no library with vectorised Base64 to compare with.

## Goals

The worst ratio of a row's sizes, by the time of the peer over ours. GCC is to reach {gcc_share:.1f} of
each.

{goals}

{library_goals}

What bounds the rows, as found on x64:

- Blowfish on many blocks is bound by arithmetic: 10.6 instructions a round and block for the four
  units of the processor that this page was made on give 5.3 cycles a byte at best. Tried and slower:
  bytes taken through memory instead of registers, halves in registers of their own, 4 to 7 blocks at
  once, rotations at other places; some ninety orders of the instructions of a round differ by 12 %.
- A single block, and the key schedule, are chains of look-ups that nothing can fill.
- Base64 without vector instructions is bound by the number of instructions for encoding, and by
  arithmetic and reading alike for decoding. Tried and slower: single words stored for several look-ups
  (with Clang), all characters read by themselves or all taken out of words. Tables for pairs of
  characters to decode would not fit the first-level cache. Only processors without SSSE3, from
  before 2011, need it.
- `HashFile` reads and digests in turn, so copying from the system's cache adds to the digest's time.

## ARM64, by model

ARM64 is not timed, as it is emulated here: `llvm-mca` calculates the cycles of the compiler's output
for Neoverse N1 and V2. Instructions are those of a round of one block (Blowfish), of a step (MD5), or
of 48 bytes (Base64); bytes are those of the data, not of its Base64 text.

{model}

## Chart

![Speed by size of the input](benchmarks/chart.svg)

## Engines and peers, built with Clang

{engines}

## The library

`Cifra.dll` for x64 under Wine, called through its interfaces, beside the same engines called in
place. The objects' lives include, for the hashes and the signature, the search for a `log.dll` that
is not there.

{library}
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("clang", "gcc", "library", "model"):
        parser.add_argument(f"--{name}", required=True, type=pathlib.Path, help=f"the {name} results (JSON)")
    parser.add_argument("--commit", required=True, help="what was measured")
    parser.add_argument("--dll", action="append", default=[], metavar="CPU=FILE", help="a stripped Cifra.dll")
    arguments = parser.parse_args()
    documents = {name: json.loads(getattr(arguments, name).read_text()) for name in ("clang", "gcc", "library", "model")}
    engines = {name: Results(documents[name], "cpu_time") for name in BUILDS}
    library = Results(documents["library"], "real_time")
    sizes = {cpu: pathlib.Path(file).stat().st_size for cpu, file in (dll.split("=", 1) for dll in arguments.dll)}

    DATA.mkdir(parents=True, exist_ok=True)
    compilers = {"clang": first_line("clang++-19", "--version"), "gcc": first_line("g++", "--version")}
    context = {"machine": machine(), "commit": arguments.commit, "date": documents["clang"]["context"]["date"][:10]}
    for name, results in {**engines, "library": library}.items():
        content = {**context, "compiler": compilers.get(name, compilers["clang"]), "results": results.data()}
        text = json.dumps(content, indent=1)
        # A line for each result, or the file would be one number a line.
        text = re.sub(r"\s+(-?[\d.]+,?)(?=\s)", r" \1", text)
        (DATA / f"{name}.json").write_text(text + "\n")
    (DATA / "model-arm64.json").write_text(json.dumps(documents["model"], indent=2) + "\n")
    chart(engines["clang"], DATA / "chart.svg")

    goals = goal_rows(engines)
    library_goals = library_goal_rows(library, sizes)
    models = model_rows(documents["model"])
    PAGE.write_text(PAGE_TEXT.format(
        setting=table(["", ""], [["Machine", context["machine"]], ["Compilers", "; ".join(compilers.values())],
                                 ["Commit", arguments.commit], ["Date", context["date"]]]),
        repetitions=len(next(iter(engines["clang"].times.values()))), gcc_share=GCC_SHARE,
        goals=table(["Row", "against", "goal", "Clang", "", "GCC", ""], goals),
        library_goals=table(["", "goal", "measured", ""], library_goals),
        model=table(["Loop", "instructions", "spills", "N1, cycles a byte", "V2, cycles a byte"], models),
        engines=engine_tables(engines["clang"]), library=library_table(library)))
    for cells in goals + library_goals + models:
        print("  ".join(f"{cell}" for cell in cells))


if __name__ == "__main__":
    main()
