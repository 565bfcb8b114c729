"""The file that is worked on is the file that is named, and no name can pass for something else."""

import csv
import hashlib
import io
import json

import pytest

from test_console import Terminal

# Names that Windows' rules make another file or a device.
ODD_NAMES = ["app.exe", "app.exe ", "app.exe.", "com1.txt", "nul", "NUL.txt", "aux", ". .", " "]


def digest_of(name):
    return hashlib.sha256(name.encode()).hexdigest()


def lines_of(names, folder="d/"):
    return "".join(f"{digest_of(name)}  {folder}{name}\n" for name in names)


@pytest.fixture
def odd(cifra):
    for name in ODD_NAMES:
        cifra.write(f"d/{name}", name)
    return cifra


def test_a_file_that_was_found_is_read_under_its_exact_name(odd):
    names = sorted(ODD_NAMES)
    assert odd.succeed("hash", "-r", "d").text == lines_of(names)
    assert odd.succeed("hash", "d/*").text == lines_of(names)
    assert odd.succeed("hash", "-r", "-j", "3", "*/").text == lines_of(names)
    assert odd.succeed("hash", "d/app.exe.", "d/app.exe").text == lines_of(["app.exe.", "app.exe"])


def test_a_listed_name_is_the_file_of_exactly_that_name(odd):
    for name in ("app.exe.", "nul", "com1.txt"):
        odd.write("list", lines_of([name], ""))
        absent = odd("hash", "--check", "list")
        assert (absent.code, absent.text) == (3, f"{name}: FAILED open or read\n")
    odd.write("list", lines_of(ODD_NAMES))
    assert odd.succeed("hash", "--check", "list").text == "".join(f"d/{name}: OK\n" for name in ODD_NAMES)


def test_a_listed_device_is_not_read(cifra):
    names = ["//./nul", "//?/Z:/dev/null"]
    cifra.write("list", "".join(f"{digest_of('')}  {name}\n" for name in names))
    result = cifra("hash", "--check", "list")
    assert (result.code, result.text) == (3, "".join(f"{name}: FAILED open or read\n" for name in names))
    assert result.error.count(": is not a file\n") == 2
    assert cifra.succeed("hash", names[0]).text == f"{digest_of('')}  {names[0]}\n"


def test_exact_paths_may_be_given_and_are_shown_with_slashes(odd):
    exact = f"Z:{odd.folder}/d"
    typed = "\\\\?\\" + exact.replace("/", "\\")
    expected = lines_of(sorted(ODD_NAMES), f"//?/{exact}/")
    assert odd.succeed("hash", "-r", typed).text == expected
    assert odd.succeed("hash", "-r", f"//?/{exact}").text == expected
    assert odd.succeed("hash", f"{typed}\\*").text == expected
    odd.write("list", expected)
    assert odd.succeed("hash", "--quiet", "--check", "list").text == ""


def test_paths_that_lead_astray_and_back_are_resolved(odd):
    spellings = ["d/./nul", "d//nul", "d/../d/nul", "./d\\nul", "../" * 40 + f".{odd.folder}/d/nul",
                 f"Z:{odd.folder}/d/nul", f"{odd.folder}/d/nul", "Z:d/nul"]
    text = odd.succeed("hash", *spellings).text
    assert text == "".join(f"{digest_of('nul')}  {name}\n".replace("\\", "/") for name in spellings)


def test_a_typed_device_is_the_device(cifra):
    assert cifra.succeed("hash", "NUL").text == f"{digest_of('')}  NUL\n"


def test_a_file_called_minus_is_not_standard_input(cifra):
    cifra.write("-", "-")
    for arguments in (["*"], ["-r"]):
        assert cifra.succeed("hash", *arguments, stdin=b"other").text == lines_of(["-"], "./")


def test_a_pattern_with_a_separator_at_its_end_is_for_folders(odd):
    odd.write("file", "file")
    assert odd.succeed("hash", "-r", "*/").text == lines_of(sorted(ODD_NAMES))
    result = odd("hash", "*/")
    assert (result.code, result.bytes) == (3, b"")
    assert "no file matches" in result.error


