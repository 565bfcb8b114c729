"""The documents: what they name exists, and what they show can be run. (The samples in C++ and the
commands of docs/using.md are compiled and run by the test of the package, the client's by its own.)"""

import ctypes
import json
import os
import pathlib
import re
import runpy
import subprocess
import sys

import pytest
import yaml
from pygments.lexers import PowerShellLexer
from pygments.token import Error

ROOT = pathlib.Path(__file__).resolve().parents[2]
VERSION = os.environ["CIFRA_VERSION"]
PAGES = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")])
NAMES = [page.relative_to(ROOT).as_posix() for page in PAGES]


def text_of(page):
    return (ROOT / page).read_text()


def anchors_of(page):
    """The anchors that a hosting site gives the headings of a page."""
    headings = re.findall(r"^#+ (.*)$", page.read_text(), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


@pytest.mark.parametrize("page", NAMES)
def test_every_link_within_the_project_leads_somewhere(page):
    for target in re.findall(r"\]\(([^)\s]+)\)", text_of(page)):
        if not re.match(r"https?://|mailto:", target):
            name, _, anchor = target.partition("#")
            path = ((ROOT / page).parent / name) if name else ROOT / page
            assert path.exists(), target
            assert not anchor or anchor in anchors_of(path), target


def test_the_readme_links_every_page():
    linked = set(re.findall(r"\]\(([^)\s]+)\)", text_of("README.md")))
    assert [name for name in NAMES if name != "README.md" and name not in linked] == []


def test_the_code_that_the_conventions_quote_is_in_the_sources():
    quotes = re.findall(r"^```cpp\n(.*?)^```$", text_of("docs/conventions.md"), re.M | re.S)
    sources = [path.read_text() for folder in ("src", "tools", "tests", "include", "examples")
               for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".cpp")]
    assert quotes and [quote for quote in quotes if not any(quote in source for source in sources)] == []


def part_of(path):
    """The part of docs/architecture.md's picture that a source file belongs to."""
    place = path.relative_to(ROOT).parts
    if place[0] == "include":
        return "headers"
    name = place[2] if place[0] == "tools" else place[1]
    parts = {"cipher": "commands", "hash": "commands", "verify": "commands", "main.cpp": "main"} if place[0] == "tools" else {
        "cipher": "objects", "hash": "objects", "signature": "objects"}
    return parts.get(name, name)


def test_the_picture_of_the_parts_has_every_arrow_and_no_other():
    picture = re.search(r"^```mermaid\ngraph TD\n(.*?)^```$", text_of("docs/architecture.md"), re.M | re.S)[1]
    drawn = set(re.findall(r"^ *(\w+)(?:\[[^]]*\])? (?:-->|-\..*?\.->) (\w+)", picture, re.M))
    found = set()
    for path in [*ROOT.glob("src/**/*.*"), *ROOT.glob("include/**/*.h"), *ROOT.glob("tools/cifra/**/*.*")]:
        if path.suffix in (".h", ".cpp"):
            for name in re.findall(r'^#include "([^"]+)"', path.read_text(), re.M):
                places = (path.parent / name, ROOT / "src" / name, ROOT / "include" / name, ROOT / "tools/cifra" / name)
                found |= {(part_of(path), part_of(place)) for place in places if place.exists()}
    assert drawn == {(one, other) for one, other in found if one != other}


# What becomes of each code block, known by its page and its first words: the test that runs, compiles or
# compares it, or why none can. The licences in THIRD-PARTY-NOTICES.md are checked by packaging/notices.py.
PICTURE = "a picture"
WHOLE_BUILD = "builds a preset and uses its folder, which this test may be running from; the names in it are checked"
CLIENT = "test_the_examples_run_and_give_what_the_page_shows"
QUOTE = "test_the_code_that_the_conventions_quote_is_in_the_sources"
SAMPLE = "test_the_documents_samples_compile_against_the_package"
USING = "test_the_commands_of_the_page_give_what_it_shows"
OWN_PROGRAM = "test_a_program_of_ones_own_builds_as_the_page_says"
BLOCKS = {
    "CONTRIBUTING.md": {"scripts/test": WHOLE_BUILD, "scripts/run-x64": WHOLE_BUILD},
    "README.md": {"your program": PICTURE, "scripts/demo": WHOLE_BUILD, "> cifra": "test_the_demo_gives_what_the_readme_shows",
                  "cifra encrypt": CLIENT, "#include": SAMPLE},
    "docs/architecture.md": {"graph": PICTURE, "sequenceDiagram": PICTURE},
    "docs/building.md": {"scripts/setup": WHOLE_BUILD, "cmake --build --preset": WHOLE_BUILD,
                         "cmake -G Ninja": "test_the_commands_for_windows_build_and_install_the_library"},
    "docs/cli.md": {"cifra encrypt": "test_every_command_has_its_table", "> cifra encrypt --key-file": CLIENT,
                    "> cifra encrypt --key-env": CLIENT, "> cifra base64": CLIENT, "> cifra hash": CLIENT,
                    "> cifra verify setup.exe": CLIENT, "> cifra verify --signer": "test_a_policy_is_demanded_of_trusted_files", "> cifra selftest": CLIENT},
    "docs/conventions.md": {"#include": QUOTE, "constexpr": QUOTE, "// Stays": QUOTE, "kx::FatalUnless": QUOTE,
                            "const kx::EnumPtr": QUOTE, "using CngHash": QUOTE, "TEST(Factory": QUOTE,
                            "Say how many": "the subject of a commit"},
    "docs/logging.md": {"14:03:07.512": "test_the_log_shows_what_the_library_does"},
    "docs/using.md": {"PACKAGE=": USING, "40Ud1Hmcvw": USING, "find_package": OWN_PROGRAM, "export PKG_CONFIG_PATH": OWN_PROGRAM,
                      "#include": SAMPLE},
    "docs/windows.md": {"scripts/windows-kit": WHOLE_BUILD},
}


