#!/usr/bin/env python3
"""Writes a folder of seeds for each fuzzer: make_seeds.py FOLDER"""

import base64
import hashlib
import pathlib
import shutil
import sys

LENGTHS = [0, 1, 2, 3, 7, 8, 9, 15, 16, 31, 32, 47, 48, 55, 56, 63, 64, 65, 96, 127, 128, 255, 400, 1000]


def content(length):
    return bytes(i * 151 % 251 for i in range(length))


def digest_lines():
    for name in ("file", "a\\b", "line\nend", "carriage\rreturn", ") = x", " blank ", "*star"):
        data = name.encode()
        escaped = name.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r")
        mark = "\\" if escaped != name else ""
        for hash_name in ("md5", "sha256"):
            digest = hashlib.new(hash_name, data).hexdigest()
            yield f"{mark}{digest}  {escaped}".encode()
            yield f"{mark}{digest} *{escaped}".encode()
            yield f"{mark}{hash_name.upper()} ({escaped}) = {digest}".encode()


SEEDS = {
    "Base64Fuzz": lambda: (content(n) for n in LENGTHS),
    "Base64ObjectFuzz": lambda: (base64.b64encode(content(n)) + b"\0" * 4 for n in LENGTHS),
    "BlowfishFuzz": lambda: (content(n) for n in LENGTHS),
    "BlowfishObjectFuzz": lambda: (content(n) for n in LENGTHS),
    # The fuzzers take their choices from the end.
    "ChecksumFuzz": lambda: (line + bytes([0, 0, mode, 0, 0]) for line in digest_lines() for mode in (0, 1)),
    "ClientTextFuzz": lambda: (base64.encodebytes(content(n)) for n in LENGTHS),
    "CollectionsFuzz": lambda: (content(n) + bytes([mode]) for n in LENGTHS for mode in (0, 1)),
    "Md5Fuzz": lambda: (content(n) for n in LENGTHS),
    "NameFuzz": lambda: (content(n)[:300] + b"\\x" + content(60) for n in LENGTHS),
    "StringFuzz": lambda: (content(n) for n in LENGTHS),
}


def main():
    folder = pathlib.Path(sys.argv[1])
    for fuzzer, seeds in SEEDS.items():
        shutil.rmtree(folder / fuzzer, ignore_errors=True)
        (folder / fuzzer).mkdir(parents=True)
        for number, seed in enumerate(seeds()):
            (folder / fuzzer / f"{number:03}").write_bytes(seed)


if __name__ == "__main__":
    main()
