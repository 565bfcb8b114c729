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


def value(tag, content):
    length = len(content)
    if length >= 128:
        digits = length.to_bytes((length.bit_length() + 7) // 8, "big")
        return bytes([tag, 128 + len(digits)]) + digits + content
    return bytes([tag, length]) + content


def encoded_values():
    identifier = value(0x06, bytes.fromhex("2b06010401823702010c"))
    times = [value(0x17, b"241231235959Z"), value(0x18, b"20241231235959.123Z")]
    algorithm = value(0x30, identifier + value(0x05, b""))
    yield from (identifier, *times, algorithm)
    yield value(0x30, algorithm + value(0x31, b"".join(times)) + value(0x04, content(300)))
    yield value(0x30, value(0xA0, value(0x80, b"\0n\0a\0m\0e")) + value(0xA1, value(0x80, b"link")))
    yield value(0x06, b"\x88" + b"\xff" * 8 + b"\x7f")
    yield b"\x30\x84\xff\xff\xff\xff"


def client_texts():
    for n in LENGTHS:
        text = base64.encodebytes(content(n))
        yield text
        script = b"text\r\n# SIG # Begin signature block\r\n# " + text + b"# SIG # End signature block\r\n"
        yield script
        yield script.decode().encode("utf-16")


SEEDS = {
    "Base64Fuzz": lambda: (content(n) for n in LENGTHS),
    "Base64ObjectFuzz": lambda: (base64.b64encode(content(n)) + b"\0" * 4 for n in LENGTHS),
    "BlowfishFuzz": lambda: (content(n) for n in LENGTHS),
    "BlowfishObjectFuzz": lambda: (content(n) for n in LENGTHS),
    # The fuzzers take their choices from the end.
    "ChecksumFuzz": lambda: (line + bytes([0, 0, mode, 0, 0]) for line in digest_lines() for mode in (0, 1)),
    "ClientTextFuzz": client_texts,
    "CollectionsFuzz": lambda: (content(n) + bytes([mode]) for n in LENGTHS for mode in (0, 1)),
    "DerFuzz": encoded_values,
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
