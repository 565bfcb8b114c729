"""What README and docs/cli.md show of the client: every command runs and gives what follows it, and
the tables of options are those of the help. CIFRA_UPDATE_DOCS=1 writes the tables anew."""

import os
import pathlib
import re
import shlex

import pytest

from conftest import Client
from test_verify import TIME, played, signature  # noqa: F401  (played is a fixture)

ROOT = pathlib.Path(__file__).parents[2]
PAGE = ROOT / "docs/cli.md"
BEGIN, END = "<!-- options of {} -->", "<!-- end of options -->"
COMMANDS = re.findall(r"<!-- options of (\w+) -->", PAGE.read_text())


def options_of(help_text):
    """The rows of the help's list of options: their names and what they do, on one line each."""
    section = re.search(r"^Options:\n((?:  .*\n)+)", help_text, re.M)[1]
    rows = []
    for line in section.splitlines():
        if line.startswith("  -"):
            name, _, text = line.strip().partition("  ")
            rows.append([name, text.strip()])
        else:
            rows[-1][1] = f"{rows[-1][1]} {line.strip()}".strip()
    return rows


def table_of(help_text):
    rows = [(name.replace("|", "\\|"), text.replace("|", "\\|")) for name, text in options_of(help_text)]
    return "\n".join(["| Option | |", "|---|---|", *(f"| `{name}` | {text} |" for name, text in rows)])


@pytest.mark.parametrize("command", COMMANDS)
def test_the_table_of_options_is_that_of_the_help(cifra, command):
    begin = BEGIN.format(command)
    text = PAGE.read_text()
    shown = text[text.index(begin) + len(begin):text.index(END, text.index(begin))].strip()
    expected = table_of(cifra.succeed(command, "--help").text.replace("\r\n", "\n"))
    if os.environ.get("CIFRA_UPDATE_DOCS"):
        PAGE.write_text(text.replace(f"{begin}\n{shown}\n{END}", f"{begin}\n{expected}\n{END}", 1))
    else:
        assert shown == expected


def test_every_command_has_its_table(cifra):
    overview = cifra.succeed("--help").text
    commands = re.findall(r"^  (\w+) +([A-Z].*?)\r?$", re.split("(?:Sub|C)ommands:", overview)[1], re.M)
    assert commands == re.findall(r"^cifra (\w+) +([A-Z].*)$", PAGE.read_text(), re.M)
    assert sorted(COMMANDS) == sorted(name for name, _ in commands)


def examples():
    """The commands of the code blocks with what follows each: (section, command, expected lines)."""
    found = []
    for page in (ROOT / "README.md", PAGE):
        section = ""
        for heading, language, block in re.findall(r"^## ([^\n]*)$|^```(\w*)\n(.*?)^```$", page.read_text(), re.M | re.S):
            section = heading or section
            lines = [] if language else block.splitlines()
            for i, line in enumerate(lines):
                if line.startswith("> cifra ") and page == PAGE:
                    following = lines[i + 1:]
                    end = next((j for j, each in enumerate(following) if each.startswith("> ")), len(following))
                    found.append((section, line[2:], following[:end]))
                elif line.startswith("cifra ") and page != PAGE:
                    found.append((section, re.split(r" {4,}", line)[0], []))
    return found


@pytest.fixture
def filled(played, monkeypatch):  # noqa: F811
    """A folder with every file that the examples name."""
    monkeypatch.setenv("MY_KEY", "secret")
    for name, content in {"my.key": b"secret", "key.bin": b"secret", "notes.txt": b"some notes", "message.txt": b"c29tZQ==",
                          "photo.jpg": bytes(range(256)) * 188 + bytes(range(83)), "photo.txt": b"c29tZQ==",
                          "folder/a": b"a", "folder/b": b"b"}.items():
        played.write(name, content)
    return played


def as_shown(section, expected, answer):
    """The lines to compare: what depends on the machine, and what the trust service here cannot play, is left out."""
    if section == "selftest":
        return [[line.split()[0] for line in lines[:len(expected) - 1]] for lines in (expected, answer)]
    end = next((i for i, line in enumerate(expected) if "found by cifra itself" in line), None)
    return expected[:end], answer[:end]


def test_the_examples_run_and_give_what_the_page_shows(filled, program):
    alone = Client(filled.folder, program)  # beside no stand-in
    shown = examples()
    assert len(shown) > 8
    for section, command, expected in shown:
        words = shlex.split(command)[1:]
        if any("..." in word for word in words):
            continue  # a value that is cut short
        signed = signature(time=TIME, subject='O=Fabrikam, C=DE, CN="Fabrikam, Inc."')
        filled.write("setup.exe", signed if words[0] == "verify" else "abc")
        target = words.pop(words.index(">") + 1) if ">" in words else None
        client = alone if words[0] == "selftest" else filled
        result = client(*[word for word in words if word != ">"], env={"WINEDLLOVERRIDES": ""} if client is alone else None)
        assert result.code == 0, (section, command, result.error)
        if target:
            filled.write(target, result.bytes)
        elif expected:
            answer = (result.text + result.error).replace("\r\n", "\n").splitlines()
            wanted, given = as_shown(section, expected, answer)
            assert wanted == given, command


def test_the_demo_gives_what_the_readme_shows(filled):
    key = re.search(r"printf '([^']*)' >key.bin", (ROOT / "scripts/demo").read_text())[1]
    filled.write("key.bin", key.encode())
    shown = re.findall(r"^> cifra (.*)\n(.*)$", (ROOT / "README.md").read_text(), re.M)
    assert [shlex.split(command)[0] for command, _ in shown] == ["encrypt", "decrypt"]
    for command, expected in shown:
        assert filled.succeed(*shlex.split(command)).text.replace("\r\n", "\n").rstrip("\n") == expected
