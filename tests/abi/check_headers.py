#!/usr/bin/env python3
"""Compiles each of the given public headers alone as C++17, and Cifra.h and Library.h, which include
the others, as C++20: with g++, with Clang and the way clang-cl does, where the macros min and max of
windows.h are in force. (Each one alone as C++20 is the build's target verify_headers.)"""

import concurrent.futures
import os
import pathlib
import subprocess
import sys

import microsoft_mode

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]
INCLUDES = ["-I", microsoft_mode.ROOT / "include", "-I", microsoft_mode.ROOT / "src"]
MACROS = ["-Dmin(a,b)=((a)<(b)?(a):(b))", "-Dmax(a,b)=((a)>(b)?(a):(b))"]
# One target for each standard: SourcesInMicrosoftMode compiles the headers for both.
MICROSOFT = dict(zip(["c++17", "c++20"], microsoft_mode.MICROSOFT_TARGETS))


def commands(arguments, standard):
    """Returns {what the compiler is called in a message: its command but for the file}."""
    native = [f"-std={standard}", *WARNINGS, *INCLUDES]
    target = MICROSOFT[standard]
    return {
        f"g++ {standard}": ["g++", *native],
        f"clang {standard}": [arguments.clang, *native],
        f"{target} {standard}":
            [*microsoft_mode.compiler(arguments, standard=standard), *MACROS,
             f"--target={target}"],
    }


def is_for(header, name, standard):
    if header.name == "Library.h":  # includes windows.h
        return "windows" in name
    return standard == "c++17" or header.name == "Cifra.h"


def errors_in(name, command, header):
    source = f'#include "{header}"\n'
    run = subprocess.run([*command, "-fsyntax-only", "-x", "c++", "-"], input=source, capture_output=True, text=True)
    return f"{name}: {header.name} does not compile alone\n{run.stderr}" if run.returncode else ""


def main():
    parser = microsoft_mode.parser(__doc__)
    parser.add_argument("headers", nargs="+", type=pathlib.Path)
    arguments = parser.parse_args()
    runs = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for standard in MICROSOFT:
            for name, command in commands(arguments, standard).items():
                runs += [pool.submit(errors_in, name, command, header)
                         for header in arguments.headers if is_for(header, name, standard)]
    errors = [run.result() for run in runs if run.result()]
    print("\n".join(errors) or f"{len(arguments.headers)} headers compile alone, {len(runs)} compilations")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
