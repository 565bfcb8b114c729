#!/usr/bin/env python3
"""Reads a PE file and its PDB and tells which protections of the platform it lacks.

Prints every check with its finding; exits with 1 where one fails. What a compiler cannot do is
printed as "cannot be had", and checked to be absent, so that a newer compiler that can is noticed.
"""

import argparse
import pathlib
import re
import struct
import subprocess
import sys

ASLR, HIGH_ENTROPY, NX, CFG = 0x0040, 0x0020, 0x0100, 0x4000
EXECUTE, WRITE, SHARED = 0x20000000, 0x80000000, 0x10000000
X64, ARM64 = 0x8664, 0xAA64
CODEVIEW, EXTENDED_CHARACTERISTICS = 2, 20
CET_COMPATIBLE = 1
GUARD_INSTRUMENTED, GUARD_TABLE = 0x100, 0x400

# The platform's libraries, the C runtime's among them.
PLATFORM = re.compile(
    r"(kernel32|advapi32|bcrypt|crypt32|shell32|shlwapi|user32|version|winmm|wintrust|msvcrt|ntdll"
    r"|api-ms-win-crt-[a-z]+-l1-1-0)\.dll",
    re.IGNORECASE,
)
# GCC's runtime library names the folders in which it was built itself; no build of ours is there.
OF_THE_COMPILER = (b"/usr/", b"/build")


def tool(name, *arguments):
    for candidate in (f"{name}-19", name):
        try:
            return subprocess.run(
                [candidate, *map(str, arguments)], capture_output=True, check=True
            ).stdout
        except FileNotFoundError:
            continue
    sys.exit(f"no {name} here")


class Image:
    """The headers of a PE32+ file."""

    def __init__(self, path):
        self.bytes = path.read_bytes()
        header = self.read("<I", 0x3C)
        if self.bytes[:2] != b"MZ" or self.bytes[header : header + 4] != b"PE\0\0":
            sys.exit(f"{path} is no PE file")
        self.machine, sections = self.read("<HH", header + 4)
        optional = header + 24
        assert self.read("<H", optional) == 0x20B, "not a 64-bit image"
        self.base = self.read("<Q", optional + 24)
        self.characteristics = self.read("<H", optional + 70)
        self.directories = [self.read("<II", optional + 112 + 8 * i) for i in range(16)]
        table = optional + self.read("<H", header + 20)
        self.sections = []
        for i in range(sections):
            at = table + 40 * i
            name = self.bytes[at : at + 8].rstrip(b"\0").decode()
            size, address, raw_size, raw = self.read("<IIII", at + 8)
            self.sections.append((name, address, max(size, raw_size), raw, self.read("<I", at + 36)))

    def read(self, form, offset):
        values = struct.unpack_from(form, self.bytes, offset)
        return values if len(values) > 1 else values[0]

    def offset(self, address):
        for _, start, size, raw, _ in self.sections:
            if start <= address < start + size:
                return address - start + raw
        sys.exit(f"address {address:#x} is in no section")

    def text(self, address):
        start = self.offset(address)
        return self.bytes[start : self.bytes.index(b"\0", start)].decode()

    def imports(self):
        at = self.offset(self.directories[1][0])
        names = []
        while name := self.read("<I", at + 12):
            names.append(self.text(name))
            at += 20
        return names

    def debug_entries(self):
        address, size = self.directories[6]
        if size == 0:
            return {}
        start = self.offset(address)
        entries = [self.read("<IIHHIIII", at) for at in range(start, start + size, 28)]
        return {entry[4]: entry[7] for entry in entries}

    def guard(self):
        """The flags of the load configuration and the number of functions in its table."""
        address = self.directories[10][0]
        if address == 0:
            return 0, 0
        at = self.offset(address)
        return self.read("<I", at + 144), self.read("<Q", at + 136)


class Checks:
    def __init__(self):
        self.failed = False

    def __call__(self, holds, what, finding=""):
        print(f"{'ok  ' if holds else 'FAIL'} {what}{': ' if finding else ''}{finding}")
        self.failed |= not holds

    def absent(self, holds, what, reason):
        self(not holds, f"cannot be had, {reason}: {what}")


