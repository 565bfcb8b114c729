#!/usr/bin/env python3
"""pack_kit.py PRESET BUILD ZIP: packs the test programs that CTest runs in BUILD, with what lies beside
them, and a run.cmd that runs them all.

Left out are the tests that are not programs for Windows but scripts of this machine."""

import json
import pathlib
import subprocess
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What verifies files with the platform's own trust service, which must know the root of the fixtures.
NEED_ROOT = {"SignatureDamageTest", "SignatureFileTest"}
KEPT = {".exe", ".dll"}


def tests(preset):
    """Yields (name, program, working folder, environment) of each test that is a program."""
    listing = subprocess.run(["ctest", "--preset", preset, "--show-only=json-v1"], cwd=ROOT, check=True,
                             capture_output=True, text=True).stdout
    for test in json.loads(listing)["tests"]:
        runner, *program = map(pathlib.Path, test.get("command", [""]))
        if runner.name == f"run-{preset}" and program[0].suffix == ".exe":
            properties = {entry["name"]: entry["value"] for entry in test["properties"]}
            environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
            yield test["name"], program[0], pathlib.Path(properties["WORKING_DIRECTORY"]), environment


class Kit:
    """What goes into the kit, by its path there."""

    def __init__(self, build):
        self.folders = {
            build / "bin": "bin",
            build / "tests/abi/caller/work": "caller",
            build / "fixtures/signature": "fixtures",
            ROOT / "tests/data": "data",
        }

    def path(self, original):
        """The path in the kit, as Windows writes it."""
        for folder, name in self.folders.items():
            if original.is_relative_to(folder):
                return "\\".join([name, *original.relative_to(folder).parts])
        sys.exit(f"{original} is in none of the kit's folders")

    def files(self):
        for folder, name in self.folders.items():
            for file in sorted(folder.rglob("*")):
                inner = file.relative_to(folder)
                is_program = name == "bin" and file.suffix not in KEPT
                if file.is_file() and not is_program and inner.parts[0] not in ("package", "work"):
                    yield file, f"{name}/{inner.as_posix()}"


def script(kit, preset):
    head = (ROOT / "scripts/lib/kit-head.cmd").read_text()
    tail = (ROOT / "scripts/lib/kit-tail.cmd").read_text()
    calls = []
    for name, program, folder, environment in tests(preset):
        if "CIFRA_FIXTURES" in environment:
            calls.append('set "CIFRA_FIXTURES=%KIT%fixtures"')
        routine = "run_with_root" if name in NEED_ROOT else "run"
        calls.append(f"call :{routine} {name} {kit.path(program)} {kit.path(folder)}")
    return "\r\n".join([*head.splitlines(), *calls, *tail.splitlines(), ""])


def main():
    preset, build, output = sys.argv[1], pathlib.Path(sys.argv[2]).resolve(), pathlib.Path(sys.argv[3])
    kit = Kit(build)
    output.parent.mkdir(parents=True, exist_ok=True)
    with zipfile.ZipFile(output, "w", zipfile.ZIP_DEFLATED) as archive:
        for file, name in kit.files():
            archive.write(file, name)
        authority = build / "fixtures" / "signature" / "work" / "authority.pem"
        archive.write(authority, "fixtures/authority.cer")
        archive.writestr("run.cmd", script(kit, preset))
    print(f"-- {output}: {output.stat().st_size >> 20} MB")


if __name__ == "__main__":
    main()
