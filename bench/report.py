#!/usr/bin/python3
"""Adds what the benchmarks measured on this machine to bench/results, a folder for each processor,
and makes docs/benchmarks.md and its charts of all that lies there. scripts/bench calls it.

Usage: report.py [--add FOLDER --commit COMMIT] [--dll CPU=FILE ...]"""

import argparse
import json
import pathlib
import re
import subprocess

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402  (after the backend was chosen)
import matplotlib.ticker  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATA = ROOT / "bench/results"
PAGE = ROOT / "docs/benchmarks.md"
CHARTS = ROOT / "docs/benchmarks"
BUILDS = {"clang": "Clang", "gcc": "GCC"}
GCC_SHARE = 0.9  # of a goal, which is set for Clang
MEGA = 1e6
NO_PEERS = ("memcpy",)

KIB = 1024
FROM_64 = (64, 256, KIB, 16 * KIB, 64 * KIB, 1 << 20, 16 << 20)
FROM_1K, FROM_16K, FROM_64K = FROM_64[2:], FROM_64[3:], FROM_64[4:]

# What the kernel that a processor chooses asks of the rows of its algorithm.
BLOWFISH_BULK = {"avx512-gather": 2.6, "avx2-gather": 2.0, "scalar": 1.5}
MD5_BULK = {"avx512": 1.18, "scalar": 1.06}

# Row, our library, peer (None: the best one), sizes, goal: how many times as fast.
RATIO_GOALS = [
    *[(f"blowfish-{way}", "cifra", None, sizes, goal) for way in ("encrypt", "decrypt")
      for sizes, goal in ((FROM_1K, BLOWFISH_BULK), ((64,), 1.45), ((16,), 1.25), ((8,), 1.0))],
    ("blowfish-key", "cifra", None, (16,), 1.0),
    ("md5", "cifra", "openssl", FROM_16K, MD5_BULK),
    ("md5", "cifra", None, (KIB,), 1.05),
    ("md5", "cifra", None, (16, 64), 1.08),
    ("base64-encode", "cifra-scalar", "openssl", FROM_64, 2.0),
    ("base64-decode", "cifra-scalar", "openssl", FROM_64, 2.0),
    ("base64-encode", "cifra-avx512-vbmi", "memcpy", FROM_64K, 0.5),
]
# Row, our library, cycles a byte by size.
CYCLE_GOALS = [
    ("base64-encode", "cifra-avx512-vbmi", {16: 1.1, 64: 0.33, 256: 0.14, KIB: 0.09, 64 * KIB: 0.16}),
    ("base64-decode", "cifra-avx512-vbmi", {64: 0.6, 256: 0.26, KIB: 0.17, 64 * KIB: 0.15}),
    ("base64-encode", "cifra-avx2", {64: 0.55, 256: 0.28, KIB: 0.20, 64 * KIB: 0.17}),
    ("base64-decode", "cifra-avx2", {64: 0.55, 256: 0.30, KIB: 0.25, 64 * KIB: 0.22}),
]
MODEL_GOALS = {
    "Blowfish encrypt": {"N1": 5.7, "V2": 3.0},
    "Blowfish decrypt": {"N1": 5.7, "V2": 3.0},
    "MD5": {"N1": 4.5, "V2": 4.5},
    "Base64 encode": {"N1": 0.30, "V2": 0.25},
    "Base64 decode": {"N1": 0.52, "V2": 0.30},
}
HASH_FILE_GOAL = 0.90
HASH_FILE_MEMORY = 16 << 20
CLIENT_LARGE_GOAL = 0.97  # of the engine's rate in memory
CLIENT_EARLIER_GOAL = 4.0  # times the files a second of release 1.0.0
CLIENT_JOBS_GOAL = 1.7  # two jobs against one
LIBRARY_BYTES = 320 << 10