def foreign_paths(image, folders):
    found = set()
    for folder in folders:
        for form in (folder, folder.replace("/", "\\")):
            for encoding in ("ascii", "utf-16-le"):
                if form.encode(encoding) in image.bytes:
                    found.add(form)
    for text in re.findall(rb"/(?:usr|root|home|build|opt|tmp|var|work)/[\x21-\x7e]{2,}", image.bytes):
        if not text.startswith(OF_THE_COMPILER):
            found.add(text.decode())
    return sorted(found)


def check_headers(check, image, is_clang):
    flags = image.characteristics
    check(flags & ASLR, "address space layout randomisation")
    check(flags & HIGH_ENTROPY, "high entropy of it")
    check(flags & NX, "no execution of data")
    check(image.base > 0xFFFFFFFF, "image base above 4 GB", hex(image.base))
    bad = [name for name, *_, kind in image.sections if kind & EXECUTE and kind & WRITE]
    check(not bad, "no section both writable and executable", " ".join(bad))
    bad = [name for name, *_, kind in image.sections if kind & SHARED]
    check(not bad, "no shared section", " ".join(bad))
    check(image.directories[5][1] > 0, "relocations, without which the image does not move")
    bad = [name for name in image.imports() if not PLATFORM.fullmatch(name)]
    check(image.imports() and not bad, "imports of the platform only", " ".join(bad))
    guard_flags, functions = image.guard()
    has_guard = flags & CFG and guard_flags & GUARD_INSTRUMENTED and guard_flags & GUARD_TABLE
    if is_clang:
        check(has_guard and functions > 0, "Control Flow Guard", f"{functions} functions")
    else:
        check.absent(has_guard, "Control Flow Guard", "GCC has no such thing")


def check_processor(check, image, path, is_clang):
    if image.machine == X64:
        place = image.debug_entries().get(EXTENDED_CHARACTERISTICS)
        is_marked = place is not None and bool(image.read("<I", place) & CET_COMPATIBLE)
        if is_clang:
            check(is_marked, "marked as compatible with the shadow stack")
        else:
            check.absent(is_marked, "the mark of the shadow stack", "GNU ld does not set it")
        return
    code = tool("llvm-objdump", "--disassemble", "--no-show-raw-insn", path).decode()
    signed = len(re.findall(r"\bpacibsp\b", code))
    checked = len(re.findall(r"\bautibsp\b|\bretab\b", code))
    check(signed > 50 and checked > 0, "return addresses signed with the B key", f"{signed} times")
    check("paciasp" not in code, "none signed with the A key, which the platform does not support")


def check_symbols(check, image, path):
    place = image.debug_entries().get(CODEVIEW)
    check(place is not None and image.bytes[place : place + 4] == b"RSDS", "names its PDB")
    name = image.bytes[place + 24 : image.bytes.index(b"\0", place + 24)].decode()
    symbols = path.with_name(name)
    check(symbols.is_file(), "its PDB is beside it, named without a folder", name)
    listing = tool("llvm-pdbutil", "dump", "--files", symbols).decode()
    own = [line for line in listing.splitlines() if re.search(r"\((MD5|SHA-1|SHA-256|no)", line)]
    own = [line for line in own if re.search(r"[\\/](src|tools|include|examples)[\\/]", line)]
    bad = [line for line in own if "SHA-256" not in line]
    check(own and not bad, "SHA-256 of its sources in the PDB", f"{len(own)} files")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--build-folder", required=True)
    parser.add_argument("--source-folder", required=True)
    parser.add_argument("file", type=pathlib.Path)
    arguments = parser.parse_args()

    is_clang = "Clang" in arguments.compiler
    image = Image(arguments.file)
    check = Checks()
    check(image.machine in (X64, ARM64), "made for a processor that is known")
    check_headers(check, image, is_clang)
    check_processor(check, image, arguments.file, is_clang)
    folders = [arguments.build_folder, arguments.source_folder, str(pathlib.Path.home())]
    bad = foreign_paths(image, folders)
    check(not bad, "no path of the machine that built it", " ".join(bad))
    if is_clang:
        check_symbols(check, image, arguments.file)
    sys.exit(check.failed)


if __name__ == "__main__":
    main()
