"""The program as a whole: help, versions, usage errors, a missing or broken library."""

import os
import pathlib
import re
import shutil
import sys

import pytest

from conftest import Client, place_in_system

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "hardening"))
from check_binary import Image  # noqa: E402  (found by the line above)

COMMANDS = ["encrypt", "decrypt", "base64", "hash", "verify", "version", "selftest"]


def test_help_lists_the_commands(cifra):
    result = cifra.succeed("--help")
    assert [command for command in COMMANDS if f"\n  {command} " in result.text] == COMMANDS
    assert "Exit codes" in result.text


@pytest.mark.once
@pytest.mark.parametrize("command", COMMANDS)
def test_each_command_explains_itself_on_a_screen_of_80_columns(cifra, command):
    for option in ("--help", "-h"):
        text = cifra.succeed(command, option).text
        assert f"cifra {command}" in text
        assert max(map(len, text.splitlines())) <= 80
        assert "\n\n\n" not in text
    if command != "version":
        assert "Examples:" in text


def test_versions(cifra):
    assert re.fullmatch(r"cifra \d+\.\d+\.\d+\n", cifra.succeed("--version").text)
    text = cifra.succeed("version").text
    versions = re.findall(r"^(cifra|Cifra\.dll) +(\d+\.\d+\.\d+) \((.+)\)$", text, re.MULTILINE)
    assert [name for name, _, _ in versions] == ["cifra", "Cifra.dll"]
    kernels = re.search(r"^Kernels +Base64 (\S+), Blowfish (\S+), MD5 (\S+)$", text, re.MULTILINE)
    vectors = {"neon"} if "(ARM64)" in text else {"avx512-vbmi", "avx2", "ssse3"}
    assert kernels[1] in vectors
    assert kernels[2] in {"avx512-gather", "avx2-gather", "scalar"}
    assert kernels[3] in {"avx512", "scalar"}
    assert versions[0][1] == versions[1][1]
    assert versions[1][2].endswith("Cifra.dll")


@pytest.mark.once
@pytest.mark.parametrize(
    "arguments, word",
    [
        ([], "no command"),
        (["nonsense"], "nonsense"),
        (["--nonsense"], "no option --nonsense"),
        ([""], 'no command ""'),
        (["encrypt", "--nonsense"], "--nonsense"),
        (["encrypt", "a", "b"], "b"),
        (["encrypt", "--key-file"], "--key-file"),
        (["encrypt", "--key-file", "a", "--key-env", "b", "text"], "--key-env"),
        (["encrypt", "text", "--input", "file"], "--input"),
        (["encrypt", "text", "--file", "file"], "--file"),
        (["decrypt", "--length", "many", "--file", "x"], "many"),
        (["decrypt", "--length", "-1", "--file", "x"], "-1"),
        (["decrypt", "--length", "", "--file", "x"], '""'),
        (["decrypt", "--length", str(2**64), "--file", "x"], str(2**64)),
        (["decrypt", "--length"], "value is missing"),
        (["encrypt", "--key-file", "a", "--key-file", "b", "x"], "--key-file: given more than once"),
        (["decrypt", "--length", "3", "text"], "--file"),
        (["encrypt", "--key-file", "", "text"], "--key-file"),
        (["encrypt", "--file", ""], "--file"),
        (["encrypt", "text", "--output", ""], "--output"),
        (["hash", "-a", "sha1"], "sha1"),
        (["hash", "--format", "xml"], "xml"),
        (["hash", "--quiet", "x"], "--check"),
        (["hash", "--check", "--tag", "x"], "--tag"),
        (["hash", "--expect", "xyz", "x"], "xyz"),
        (["hash", "-a", "md5", "--expect", "0" * 64, "x"], "MD5"),
        (["hash", "x", ""], "FILE: is empty"),
        (["hash", "-a"], "--algorithm: its value is missing"),
        (["verify"], "FILE"),
        (["verify", "-j", "0", "x"], "--jobs"),
        (["version", "more"], "more"),
    ],
)
def test_nonsense_is_wrong_usage_and_the_message_names_it(cifra, arguments, word):
    result = cifra(*arguments)
    assert (result.code, result.bytes) == (2, b"")
    assert word in result.error
    assert result.error.startswith("cifra: ")
    command = f"{arguments[0]} " if arguments and arguments[0] in COMMANDS else ""
    assert result.error.endswith(f"\nSee: cifra {command}--help\n")


def copied_client(program, folder):
    folder.mkdir()
    shutil.copy(program, folder)
    return Client(folder, folder / program.name)


def test_without_its_library_it_says_which_file_is_missing(program, tmp_path):
    alone = copied_client(program, tmp_path / "alone")
    result = alone("base64", "text")
    assert result.code == 7
    assert "alone\\Cifra.dll" in result.error
    assert alone.succeed("--help").text
    assert alone.succeed("--version").text


def test_a_broken_library_is_told_from_a_missing_one(program, tmp_path):
    broken = copied_client(program, tmp_path / "broken")
    broken.write("Cifra.dll", "this is no library")
    result = broken("base64", "text")
    assert result.code == 7
    assert "cannot load" in result.error


