#!/usr/bin/env python3
"""Writes hash-digests.txt: MD5 and SHA-256 digests, by OpenSSL, of messages that any program can
make again.

Random numbers come from SplitMix64 (S. Vigna), seeded with 1. The first 8192 of them, as
little-endian words, are the pool. Two numbers a and b then make each message: half of the messages
have a mod 1000 bytes, the others, those where bit 32 of a is set, a mod 125; they begin at byte
b mod (65536 - 1000) of the pool.

    --check     compares hash-digests.txt with what would be written, all but the last line, which
                takes half a minute
"""
import hashlib
import pathlib
import struct
import sys

POOL_WORDS = 8192
PREFIX_LENGTHS = range(0, 131)
BATCHES = 100
BATCH_MESSAGES = 1000
MAX_LENGTH = 1000
ZEROS = 5_000_000_001
HEADER = """\
# MD5 and SHA-256 digests that OpenSSL made; see make-hash-digests.py for the messages.
# prefix N   the first N bytes of the pool
# batch N    the digests of the N-th thousand messages, concatenated and hashed
# zeros N    N bytes of zero
"""


def split_mix_64(state):
    mask = (1 << 64) - 1
    while True:
        state = (state + 0x9E3779B97F4A7C15) & mask
        z = state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & mask
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & mask
        yield z ^ (z >> 31)


def message(pool, a, b):
    length = a % 125 if a >> 32 & 1 else a % MAX_LENGTH
    offset = b % (len(pool) - MAX_LENGTH)
    return pool[offset : offset + length]


def line(name, number, md5, sha256):
    return f"{name} {number} {md5.hexdigest()} {sha256.hexdigest()}\n"


def short_lines():
    numbers = split_mix_64(1)
    pool = b"".join(struct.pack("<Q", next(numbers)) for _ in range(POOL_WORDS))
    for length in PREFIX_LENGTHS:
        prefix = pool[:length]
        yield line("prefix", length, hashlib.md5(prefix), hashlib.sha256(prefix))
    for batch in range(BATCHES):
        md5, sha256 = hashlib.md5(), hashlib.sha256()
        for _ in range(BATCH_MESSAGES):
            text = message(pool, next(numbers), next(numbers))
            md5.update(hashlib.md5(text).digest())
            sha256.update(hashlib.sha256(text).digest())
        yield line("batch", batch, md5, sha256)


def zeros_line():
    md5, sha256 = hashlib.md5(), hashlib.sha256()
    piece = bytes(1 << 20)
    for done in range(0, ZEROS, len(piece)):
        md5.update(piece[: ZEROS - done])
        sha256.update(piece[: ZEROS - done])
    return line("zeros", ZEROS, md5, sha256)


def main():
    if hashlib.md5.__name__ != "openssl_md5" or hashlib.sha256.__name__ != "openssl_sha256":
        sys.exit("this Python does not hash with OpenSSL")
    path = pathlib.Path(__file__).with_name("hash-digests.txt")
    text = HEADER + "".join(short_lines())
    if "--check" not in sys.argv:
        path.write_text(text + zeros_line())
    elif not path.read_text().startswith(text):
        sys.exit("hash-digests.txt is not what OpenSSL makes")


main()
