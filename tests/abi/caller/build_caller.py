#!/usr/bin/env python3
"""Builds a program under the Microsoft C++ ABI from the installed public headers, and puts it into a
folder with the library and with stand-ins for what it verifies signatures by.

No Microsoft software takes part: the program brings its own entry point and memory, and is linked
with the import libraries of the toolchain that built the library."""

import pathlib
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

import microsoft_mode  # noqa: E402

TARGETS = {"arm64": "aarch64-pc-windows-msvc", "x64": "x86_64-pc-windows-msvc"}
OPTIONS = ["-O1", "-fno-exceptions", "-fno-rtti", "-fno-threadsafe-statics", "-mno-stack-arg-probe"]
TICKS_IN_1970 = 116444736000000000
TIME = TICKS_IN_1970 + 1_600_000_000_123 * 10_000
# Two signatures as the stand-in trust service reads them.
SIGNED = (f"0\tcertificate\t{TIME}\t01ab\tCN=A, OU=B, OU=C\tCN=Root\n"
          "800B0101\tcertificate\t0\t02\tCN=A, OU=B\tCN=Root\n")


def run(*command):
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL)


def main():
    parser = microsoft_mode.parser(__doc__)
    parser.add_argument("--arch", choices=TARGETS, required=True)
    parser.add_argument("--linker", default="lld-link-19")
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the build to install")
    parser.add_argument("--work", type=pathlib.Path, required=True, help="made anew")
    parser.add_argument("--libraries", type=pathlib.Path, required=True, help="folder of the import libraries")
    parser.add_argument("standins", type=pathlib.Path, nargs="+")
    arguments = parser.parse_args()
    work = arguments.work
    shutil.rmtree(work, ignore_errors=True)

    package = work / "package"
    run("cmake", "--install", arguments.build, "--prefix", package)
    [headers] = [path.parent.parent for path in package.glob("include/**/Cifra/Cifra.h")]
    command = microsoft_mode.compiler(arguments, [headers])
    objects = []
    for source in sorted(HERE.glob("*.cpp")):
        objects.append(work / (source.stem + ".obj"))
        run(*command, f"--target={TARGETS[arguments.arch]}", *OPTIONS, "-c", source, "-o", objects[-1])
    libraries = [arguments.libraries / f"lib{name}.a" for name in ("kernel32", "user32", "ucrt")]
    run(arguments.linker, "/nologo", "/subsystem:console", "/entry:start", "/nodefaultlib",
        f"/out:{work / 'MicrosoftCaller.exe'}", *objects, *libraries)

    for file in (package / "bin/Cifra.dll", *arguments.standins):
        shutil.copy(file, work)
    (work / "abc.txt").write_text("abc")
    (work / "signed.txt").write_text(SIGNED)


if __name__ == "__main__":
    main()