def test_a_library_that_is_another_one_is_refused(program, tmp_path):
    other = copied_client(program, tmp_path / "other")
    shutil.copy(program.parent / "OtherCifraWithoutDestroy.dll", other.folder / "Cifra.dll")
    result = other("base64", "text")
    assert result.code == 7
    assert "KxDestroyObject" in result.error


def test_a_library_whose_objects_are_others_is_refused(program, tmp_path):
    other = copied_client(program, tmp_path / "other")
    shutil.copy(os.environ["CIFRA_STANDIN_LIBRARY"], other.folder / "Cifra.dll")
    for command, name in (("base64", "Cifra.Base64"), ("hash", "Cifra.Sha256")):
        result = other(command)
        assert result.code == 7
        assert name in result.error


def test_a_library_that_cannot_find_itself_again_says_so(program, tmp_path):
    deep = tmp_path / ("x" * 100) / ("y" * 100)
    deep.mkdir(parents=True)
    far = copied_client(program, deep / ("z" * 100))
    shutil.copy(program.parent / "Cifra.dll", far.folder)
    far.folder = tmp_path  # not so deep that it cannot be worked in
    for arguments in (["encrypt", "text"], ["decrypt", "dYBu2QSKu0s="]):
        result = far(*arguments, "--key-env", "K", env={"K": "secret"})
        assert (result.code, result.bytes) == (7, b"")
        assert "Cifra.dll" in result.error and "260" in result.error
    encrypted = far("encrypt", "--key-env", "K", "--file", "-", env={"K": "secret"}, stdin=b"8 bytes.")
    assert encrypted.code == 0


def test_the_library_is_taken_from_the_programs_folder_only(program, tmp_path, cifra):
    alone = copied_client(program, tmp_path / "alone")
    alone.folder = program.parent  # where a Cifra.dll is
    assert alone("base64", "text").code == 7


def test_selftest_tells_what_works_and_where(cifra, program):
    result = cifra.succeed("selftest")
    told = dict(line.split(None, 1) if not line.startswith("exported") else ("functions", line.split()[-1]) for line in result.text.splitlines())
    objects = ["Blowfish", "Base64", "BowfishAndBase64", "Md5", "Sha256", "DigitalSignature"]
    assert {name: "ok" for name in [*(f"Cifra.{name}" for name in objects), "functions"]}.items() <= told.items()
    assert told["library"].replace("\\", "/") == f"Z:{program.parent}/Cifra.dll"
    assert re.fullmatch(r"\d+\.\d+\.\d+", told["version"])
    assert told["processor"] in ("x64", "ARM64")
    assert told["kernels"] in cifra.succeed("version").text


def test_selftest_tells_what_does_not_work(program, tmp_path):
    place_in_system(os.environ["CIFRA_STANDIN_CNG"])
    failing = {"WINEDLLOVERRIDES": "bcrypt=n,b", "CIFRA_FAILING_CNG_CALL": "BCryptFinishHash"}
    result = Client(tmp_path, program)("selftest", env=failing)
    assert result.code == 8
    assert re.search(r"^Cifra.Sha256 +FAILED: the system's hashing service failed$", result.text, re.MULTILINE)
    assert result.text.count(" ok\n") == 6
    assert "1 of 7 parts failed" in result.error


def test_libraries_planted_beside_the_program_are_not_taken(program, tmp_path):
    place_in_system(os.environ["CIFRA_STANDIN_TRUST"], os.environ["CIFRA_STANDIN_NAMES"])
    planted = copied_client(program, tmp_path / "planted")
    shutil.copy(program.parent / "Cifra.dll", planted.folder)
    names = ["bcrypt", "crypt32", "gdi32", "imm32", "ntdsapi", "ole32", "shell32", "shlwapi", "user32", "version",
             "winmm", "wintrust"]
    for name in names:
        planted.write(f"{name}.dll", "no library: to load it fails")
    planted.write("signed", "0\tcertificate\t0\t00ab01\tCN=A, O=B\tCN=C\n")
    native = {"WINEDLLOVERRIDES": ",".join(names) + "=n,b"}
    assert planted.succeed("base64", "text", env=native).text == "dGV4dA==\n"
    assert "CN=A, O=B" in planted.succeed("verify", "signed", env=native).text


def test_before_it_says_where_libraries_are_it_loads_none_but_the_systems_own(program):
    # advapi32: of GCC's runtime library.
    early = re.compile(r"(kernel32|ntdll|advapi32|msvcrt|api-ms-win-crt-[a-z]+-l1-1-0)\.dll", re.IGNORECASE)
    imports = Image(program).imports()
    assert imports and not [name for name in imports if not early.fullmatch(name)]


def test_the_program_says_what_it_is_and_needs(program):
    text = program.read_bytes()
    for word in ("Command-line client of Cifra", "OriginalFilename", "cifra.exe"):
        assert word.encode("utf-16-le") in text
    for element in (b'level="asInvoker"', b">true</longPathAware>", b">UTF-8</activeCodePage>", b"<supportedOS"):
        assert element in text