class Results:
    """The times of a run of a benchmark program: [nanoseconds] by row, library and size."""

    def __init__(self, entries):
        self.times = {(e["row"], e["library"], e["size"]): e["nanoseconds"] for e in entries}
        self.peaks = {e["row"]: e["peakBytes"] for e in entries if "peakBytes" in e}

    def nanoseconds(self, row, library, size):
        """The shortest time: whatever else runs on the machine can only add to it."""
        return min(self.times[row, library, size])

    def speed(self, row, library, size):
        """Megabytes a second; for the key schedule, thousands of keys."""
        amount = 1000 if row == "blowfish-key" else size
        return amount / self.nanoseconds(row, library, size) * 1e9 / MEGA

    def cycles(self, row, library, size):
        """Cycles a byte, by the clock that was measured along."""
        ((_, _, cycles),) = (key for key in self.times if key[0] == "clock")
        return self.nanoseconds(row, library, size) / self.nanoseconds("clock", "cycles", cycles) * cycles / size

    def rows(self):
        return sorted({row for row, _, _ in self.times} - {"clock"})

    def sizes(self, row):
        return sorted({size for r, _, size in self.times if r == row})

    def libraries(self, row):
        """Ours first."""
        return sorted({library for r, library, _ in self.times if r == row},
                      key=lambda library: (not is_ours(library), library))

    def ratio(self, row, size, ours="cifra", peer=None):
        """How many times as fast as the peer, or the best of them, we are."""
        peers = [peer] if peer else [library for library in self.libraries(row)
                                     if not is_ours(library) and library not in NO_PEERS]
        return min(self.nanoseconds(row, library, size) for library in peers) / self.nanoseconds(row, ours, size)


class Client:
    """What bench/measure_client.py measured."""

    def __init__(self, document):
        self.document = document

    def seconds(self, run, label="client"):
        """Without what the program takes to start and end."""
        return min(self.document["seconds"][f"{label}-{run}"]) - min(self.document["seconds"][f"{label}-start"])

    def large_speed(self):
        return self.document["largeBytes"] / self.seconds("large-md5") / MEGA

    def has_earlier(self):
        return "earlier-start" in self.document["seconds"]


class Machine:
    """What was measured on one kind of processor."""

    def __init__(self, folder):
        self.name = folder.name
        documents = {file.stem: json.loads(file.read_text()) for file in folder.glob("*.json")}
        self.context = documents["clang"]["context"]
        self.compilers = "; ".join(documents[build]["context"]["compiler"] for build in BUILDS)
        self.kernels = dict(part.split() for part in self.context["kernels"].split(", "))
        self.engines = {build: Results(documents[build]["results"]) for build in BUILDS}
        self.shipped = Results(documents["library"]["results"])
        self.client = Client(documents["client"]) if "client" in documents else None

    def commits(self):
        """The client may have been measured anew, by itself."""
        engines = self.context["commit"]
        client = self.client.document.get("commit", engines) if self.client else engines
        return engines if client == engines else f"{engines}; client {client}"

    def goal(self, row, goal):
        """A goal that depends on the kernel chosen."""
        if not isinstance(goal, dict):
            return goal
        return goal[self.kernels["MD5" if row == "md5" else "Blowfish"]]


def is_ours(library):
    return library.startswith("cifra")


def size_name(size):
    for unit, name in ((1 << 30, "GiB"), (1 << 20, "MiB"), (1 << 10, "KiB")):
        if size >= unit:
            return f"{size // unit} {name}"
    return f"{size} B"


def table(head, rows):
    def line(cells):
        return "| " + " | ".join(str(cell) for cell in cells) + " |"

    return "\n".join([line(head), "|---|" + "---:|" * (len(head) - 1)] + [line(row) for row in rows])


def mark(text, reached):
    return text if reached else f"**{text} missed**"


def goal_cells(machine, has_row, goal_text, measure, is_reached):
    """A goal and what each build measured; dashes where the processor has no such kernel."""
    if not has_row(machine):
        return ["-"] * (1 + len(BUILDS))
    cells = [goal_text(machine)]
    for build, results in machine.engines.items():
        value = round(measure(results), 2)
        cells.append(mark(f"{value:.2f}", is_reached(machine, value, GCC_SHARE if build == "gcc" else 1)))
    return cells


def goal_rows(machines):
    """A line for each size of each goal, with all processors beside each other."""
    lines = []
    for row, ours, peer, sizes, goal in RATIO_GOALS:
        for size in sizes:
            lines.append([f"{row}, {ours}, against {peer or 'the best peer'}", size_name(size)])
            for machine in machines:
                lines[-1] += goal_cells(
                    machine, lambda m: (row, ours, size) in m.engines["clang"].times,
                    lambda m: f"{m.goal(row, goal):.2f}", lambda results: results.ratio(row, size, ours, peer),
                    lambda m, value, share: value >= round(m.goal(row, goal) * share, 2))
    for row, ours, goals in CYCLE_GOALS:
        for size, goal in goals.items():
            lines.append([f"{row}, {ours}, cycles a byte", size_name(size)])
            for machine in machines:
                lines[-1] += goal_cells(
                    machine, lambda m: (row, ours, size) in m.engines["clang"].times, lambda m: f"{goal:.2f}",
                    lambda results: results.cycles(row, ours, size),
                    lambda m, value, share: value <= round(goal / share, 2))
    return lines


