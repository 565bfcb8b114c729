#!/usr/bin/python3
"""Models the speed of the engines' hot loops on ARM64, where nothing can be timed: compiles them as
the arm64 build does, and has llvm-mca calculate what the compiler's output takes on two processors.

Prints a table, or with --json the figures. Needs a configured build/arm64 (cmake --preset arm64)."""

import argparse
import json
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROCESSORS = {"N1": "neoverse-n1", "V2": "neoverse-v2"}
TURNS = 200


class HotCode(NamedTuple):
    """What the time is spent in: the largest loop of a function, or a function without one."""

    name: str
    source: str
    function: str  # begins the demangled name
    data_bytes: int  # of a turn, or a call
    parts: int  # rounds of a block, or steps; 1 where there are none


CIPHER_GROUP = ("void Cifra::BlowfishBlocks::CipherGroup<Cifra::BlowfishBlocks::(anonymous namespace)::PortableRound, "
                "(Cifra::BlowfishBlock::Direction)")
HOT_CODE = [
    HotCode("Blowfish encrypt", "src/cipher/BlowfishPortable.cpp", CIPHER_GROUP + "0, 8ul", 64, 8 * 16),
    HotCode("Blowfish decrypt", "src/cipher/BlowfishPortable.cpp", CIPHER_GROUP + "1, 8ul", 64, 8 * 16),
    HotCode("MD5", "src/hash/Md5Scalar.cpp", "Cifra::Md5Blocks::TransformScalar", 64, 64),
    HotCode("Base64 encode", "src/cipher/Base64Neon.cpp", "Cifra::Base64Codec::EncodeNeon", 48, 1),
    HotCode("Base64 decode", "src/cipher/Base64Neon.cpp", "Cifra::Base64Codec::DecodeNeon", 48, 1),
]


def assembly(source):
    """The compiler's output for a source of the arm64 build, names demangled."""
    database = ROOT / "build/arm64/compile_commands.json"
    if not database.is_file():
        sys.exit("build/arm64 is not configured: cmake --preset arm64")
    entries = [entry for entry in json.loads(database.read_text()) if entry["file"] == str(ROOT / source)]
    command = shlex.split(entries[0]["command"])
    command[command.index("-o") + 1] = "-"
    command[command.index("-c")] = "-S"
    # Debug information would stand between the instructions.
    output = subprocess.run(command + ["-g0"], cwd=entries[0]["directory"], check=True, capture_output=True)
    return subprocess.run(["llvm-cxxfilt-19"], input=output.stdout, check=True, capture_output=True).stdout.decode()


def lines_of(function, text):
    lines = text.splitlines()
    starts = [i for i, line in enumerate(lines) if line.startswith(function)]
    if not starts:
        sys.exit(f"the compiler made no function {function}")
    end = next(i for i in range(starts[0], len(lines)) if "-- End function" in lines[i])
    return lines[starts[0] + 1:end]


def largest_loop(lines):
    """The lines of the innermost loop with the most of them; all lines where there is no loop."""
    labels = {match[1]: i for i, line in enumerate(lines)
              if (match := re.match(r"(\.\w+):", line)) and "Inner Loop Header" in line}
    loops = []
    for i, line in enumerate(lines):
        target = re.match(r"\s+(?:b\.\w+|cbn?z|tbn?z)\s.*?(\.\w+)$", line.split("//")[0].rstrip())
        if target and labels.get(target[1], i) < i:
            loops.append((labels[target[1]], i))
    innermost = [loop for loop in loops if not any(other != loop and loop[0] <= other[0] and other[1] <= loop[1]
                                                   for other in loops)]
    first, last = max(innermost, key=lambda loop: loop[1] - loop[0], default=(0, len(lines) - 1))
    return lines[first:last + 1]


def instructions(lines):
    return [line for line in lines if re.match(r"\s+[a-z]", line)]


def cycles(code, processor):
    """The cycles of a turn among many, which begins while those before it end."""
    with tempfile.NamedTemporaryFile("w", suffix=".s") as file:
        file.write("\n".join(code) + "\n")
        file.flush()

        def total(turns):
            output = subprocess.run(
                ["llvm-mca-19", "--mtriple=aarch64", f"-mcpu={processor}", f"-iterations={turns}", file.name],
                check=True, capture_output=True, text=True).stdout
            return int(re.search(r"Total Cycles:\s+(\d+)", output)[1])

        return (total(2 * TURNS) - total(TURNS)) / TURNS


def spills(lines):
    """How often a value is moved out of the registers or back; what a function must save at its begin
    and restore at its end does not count."""
    inside, count = True, 0
    for line in lines:
        if ".seh_proc" in line or ".seh_startepilogue" in line:
            inside = False
        elif ".seh_endprologue" in line or ".seh_endepilogue" in line:
            inside = True
        elif inside and ("Spill" in line or "Reload" in line):
            count += 1
    return count


def model(hot, text):
    body = largest_loop(lines_of(hot.function, text))
    code = instructions(body)
    return {
        "name": hot.name,
        "instructions": round(len(code) / hot.parts, 1),
        "spills": spills(body),
        "cyclesPerByte": {name: round(cycles(code, cpu) / hot.data_bytes, 2) for name, cpu in PROCESSORS.items()},
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--json", action="store_true", help="print the figures as JSON")
    arguments = parser.parse_args()
    texts = {source: assembly(source) for source in {hot.source for hot in HOT_CODE}}
    figures = [model(hot, texts[hot.source]) for hot in HOT_CODE]
    if arguments.json:
        print(json.dumps(figures, indent=2))
        return
    print(f"{'':18}{'instructions':>14}{'spills':>8}" + "".join(f"{name + ' c/B':>9}" for name in PROCESSORS))
    for row in figures:
        print(f"{row['name']:18}{row['instructions']:>14}{row['spills']:>8}" +
              "".join(f"{row['cyclesPerByte'][name]:>9}" for name in PROCESSORS))


if __name__ == "__main__":
    main()
