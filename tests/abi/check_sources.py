#!/usr/bin/env python3
"""Compiles every source of the library the way clang-cl does, for ARM64 and x64."""

import concurrent.futures
import os
import subprocess
import sys

import microsoft_mode


def main():
    command = microsoft_mode.compiler(microsoft_mode.parse_arguments(__doc__))
    sources = sorted((microsoft_mode.ROOT / "src").rglob("*.cpp"))

    def errors_in(target, source):
        run = subprocess.run([*command, f"--target={target}", "-fsyntax-only", source], capture_output=True, text=True)
        return f"{target}: {source.name} does not compile\n{run.stderr}" if run.returncode else ""

    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        runs = [pool.submit(errors_in, *pair)
                for pair in ((target, source) for target in microsoft_mode.MICROSOFT_TARGETS for source in sources)]
    errors = [run.result() for run in runs if run.result()]
    print("\n".join(errors) or f"{len(sources)} files compile for {', '.join(microsoft_mode.MICROSOFT_TARGETS)}")
    return 1 if errors or not sources else 0


if __name__ == "__main__":
    sys.exit(main())