def library_goal_rows(machines, dlls):
    lines = []
    for machine in machines:
        library = machine.shipped
        for algorithm, row, rival in (("MD5", "md5", "engine"), ("SHA-256", "sha256", "library")):
            size = library.sizes(f"{row}-file")[0]
            share = library.speed(f"{row}-file", "library", size) / library.speed(f"{row}-update", rival, 1 << 20)
            lines.append([f"`HashFile` of 1 GiB, {algorithm}, against memory, {machine.name}", f"{HASH_FILE_GOAL:.2f}",
                          mark(f"{share:.2f}", round(share, 2) >= HASH_FILE_GOAL)])
            peak = library.peaks[f"{row}-file"]
            lines.append([f"its memory above the idle process, {algorithm}, {machine.name}",
                          size_name(HASH_FILE_MEMORY), mark(f"{peak / (1 << 20):.1f} MiB", peak < HASH_FILE_MEMORY)])
        lines += client_goal_rows(machine)
    for cpu, size in dlls.items():
        lines.append([f"`Cifra.dll` for {cpu}, stripped", size_name(LIBRARY_BYTES),
                      mark(f"{size / 1024:.0f} KiB", size <= LIBRARY_BYTES)])
    return lines


def client_goal_rows(machine):
    client = machine.client
    if not client:
        return []
    count, size = client.document["files"], size_name(client.document["fileBytes"])
    rows = [(f"`cifra hash` of {size_name(client.document['largeBytes'])}, MD5, against memory", CLIENT_LARGE_GOAL,
             client.large_speed() / machine.shipped.speed("md5-update", "engine", 1 << 20))]
    if client.has_earlier():
        rows.append((f"`cifra hash` of {count} files of {size}, against release 1.0.0", CLIENT_EARLIER_GOAL,
                     client.seconds("small-sha256", "earlier") / client.seconds("small-sha256")))
    rows.append((f"`cifra hash -j 2` of {count} files of {size}, against one job", CLIENT_JOBS_GOAL,
                 client.seconds("small-sha256") / client.seconds("small-sha256-j2")))
    return [[f"{text}, {machine.name}", f"{goal:.2f}", mark(f"{value:.2f}", round(value, 2) >= goal)]
            for text, goal, value in rows]


def model_rows(model):
    lines = []
    for entry in model:
        cells = [entry["name"], entry["instructions"], mark(str(entry["spills"]), entry["spills"] == 0)]
        for cpu, cycles in entry["cyclesPerByte"].items():
            goal = MODEL_GOALS[entry["name"]][cpu]
            cells += [f"{goal:.2f}", mark(f"{cycles:.2f}", cycles <= goal)]
        lines.append(cells)
    return lines


def cell(results, row, library, size, text):
    return text(row, library, size) if (row, library, size) in results.times else ""


def engine_tables(machine):
    results = machine.engines["clang"]
    parts = []
    for row in results.rows():
        libraries = results.libraries(row)
        unit = "Thousand keys a second" if row == "blowfish-key" else "MB/s"
        lines = [[size_name(size)] +
                 [cell(results, row, library, size, lambda *key: f"{results.speed(*key):.0f}") for library in libraries] +
                 [f"{results.ratio(row, size):.2f}"] for size in results.sizes(row)]
        parts.append(f"#### {row}\n\n{unit}; the last column is `cifra`, as chosen here, over the best peer.\n\n" +
                     table(["Input"] + libraries + ["ratio"], lines))
        if row != "blowfish-key":
            lines = [[size_name(size)] + [cell(results, row, library, size, lambda *key: f"{results.cycles(*key):.2f}")
                                          for library in libraries] for size in results.sizes(row)]
            parts.append("Cycles a byte:\n\n" + table(["Input"] + libraries, lines))
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
    color = {library: f"C{i % 10}" for i, library in enumerate(sorted(libraries))}
    figure, panels = plt.subplots(len(rows), 1, figsize=(8, 4 * len(rows)), layout="constrained")
    for panel, row in zip(panels, rows):
        for library in results.libraries(row):
            width, marker, order = (2.5, "o", 3) if library == "cifra" else (1.2, ".", 2)
            sizes = [size for size in results.sizes(row) if (row, library, size) in results.times]
            panel.plot(sizes, [results.speed(row, library, size) for size in sizes], label=library,
                       color=color[library], linewidth=width, marker=marker, zorder=order,
                       linestyle="--" if is_ours(library) and library != "cifra" else "-")
        panel.set(title=row, yscale="log", xlabel="input", ylabel="MB/s")
        panel.set_xscale("log", base=2)
        panel.set_xticks(results.sizes(row), [size_name(size) for size in results.sizes(row)], fontsize="small")
        for axis in (panel.yaxis.set_major_formatter, panel.yaxis.set_minor_formatter):
            axis(matplotlib.ticker.LogFormatter(minor_thresholds=(2, 1)))
        panel.grid(alpha=0.3)
        panel.legend(fontsize="x-small", ncols=2)
    plt.rcParams["svg.hashsalt"] = "cifra"  # the same data gives the same file
    figure.savefig(path, metadata={"Date": None})