@pytest.mark.once
def test_expected_but_nothing_there_to_compare_is_told(cifra):
    (cifra.folder / "empty").mkdir()
    result = cifra("hash", "-r", "--expect", "0" * 32, "empty")
    assert (result.code, result.bytes) == (3, b"")
    assert "no file to compare" in result.error


HOSTILE = "f\x1b[2K\rf0: OK\n\x9b1m\u202e\u200b.txt"
SHOWN = r"f\x1B[2K\x0Df0: OK\n\x9B1m\u202E\u200B.txt"


def hostile_list(cifra):
    escaped = HOSTILE.replace("\n", "\\n").replace("\r", "\\r")
    cifra.write("list", f"\\{'0' * 64}  {escaped}\n")
    return "list"


@pytest.mark.once
def test_messages_spell_out_what_would_control_the_screen(cifra):
    result = cifra("hash", HOSTILE)
    assert result.code == 3
    assert result.error.startswith(f"cifra: {SHOWN}: cannot open")
    assert result.error.count("\n") == 1
    result = cifra("hash", "--check", hostile_list(cifra))
    assert result.error.startswith(f"cifra: {SHOWN}: cannot open")
    for arguments in (["no\x1bcommand"], ["hash", "--no\x1boption"], ["hash", "--format", "x\x1b"], ["encrypt", "a", "b\x1b"]):
        assert r"\x1B" in cifra(*arguments).error


def test_on_a_screen_no_name_can_pass_for_a_result(cifra):
    for options in ([], ["--format", "csv"], ["--format", "json"]):
        _, shown = Terminal(cifra, "hash", *options, "--check", hostile_list(cifra)).finish()
        for hidden in ("\x9b", "\u202e", "\u200b"):
            assert hidden not in shown
        assert not any(line.startswith("f0: OK") for line in shown.replace("\r", "\n").splitlines())


def test_a_name_with_a_zero_character_is_not_cut_there(cifra):
    cifra.write("f", "f")
    result = cifra("hash", "--check", stdin=f"{digest_of('f')}  f\0g\n".encode())
    assert (result.code, result.bytes) == (3, b"f\0g: FAILED open or read\n")
    assert r"f\x00g: the name has a zero character" in result.error


def test_names_that_cannot_exist_are_missing_ones(cifra):
    cifra.write("f", "f")
    lines = "".join(f"{digest_of('x')}  {name}\n" for name in ("a<b>", "x|y", "sub/n?l", "f/g", "n" * 300))
    result = cifra.succeed("hash", "--ignore-missing", "--check", stdin=(lines + f"{digest_of('f')}  f\n").encode())
    assert result.text == "f: OK\n"


@pytest.mark.once
def test_lists_in_utf_16_of_either_order_are_read(cifra):
    cifra.write("Größe", "Größe")
    text = f"{digest_of('Größe')}  Größe\r\n"
    for content in (b"\xfe\xff" + text.encode("utf-16-be"), b"\xff\xfe" + text.encode("utf-16-le")):
        assert cifra.succeed("hash", "--check", stdin=content).text == "Größe: OK\n"


@pytest.mark.once
def test_csv_is_utf_8_and_holds_no_formula(cifra):
    names = ["=1+1", "+1", "@x", "-1", "plain=1", "a,'b'"]
    for name in names:
        cifra.write(name, "x")
    rows = list(csv.DictReader(io.StringIO(cifra.succeed("hash", "--format", "csv", "--", *names).text, newline="")))
    assert [row["file"] for row in rows] == ["'=1+1", "'+1", "'@x", "'-1", "plain=1", "a,'b'"]
    result = cifra("hash", "--check", "--format", "csv", stdin=b"0" * 64 + b"  \xff\xe4x\n")
    [row] = csv.DictReader(io.StringIO(result.bytes.decode("utf-8"), newline=""))
    assert row["file"] == "��x"
    record = json.loads(cifra("hash", "--check", "--format", "json", stdin=b"0" * 64 + b"  \xff\xe4x\n").text)
    assert record[0]["file"] == "��x"
