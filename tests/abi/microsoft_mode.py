"""Clang's command line for Windows targets, the Microsoft ones included.

Needs no Microsoft software: Clang compiles in both modes with libc++ and Wine's headers (Debian
packages clang-19, libc++-19-dev, libwine-dev)."""

import argparse
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
MICROSOFT_TARGETS = ["aarch64-pc-windows-msvc", "x86_64-pc-windows-msvc"]


def parser(description):
    result = argparse.ArgumentParser(description=description)
    result.add_argument("--clang", default="clang-19")
    result.add_argument("--wine-headers", type=pathlib.Path, default="/usr/include/wine/wine")
    return result


def parse_arguments(description):
    return parser(description).parse_args()


def compiler(arguments, includes=(ROOT / "include", ROOT / "src"), standard="c++20"):
    """Returns the command that compiles a file against these headers but for the target and the file."""
    resources = pathlib.Path(
        subprocess.run([arguments.clang, "-print-resource-dir"], check=True, capture_output=True,
                       text=True).stdout.strip())
    wine = arguments.wine_headers
    systems = [
        resources.parents[2] / "include/c++/v1", resources / "include", HERE / "msvc-headers", wine / "msvcrt",
        wine / "windows"
    ]
    command = [arguments.clang, f"-std={standard}", "-nostdinc"]
    for path in systems:
        if not path.is_dir():
            sys.exit(f"missing: {path} (packages clang-19, libc++-19-dev, libwine-dev)")
        command += ["-isystem", path]
    # Parts of libc++ that need a complete Microsoft C library are left out; nothing here uses them.
    command += [
        "-D_UCRT", "-D_LIBCPP_NO_VCRUNTIME", "-D_LIBCPP_HAS_NO_LOCALIZATION", "-D_LIBCPP_HAS_NO_THREADS",
        "-D_LIBCPP_HAS_NO_MONOTONIC_CLOCK"
    ]
    # Clang has a function of this name built in, of another type than Wine's.
    command += ["-D_InterlockedCompareExchange128=WineInterlockedCompareExchange128"]
    # Without this Wine's WCHAR is not wchar_t.
    command += ["-DWINE_UNICODE_NATIVE", "-DUNICODE", "-D_UNICODE", "-DNOMINMAX", "-DWIN32_LEAN_AND_MEAN"]
    command += ["-Wall", "-Wextra", "-Werror"]
    for path in includes:
        command += ["-I", path]
    return command