def processor():
    """The processor's name, and the folder of its kind: hypervisors hide the model's own name."""
    text = pathlib.Path("/proc/cpuinfo").read_text()
    name, family, model = (re.search(rf"^{key}\s*: (.*)$", text, re.M)[1] for key in ("model name", "cpu family", "model"))
    short = re.sub(r"\(\w+\)|@.*|CPU|Processor", "", name)
    slug = re.sub(r"[^a-z0-9]+", "-", f"{short} {family} {model}".lower()).strip("-")
    return f"{name.strip()}, family {family}, model {model}", slug


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0]


def stored(document, clock):
    """The entries of a benchmark program's output, as they are kept."""
    times, peaks = {}, {}
    for entry in document["benchmarks"]:
        row, library, size = entry["run_name"].split("/")
        scale = {"ns": 1, "us": 1e3, "ms": 1e6}[entry["time_unit"]]
        times.setdefault((row, library, int(size)), []).append(round(entry[clock] * scale, 3))
        if "peakBytesAboveIdle" in entry:
            # The first of a process: what later ones need is there already.
            peaks.setdefault(row, int(entry["peakBytesAboveIdle"]))
    return [{"row": row, "library": library, "size": size, "nanoseconds": found} |
            ({"peakBytes": peaks[row]} if row in peaks else {}) for (row, library, size), found in sorted(times.items())]


def add(folder, commit):
    """Stores a run of this machine."""
    documents = {name: json.loads((folder / f"{name}.json").read_text()) for name in ("clang", "gcc", "library")}
    compilers = {"clang": first_line("clang++-19", "--version"), "gcc": first_line("g++", "--version")}
    name, slug = processor()
    context = {"processor": name, "kernels": documents["clang"]["context"]["kernels"], "commit": commit,
               "date": documents["clang"]["context"]["date"][:10]}
    (DATA / slug).mkdir(parents=True, exist_ok=True)
    for kind, document in documents.items():
        entries = stored(document, "real_time" if kind == "library" else "cpu_time")
        lines = ",\n".join(json.dumps(entry) for entry in entries)
        head = json.dumps(context | {"compiler": compilers.get(kind, compilers["clang"])})
        (DATA / slug / f"{kind}.json").write_text(f'{{"context": {head},\n"results": [\n{lines}\n]}}\n')
    (DATA / slug / "client.json").write_text((folder / "client.json").read_text())
    (DATA / "model-arm64.json").write_text((folder / "model.json").read_text())


def page(machines, goals, library_goals, models):
    settings = [[machine.name, machine.context["processor"], machine.context["kernels"],
                 machine.compilers, machine.commits(), machine.context["date"]] for machine in machines]
    heads = [f"{machine.name}: {column}" for machine in machines for column in ("goal", *BUILDS.values())]
    details = "\n\n".join(
        f"## {machine.name}\n\n![Speed by size of the input](benchmarks/{machine.name}.svg)\n\n"
        f"### Engines and peers, built with Clang\n\n{engine_tables(machine)}\n\n"
        f"### The library\n\n{LIBRARY_TEXT}\n\n{library_table(machine.shipped)}" for machine in machines)
    return PAGE_TEXT.format(
        settings=table(["Folder", "Processor", "Kernels chosen", "Compilers", "Commit", "Date"], settings),
        gcc_share=GCC_SHARE, goals=table(["Row", "Input"] + heads, goals),
        library_goals=table(["", "goal", "measured"], library_goals),
        model=table(["Loop", "instructions", "spills", "N1 goal", "N1", "V2 goal", "V2"], models), details=details)