@pytest.mark.parametrize("page", [name for name in NAMES if name != "THIRD-PARTY-NOTICES.md"])
def test_every_code_block_is_tested_or_cannot_be(page):
    listed = BLOCKS.get(page, {})
    blocks = [block.lstrip() for block in re.findall(r"^```\w*\n(.*?)^```$", text_of(page), re.M | re.S)]
    assert len(blocks) == len(listed)
    for beginning in listed:
        assert len([block for block in blocks if block.startswith(beginning)]) == 1, beginning
    tests = "".join(path.read_text() for path in ROOT.glob("tests/*/test_*.py"))
    for test in listed.values():
        assert not test.startswith("test_") or f"\ndef {test}(" in tests, test


def shell_of(page):
    return "".join(re.findall(r"^```(?:sh|bat)\n(.*?)^```$", text_of(page), re.M | re.S))


@pytest.mark.parametrize("page", NAMES)
def test_the_commands_of_a_page_are_there(page):
    shell = shell_of(page)
    subprocess.run(["bash", "-n"], input=shell, text=True, check=True)
    presets = {each["name"] for each in json.loads(text_of("CMakePresets.json"))["configurePresets"]}
    steps = set(re.findall(r"^  ([\w-]+)  ", subprocess.run(
        [ROOT / "scripts/setup", "--help"], capture_output=True, text=True, check=True).stdout, re.M))
    code = shell + "\n".join(re.findall(r"`([^`\n]+)`", text_of(page)))
    for script in re.findall(r"\b(?:scripts|\.ci|packaging)/[\w./-]*\w", code):
        assert (ROOT / script).exists(), script
    for preset in re.findall(r"--preset (\w[\w-]*)", code):
        assert preset in presets | {"PRESET"}, preset
    for arguments in re.findall(r"scripts/setup ((?:[a-z][\w-]* ?)+)", shell):
        assert set(arguments.split()) <= steps, arguments


