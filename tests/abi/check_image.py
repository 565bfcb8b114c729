#!/usr/bin/env python3
"""check_image.py DLL PDB: what the linked library is made of. Its thread-local data is the platform's
own kind, found through its TLS directory, and it formats text with the platform's C runtime."""

import pathlib
import re
import subprocess
import sys

# Names that only stand in a library with emulated thread-local data or with mingw-w64's formatter.
FOREIGN = [b"__emutls_get_address", b"__mingw_pformat"]
# The index that is there without any thread-local variable takes this much.
EMPTY_TLS_BYTES = 8


def main():
    library, symbols = map(pathlib.Path, sys.argv[1:])
    directory = subprocess.run(["llvm-readobj-19", "--coff-tls-directory", library], check=True, capture_output=True,
                               text=True).stdout
    place = {name: int(value, 16) for name, value in re.findall(r"(Start|End)AddressOfRawData: 0x(\w+)", directory)}
    errors = []
    if place.get("End", 0) - place.get("Start", 0) <= EMPTY_TLS_BYTES:
        errors.append(f"no thread-local data in the TLS directory:\n{directory}")
    content = symbols.read_bytes()
    if b"KxCreateObject" not in content:
        errors.append(f"{symbols} does not name the library's functions")
    errors += [f"{name.decode()} is linked" for name in FOREIGN if name in content]
    print("\n".join(errors) or f"{library.name}: thread-local data of {place['End'] - place['Start']} bytes")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