LIBRARY_TEXT = """`Cifra.dll` for x64 under Wine, called through its interfaces, beside the same engines called in
place. The objects' lives include, for the hashes and the signature, the search for a `log.dll` that
is not there."""

PAGE_TEXT = """# Benchmarks

Made by `scripts/bench` from the raw data in [bench/results](../bench/results), a folder for each
processor: a run on another machine adds its columns.

{settings}

The engines are the source files of `Cifra.dll`, built natively, in one process with the libraries
that people would use instead; all are checked to give the same results first. All rows are measured
several times, interleaved at random; where one library's times spread widely, its row and size are
measured again, all libraries together. A figure is the shortest of all its processor times, ours and
the peers' alike. Other guests of a virtual machine can only lengthen a time, and medians of a run
beside busy ones differ by a factor of two from one size to the next; all times are in the raw data.
Cycles are those of a chain of multiplications that is measured along, not of the nominal clock.
`cifra` is the library as it runs on that processor; `cifra-...` is one kernel, forced; `memcpy` copies
as many bytes as the row reads. Debian 12 has no library with vectorised Base64 to compare with.

## Kernels

Which kernel runs where is decided by the rules of `src/processor/KernelRules.h`, which look at the
processor alone; `cifra version` tells the result. Base64 takes the widest instructions there are.
Blowfish gathers only where gathers are fast, which no feature bit says: on Intel from Alder Lake and
Sapphire Rapids on, not on AMD, not on older Intel processors whose microcode slows them down, nor on
hybrid ones. MD5 goes to vector registers where their rotation takes one cycle, which it does on Intel.

## Goals

Each size is judged by itself: how many times as fast as the peer, or how many cycles a byte. GCC is to
reach {gcc_share:.1f} of each.

{goals}

{library_goals}

What bounds the rows, as found on x64:

- Blowfish on many blocks without gathers is bound by arithmetic: 10.6 instructions a round and block
  for the four units of a Zen 4 give 5.3 cycles a byte at best. Tried and slower: bytes taken through
  memory instead of registers, halves in registers of their own, 4 to 7 blocks at once, rotations at
  other places; some ninety orders of the instructions of a round differ by 12 %. Gathers on Zen 4 take
  about 1.5 times as long as the scalar form.
- A single block, and the key schedule, are chains of look-ups that nothing can fill.
- MD5 in vector registers takes 6.1 cycles a byte on Zen 4, where a rotation takes two cycles.
- Base64 without vector instructions is bound by the number of instructions for encoding, and by
  arithmetic and reading alike for decoding. Tried and slower: single words stored for several look-ups
  (with Clang), all characters read by themselves or all taken out of words. Tables for pairs of
  characters to decode would not fit the first-level cache. Only processors without SSSE3, from
  before 2011, need it.
- `HashFile` reads and digests in turn, so copying from the system's cache adds to the digest's time.
- The client on small files is bound by opening and closing them, which under Wine asks a server process
  three times for each. One job has two threads that open the files ahead of the digest, so on two
  processors a second job finds little left to gain.

## ARM64, by model

ARM64 is not timed, as it is emulated here: `llvm-mca` calculates the cycles of the compiler's output
for Neoverse N1 and V2. Instructions are those of a round of one block (Blowfish), of a step (MD5), or
of 48 bytes (Base64); cycles are those a byte of the data, not of its Base64 text.

{model}

{details}
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--add", type=pathlib.Path, help="a folder with what was measured on this machine")
    parser.add_argument("--commit", help="what was measured")
    parser.add_argument("--dll", action="append", default=[], metavar="CPU=FILE", help="a stripped Cifra.dll")
    arguments = parser.parse_args()
    if arguments.add:
        add(arguments.add, arguments.commit)
    dlls = {cpu: pathlib.Path(file).stat().st_size for cpu, file in (dll.split("=", 1) for dll in arguments.dll)}
    machines = [Machine(folder) for folder in sorted(DATA.iterdir()) if folder.is_dir()]
    CHARTS.mkdir(parents=True, exist_ok=True)
    for machine in machines:
        chart(machine.engines["clang"], CHARTS / f"{machine.name}.svg")
    goals, library_goals = goal_rows(machines), library_goal_rows(machines, dlls)
    models = model_rows(json.loads((DATA / "model-arm64.json").read_text()))
    PAGE.write_text(page(machines, goals, library_goals, models))
    for cells in goals + library_goals + models:
        print("  ".join(str(text) for text in cells))


if __name__ == "__main__":
    main()