def test_the_reference_is_made_without_a_warning():
    pathlib.Path(os.environ["CIFRA_WORK"]).mkdir(exist_ok=True)
    done = subprocess.run(f"(cat packaging/Doxyfile; echo OUTPUT_DIRECTORY={os.environ['CIFRA_WORK']}/reference) | doxygen -",
                          shell=True, cwd=ROOT, capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")
    page = pathlib.Path(os.environ["CIFRA_WORK"], "reference/html/classCifra_1_1IMd5.html").read_text()
    assert "</a> computes the MD5 digest" in page


FUNCTIONS = re.findall(r"^uint32_t (\w+)\(([^)]*)\);", text_of("include/Cifra/Functions.h"), re.M)


def parameters(types):
    """The functions of the header with their parameters in the types of another language."""
    return {name: [types[re.sub(r"\w+$", "", each.strip()).strip()] for each in given.split(",")]
            for name, given in FUNCTIONS}


def native_stand_in(tmp_path, *options):
    """A library for this machine with the functions of the public header: neither Python nor .NET for Windows is at hand."""
    library = tmp_path / "libCifra.so"
    subprocess.run(["gcc", "-Wall", "-Wextra", "-Werror", "-shared", "-fPIC", *options, "-I", ROOT / "include", "-I", ROOT / "src",
                    ROOT / "tests/docs/FunctionsStandIn.c", "-o", library], check=True)
    return library


def check_run(*command, failure):
    """The example's run against the stand-in, and that it reports a failing function."""
    key = "a key of up to 56 bytes"
    done = subprocess.run(command, capture_output=True, text=True)
    assert done.stderr.splitlines() == [
        f"BlowfishAndBase64Encode(meet me at noon|{key}|1100)", f"Base64AndBlowfishDecode(ciphertext|{key}|4096)",
        "CalculateTextMd5(abc)", "CalculateWideCharTextMd5(006100620063)"]
    assert (done.returncode, done.stdout.splitlines()) == (0, ["ciphertext", "Köln", "md5", "md5 of wide text"])
    failed = subprocess.run(command, capture_output=True, text=True, env={**os.environ, "CIFRA_STANDIN_RESULT": "1168"})
    assert (failed.returncode, failed.stdout) == (1, "") and failure in failed.stderr


def test_the_example_in_python_calls_the_functions_as_the_header_declares_them(tmp_path):
    library = native_stand_in(tmp_path)
    check_run(sys.executable, ROOT / "examples/encrypt_text.py", library, failure="failed with error 1168")
    loaded = runpy.run_path(ROOT / "examples/encrypt_text.py")["load"](str(library))
    types = {"const char*": ctypes.c_char_p, "char*": ctypes.c_char_p, "const wchar_t*": ctypes.c_wchar_p,
             "int32_t": ctypes.c_int32}
    for name, wanted in parameters(types).items():
        function = getattr(loaded, name)
        assert (function.argtypes, function.restype) == (wanted, ctypes.c_uint32), name


def test_the_example_in_csharp_calls_the_functions_as_the_header_declares_them(tmp_path):
    source, program = ROOT / "examples/EncryptText.cs", tmp_path / "EncryptText.exe"
    subprocess.run(["mcs", "-warnaserror", f"-out:{program}", source], check=True)
    # Wide text has two bytes a character, as on Windows.
    library = native_stand_in(tmp_path, "-fshort-wchar")
    program.with_name("EncryptText.exe.config").write_text(
        f'<configuration><dllmap dll="Cifra.dll" target="{library}"/></configuration>')
    check_run("mono", program, failure="Win32Exception")
    types = {"const char*": "byte[]", "char*": "byte[]", "const wchar_t*": "string", "int32_t": "int"}
    declared = re.findall(r"extern uint (\w+)\(([^)]*)\);", source.read_text())
    assert {name: [each.split()[0] for each in given.split(",")] for name, given in declared} == parameters(types)


def test_the_example_in_powershell_is_well_formed():
    text = text_of("examples/EncryptText.ps1")
    tokens = list(PowerShellLexer().get_tokens(text))
    assert [value for kind, value in tokens if kind is Error] == []
    code = "".join(value for kind, value in tokens if "String" not in str(kind) and "Comment" not in str(kind))
    assert [code.count(pair[0]) - code.count(pair[1]) for pair in ("()", "{}", "[]")] == [0, 0, 0]
    # What it calls is in the C# file that it compiles.
    methods = set(re.findall(r"\[Cifra\]::(\w+)\(", text))
    assert methods and methods <= set(re.findall(r"public static string (\w+)\(", text_of("examples/EncryptText.cs")))


def test_the_recipes_are_well_formed_and_name_what_is_there():
    recipe = text_of("packaging/conan/conanfile.py")
    compile(recipe, "conanfile.py", "exec")
    for pattern in re.findall(r'"((?:\w+/\*)|[\w.-]+\.(?:txt|md)|LICENSE)"', recipe):
        assert list(ROOT.glob(pattern)), pattern
    port = text_of("packaging/vcpkg/portfile.cmake")
    workflow = yaml.safe_load(text_of("packaging/windows.yml"))
    runs = [step.get("run", "") for job in workflow["jobs"].values() for step in job["steps"]]
    commands = port + recipe + "".join(runs)
    options = set(re.findall(r"CIFRA_\w+", commands))
    assert options and options <= set(re.findall(r"option\((CIFRA_\w+)", text_of("CMakeLists.txt")
                                                 + text_of("cmake/CifraWarnings.cmake")))
    scripts = [run for run in runs if run.startswith("scripts/")]
    assert scripts and all((ROOT / script).is_file() for script in scripts)
    programs = set(re.findall(r"use\\(\w+)\.exe", commands))
    assert programs and all(list((ROOT / "examples").glob(f"{name}.c*")) for name in programs)


def test_the_version_is_stated_once():
    assert json.loads(text_of("packaging/vcpkg/vcpkg.json"))["version"] == VERSION
    assert f"## [{VERSION}] - 20" in text_of("CHANGELOG.md") and "## [Unreleased]" in text_of("CHANGELOG.md")
    stated = subprocess.run(["git", "grep", "-h", "--fixed-strings", "--word-regexp", VERSION, "--", "src", "include", "tools",
                             "cmake", "scripts", "examples", "README.md"], cwd=ROOT, capture_output=True, text=True).stdout
    # An example in a comment may look like it.
    assert [line for line in stated.splitlines() if not line.lstrip().startswith("//")] == []
