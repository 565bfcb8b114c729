"""The documents: what they name exists, and what they show can be run. (The samples in C++ and the
commands of docs/using.md are compiled and run by the test of the package, the client's by its own.)"""

import json
import os
import pathlib
import re
import subprocess

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


def shell_of(page):
    return "".join(re.findall(r"^```sh\n(.*?)^```$", text_of(page), re.M | re.S))


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


def test_the_examples_in_csharp_and_python_compile(tmp_path):
    subprocess.run(["mcs", "-warnaserror", f"-out:{tmp_path}/EncryptText.exe", ROOT / "examples/EncryptText.cs"], check=True)
    compile(text_of("examples/encrypt_text.py"), "encrypt_text.py", "exec")


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
    steps = workflow["jobs"]["windows"]["steps"]
    commands = port + recipe + "".join(step.get("run", "") for step in steps)
    options = set(re.findall(r"CIFRA_\w+", commands))
    assert options and options <= set(re.findall(r"option\((CIFRA_\w+)", text_of("CMakeLists.txt")
                                                 + text_of("cmake/CifraWarnings.cmake")))
    programs = set(re.findall(r"use\\(\w+)\.exe", commands))
    assert programs and all(list((ROOT / "examples").glob(f"{name}.c*")) for name in programs)


def test_the_version_is_stated_once():
    assert json.loads(text_of("packaging/vcpkg/vcpkg.json"))["version"] == VERSION
    assert f"## [{VERSION}] - 20" in text_of("CHANGELOG.md") and "## [Unreleased]" in text_of("CHANGELOG.md")
    stated = subprocess.run(["git", "grep", "-h", "--fixed-strings", "--word-regexp", VERSION, "--", "src", "include", "tools",
                             "cmake", "scripts", "examples", "README.md"], cwd=ROOT, capture_output=True, text=True).stdout
    # An example in a comment may look like it.
    assert [line for line in stated.splitlines() if not line.lstrip().startswith("//")] == []
