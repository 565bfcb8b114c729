#!/usr/bin/env python3
"""Compares the virtual tables that the compiler lays out for the public interfaces, under the
Itanium C++ ABI (windows-gnu) and the Microsoft one (windows-msvc), with the slots in slots.txt."""

import re
import subprocess
import sys

from microsoft_mode import HERE, MICROSOFT_TARGETS, compiler, parse_arguments

TARGETS = ["aarch64-w64-windows-gnu", "x86_64-w64-windows-gnu", *MICROSOFT_TARGETS]


def expected_tables():
    """Returns {class: [the slots it may have]}: a base shared by several interfaces has several."""
    tables, slots = {}, None
    for line in (HERE / "slots.txt").read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        if line.startswith(" "):
            slots.append(line.strip())
        else:
            slots = []
            for name in line.replace(" : ", " ").split():
                tables.setdefault(name, []).append(slots)
    return tables


def compiler_output(command, target):
    run = subprocess.run(
        [*command, f"--target={target}", "-S", "-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts",
         HERE / "Interfaces.cpp"], capture_output=True, text=True)
    if run.returncode != 0:
        sys.exit(f"{target}: Interfaces.cpp does not compile\n{run.stderr}")
    return run.stdout


def slot_of(entry):
    """Reduces the compiler's line to the operation; None where a destructor has a second entry."""
    if "~" in entry:
        return None if "[complete]" in entry else "destructor"
    return "".join(part or "" for part in re.search(r"(\w+\()(.*)(\))( const)?", entry).groups())


def printed_tables(output):
    for block in re.findall(r"^VF?Table for .*(?:\n .*)*", output, re.M | re.I):
        title, *lines = block.splitlines()
        entries = [match[1] for line in lines if (match := re.match(r"\s*\d+ \| (.*\(.*)", line))]
        entries = [entry for entry in entries if not entry.startswith("offset_to_top")]
        yield re.findall(r"'(.*?)'", title)[-1], [slot for entry in entries if (slot := slot_of(entry))]


def check(target, output, expected):
    seen, errors = set(), []
    for name, slots in printed_tables(output):
        seen.add(name)
        if name not in expected:
            errors.append(f"{target}: {name} is not in slots.txt")
        elif slots not in expected[name]:
            errors.append(f"{target}: {name} has {slots}, expected {expected[name]}")
    return errors + [f"{target}: no table printed for {name}" for name in expected.keys() - seen]


def main():
    command = compiler(parse_arguments(__doc__))
    expected = expected_tables()
    errors = []
    for target in TARGETS:
        errors += check(target, compiler_output(command, target), expected)
    print("\n".join(errors) or f"{len(expected)} classes have the expected slots on {', '.join(TARGETS)}")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
