#!/usr/bin/env python3
"""Writes THIRD-PARTY-NOTICES.md from the licence texts of the Debian packages that the linked parts
come from; --check only compares (packages libcli11-dev, nlohmann-json3-dev, libc++-19-dev,
mingw-w64-x86-64-dev, g++-mingw-w64-x86-64-posix)."""

import pathlib
import re
import sys

TARGET = pathlib.Path(__file__).resolve().parent.parent / "THIRD-PARTY-NOTICES.md"
INTRODUCTION = """# Third-party notices

What `Cifra.dll` and `cifra.exe` have linked in, with the licence texts. `sbom.spdx.json` in a package
names the versions. Made by `packaging/notices.py`; do not edit.
"""
# Title, note, package, and the names of the files in it (as its copyright file has them) that count.
DEP5 = [
    ("CLI11", "In `cifra.exe`.", "libcli11-dev", r"\*$"),
    ("JSON for Modern C++", "In `cifra.exe`.", "nlohmann-json3-dev", r"\*$|include/"),
    ("libc++, libc++abi, libunwind and the builtins of compiler-rt",
     "In the packages `arm64` and `x64`. The Apache License 2.0 is the text of `LICENSE`.", "libc++-19-dev", r"\*$"),
    ("mingw-w64 runtime", "Start-up code and parts of the C runtime; winpthreads is in `x64-gcc` only.",
     "mingw-w64-x86-64-dev", r"\*$|mingw-w64-crt/|mingw-w64-libraries/winpthreads/(?!tests)"),
]


def copyright_of(package):
    path = pathlib.Path("/usr/share/doc") / package / "copyright"
    if not path.is_file():
        sys.exit(f"no {path}; install {package}")
    return path.read_text()


def field(paragraph, name):
    match = re.search(rf"^{name}:[ \t]*(.*(?:\n[ \t].*)*)", paragraph, re.M)
    return match[1] if match else ""


def plain(text):
    """The text of a field: a dot alone is an empty line."""
    lines = [line[1:] if line.startswith(" ") else line for line in text.splitlines()]
    return "\n".join("" if line.strip() == "." else line.rstrip() for line in lines).strip("\n")


def dep5_section(title, note, package, files):
    paragraphs = re.split(r"\n[ \t]*\n", copyright_of(package))
    texts, notices, wanted = {}, [], []
    for paragraph in paragraphs:
        licence = field(paragraph, "License")
        name, _, text = licence.partition("\n")
        if text:
            texts.setdefault(name.strip(), plain(text))
        if re.match(files, field(paragraph, "Files").split("\n")[0].strip() or "-"):
            notices += [f"Copyright {line.strip()} ({name.strip()})"
                        for line in field(paragraph, "Copyright").splitlines() if line.strip() != "public-domain"]
            wanted += re.split(r" and | or ", name.strip())
    result = [f"## {title}", "", note, "", *[f"- {line}" for line in dict.fromkeys(notices)], ""]
    for name in dict.fromkeys(wanted):
        if name != "public-domain" or name in texts:
            if name not in texts:
                sys.exit(f"{package}: no text of the licence {name}")
            result += [f"### {name}", "", "```", texts[name], "```", ""]
    return "\n".join(result)


def gcc_section():
    text = copyright_of("g++-mingw-w64-x86-64-posix")
    begin = text.index("GCC RUNTIME LIBRARY EXCEPTION")
    end = text.index("The availability of this Exception does not imply")
    end = text.index("\n\n", end) if "\n\n" in text[end:] else len(text)
    return "\n".join(["## libstdc++ and libgcc", "",
                      "In the package `x64-gcc` only. GNU General Public License, version 3 or later, with:", "", "```",
                      text[begin:end].rstrip(), "```", ""])


def main():
    content = "\n".join([INTRODUCTION, *[dep5_section(*each) for each in DEP5], gcc_section()])
    if "--check" not in sys.argv[1:]:
        TARGET.write_text(content)
    elif TARGET.read_text() != content:
        sys.exit(f"{TARGET.name} is not what packaging/notices.py writes")


if __name__ == "__main__":
    main()
