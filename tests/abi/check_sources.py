#!/usr/bin/env python3
"""Compiles every source of the library the way clang-cl does, for ARM64 and x64."""

import concurrent.futures
import os
import subprocess
import sys
import tempfile

import microsoft_mode

# What most files include is read once; that each includes what it uses is seen by other builds.
NAMES = ["algorithm", "functional", "memory", "string", "vector", "windows.h"]
SHARED = "".join(f"#include <{name}>\n" for name in NAMES)


def main():
    command = microsoft_mode.compiler(microsoft_mode.parse_arguments(__doc__))
    sources = sorted((microsoft_mode.ROOT / "src").rglob("*.cpp"))

    def precompile(target, folder):
        shared = f"{folder}/{target}.pch"
        subprocess.run([*command, f"--target={target}", "-x", "c++-header", "-", "-o", shared], input=SHARED, text=True,
                       check=True)
        return shared

    def errors_in(target, shared, source):
        run = subprocess.run([*command, f"--target={target}", "-include-pch", shared, "-fsyntax-only", source],
                             capture_output=True, text=True)
        return f"{target}: {source.name} does not compile\n{run.stderr}" if run.returncode else ""

    targets = microsoft_mode.MICROSOFT_TARGETS
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        headers = pool.map(precompile, targets, [folder] * len(targets))
        runs = [pool.submit(errors_in, target, shared, source)
                for target, shared in zip(targets, headers) for source in sources]
    errors = [run.result() for run in runs if run.result()]
    print("\n".join(errors) or f"{len(sources)} files compile for {', '.join(targets)}")
    return 1 if errors or not sources else 0


if __name__ == "__main__":
    sys.exit(main())
