#!/usr/bin/python3
"""Measures the client on one large file and on many small ones, with one job and with two, each beside
a start of the client that digests nothing; all in turns. Writes the seconds as JSON.

Usage: measure_client.py OUTPUT ROUNDS LARGE_FILE CLIENT [EARLIER_CLIENT]

With an EARLIER_CLIENT, which may lack --jobs, that one is measured in the same turns."""

import json
import pathlib
import secrets
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
FILES, FILE_BYTES = 5000, 4096


def seconds(client, folder, *arguments):
    start = time.perf_counter()
    subprocess.run([ROOT / "scripts/run-x64", client, "hash", *arguments], check=True, cwd=folder,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def main():
    output, rounds = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    large, *clients = (pathlib.Path(argument).resolve() for argument in sys.argv[3:])
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        (folder / "empty").touch()
        small = folder / "small"
        small.mkdir()
        for number in range(FILES):
            (small / f"{number}.bin").write_bytes(secrets.token_bytes(FILE_BYTES))

        runs = []
        for label, client in zip(("client", "earlier"), clients):
            runs += [(f"{label}-start", (client, folder, "empty")),
                     (f"{label}-large-md5", (client, large.parent, "-a", "md5", large.name)),
                     (f"{label}-small-sha256", (client, small, "-r", "."))]
        runs.append(("client-small-sha256-j2", (clients[0], small, "-j", "2", "-r", ".")))

        times = {name: [] for name, _ in runs}
        for counted in [False] + [True] * rounds:  # the first turn fills the cache
            for name, arguments in runs:
                spent = seconds(*arguments)
                if counted:
                    times[name].append(round(spent, 4))
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], check=True, cwd=ROOT, capture_output=True,
                            text=True).stdout.strip()
    context = {"commit": commit, "files": FILES, "fileBytes": FILE_BYTES, "largeBytes": large.stat().st_size}
    output.write_text(json.dumps(context | {"seconds": times}, indent=1) + "\n")


if __name__ == "__main__":
    main()
