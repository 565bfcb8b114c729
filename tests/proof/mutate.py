#!/usr/bin/env python3
"""Changes the portable sources one place at a time and sees whether their tests notice.

mutate.py SOURCE-FOLDER WORK-FOLDER --seed N --count N --seconds N

A mutant that does not compile does not count. One that is not noticed is printed as a survivor with
its file, line and change. The sources themselves are never touched: a copy in WORK-FOLDER is.
"""

import argparse
import filecmp
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

# A test program and the sources whose mutants it must notice: what the native build compiles.
TESTS = {
    "Base64CodecTest": ["cipher/Base64Codec.cpp", "cipher/Base64Ssse3.cpp", "cipher/Base64Avx2.cpp",
                        "cipher/Base64X64.h", "cipher/Base64Simd.h", "cipher/CpuFeatures.cpp"],
    "BlowfishEngineTest": ["cipher/BlowfishEngine.cpp", "foundation/ByteOrder.h", "foundation/Wipe.h"],
    "Md5EngineTest": ["hash/Md5Engine.cpp", "hash/Md5Blocks.cpp", "hash/Md5Scalar.cpp"],
    "StringTest": ["foundation/string/StringT.h", "foundation/string/MemMgr.h",
                   "foundation/string/HexText.h"],
    "CollectionsTest": ["foundation/collections/List.h", "foundation/collections/Map.h",
                        "foundation/collections/MapKey.h", "foundation/collections/NodeList.h"],
}

OPERATORS = [
    (r"(?<=[ ])==(?=[ ])", ["!="]),
    (r"(?<=[ ])!=(?=[ ])", ["=="]),
    (r"(?<=[ ])<(?=[ ])", ["<=", ">"]),
    (r"(?<=[ ])>(?=[ ])", [">=", "<"]),
    (r"(?<=[ ])<=(?=[ ])", ["<"]),
    (r"(?<=[ ])>=(?=[ ])", [">"]),
    (r"(?<=[ ])\+(?=[ ])", ["-"]),
    (r"(?<=[ ])-(?=[ ])", ["+"]),
    (r"(?<=[ ])\*(?=[ ])", ["/"]),
    (r"(?<=[ ])&&(?=[ ])", ["||"]),
    (r"(?<=[ ])\|\|(?=[ ])", ["&&"]),
    (r"(?<=[ ])<<(?=[ ])", [">>"]),
    (r"(?<=[ ])>>(?=[ ])", ["<<"]),
    (r"\+\+", ["--"]),
    (r"\+=", ["-="]),
    (r"-=", ["+="]),
    (r"\btrue\b", ["false"]),
    (r"\bfalse\b", ["true"]),
    (r"(?<![\w.'\"x])\d+(?![\w.'\"])", ["+1"]),
    (r"\bif \((?!constexpr)", ["if (!("]),
    (r"^\s+[\w:.>\-]+\([^;{}=]*\);$", ["dropped call"]),
    (r"\breturn (?!;)[^;{}]+;", ["return {};"]),
]
SKIPPED = re.compile(r"^\s*(//|#|static_assert|template|using|namespace|\*)|\bconstexpr char k|asm")


def mutants_of(text):
    lines = text.split("\n")
    for number, line in enumerate(lines):
        if SKIPPED.search(line):
            continue
        code = line.split("//")[0]
        for pattern, replacements in OPERATORS:
            for match in re.finditer(pattern, code):
                for replacement in replacements:
                    changed = mutated(code, match, replacement)
                    if changed is not None and changed != code:
                        yield number, changed


def mutated(code, match, replacement):
    begin, end = match.span()
    if replacement == "+1":
        replacement = str(int(match[0]) + 1)
    elif replacement == "dropped call":
        return code[: len(code) - len(code.lstrip())] + ";"
    elif replacement == "if (!(":
        depth = 1
        for place in range(end, len(code)):
            depth += {"(": 1, ")": -1}.get(code[place], 0)
            if depth == 0:
                return code[:begin] + replacement + code[end:place] + ")" + code[place:]
        return None
    return code[:begin] + replacement + code[end:]


class Bench:
    """A copy of the project, configured once, in which one file differs at a time."""

    def __init__(self, source, work):
        self.folder = work / "source"
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                               cwd=source, capture_output=True, check=True).stdout.decode()
        for name in filter(None, files.split("\0")):
            copy = self.folder / name
            # What is built from an earlier run stays.
            if (source / name).is_file() and not (
                copy.is_file() and filecmp.cmp(source / name, copy, shallow=False)
            ):
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source / name, copy)
        self.build = self.folder / "build" / "host"
        self.run(["cmake", "--preset", "host", "-DCMAKE_BUILD_TYPE=Debug",
                  "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCIFRA_WARNINGS_AS_ERRORS=OFF"], 600, check=True)

    def run(self, command, seconds, check=False, cwd=None):
        try:
            done = subprocess.run(command, cwd=cwd or self.folder, timeout=seconds,
                                  capture_output=True, check=False)
        except subprocess.TimeoutExpired:
            return False
        if check and done.returncode:
            sys.exit(f"{' '.join(command)} failed:\n{done.stdout.decode()[-3000:]}"
                     f"{done.stderr.decode()[-3000:]}")
        return done.returncode == 0

    def compiles(self, test, check=False):
        return self.run(["cmake", "--build", str(self.build), "--target", test], 600, check)

    def passes(self, test, check=False):
        # A mutant that takes ten times as long hangs.
        begin = time.monotonic()
        limit = 600 if check else max(10.0, 10 * self.usual[test])
        passed = self.run([str(self.build / "bin" / test)], limit, check,
                          self.folder / "tests" / "data")
        if check:
            self.usual = {**getattr(self, "usual", {}), test: time.monotonic() - begin}
        return passed


def candidates(bench):
    found = []
    for test, names in TESTS.items():
        for name in names:
            path = bench.folder / "src" / name
            if path.is_file():
                found += [(test, path, *mutant) for mutant in mutants_of(path.read_text())]
    return found


def try_mutant(bench, test, path, number, changed):
    """None where it does not compile, else whether the tests noticed."""
    original = path.read_text()
    lines = original.split("\n")
    was, lines[number] = lines[number], changed
    try:
        path.write_text("\n".join(lines))
        if not bench.compiles(test):
            return None
        if not bench.passes(test):
            return True
        print(f"survivor: {path.relative_to(bench.folder)}:{number + 1} ({test})\n"
              f"  - {was.strip()}\n  + {changed.strip()}", flush=True)
        return False
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("work", type=pathlib.Path)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seconds", type=float, default=600)
    parser.add_argument("--tests", nargs="*", default=list(TESTS))
    arguments = parser.parse_args()

    bench = Bench(arguments.source.resolve(), arguments.work.resolve())
    for test in arguments.tests:
        bench.compiles(test, check=True)
        bench.passes(test, check=True)
    mutants = [mutant for mutant in candidates(bench) if mutant[0] in arguments.tests]
    total = len(mutants)
    random.Random(arguments.seed).shuffle(mutants)
    killed = survived = broken = 0
    end = time.monotonic() + arguments.seconds
    for mutant in mutants:
        if killed + survived >= arguments.count or time.monotonic() > end:
            break
        noticed = try_mutant(bench, *mutant)
        broken += noticed is None
        killed += noticed is True
        survived += noticed is False
    tried = killed + survived
    print(f"mutants: {total} possible, {tried} tried, {broken} did not compile, {killed} killed"
          f" ({100 * killed / max(tried, 1):.1f} %), {survived} survived")


if __name__ == "__main__":
    main()
