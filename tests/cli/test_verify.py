"""verify, with a trust service that reads its verdicts from the file, and with the system's own."""

import csv
import io
import json
import os
import pathlib
import shutil
import subprocess

import jsonschema
import pytest

from conftest import Client

SCHEMA = pathlib.Path(__file__).parents[2] / "docs/schema/verify.json"

NO_SIGNATURE = "800B0100"
BAD_DIGEST = "80096010"
# Result of the platform, verdict, exit code.
VERDICTS = [
    ("0", "trusted", 0),
    (BAD_DIGEST, "damaged", 10),
    ("80096004", "damaged", 10),
    ("80096011", "damaged", 10),
    ("800B010C", "revoked", 11),
    ("80092010", "revoked", 11),
    ("800B0109", "untrusted root", 12),
    ("800B010A", "untrusted root", 12),
    ("800B0101", "expired", 13),
    ("800B0111", "not trusted", 14),
    ("80004005", "not trusted", 14),
    (NO_SIGNATURE, "unsigned", 15),
    ("800B0003", "unsigned", 15),
    ("80092013", "revocation unknown", 16),
    ("800B010E", "revocation unknown", 16),
]
TICKS_IN_1970 = 116444736000000000
TIME = TICKS_IN_1970 + 1_700_000_000_123 * 10_000  # 2023-11-14T22:13:20.123Z
# The quoted value stands last: Wine reads no further behind one.
SUBJECT = 'O=Größe, OU=B, OU=A, C=DE, CN="Fabrikam, Inc."'
ISSUER = "CN=Test CA"


def signature(results="0", found="certificate", time=0, serial="00ab01", subject=SUBJECT):
    return "\t".join([results, found, str(time), serial, subject, ISSUER]) + "\n"


UNSIGNED = signature(NO_SIGNATURE, "nothing")


def copied(program, folder, standins):
    folder.mkdir()
    for file in (program, program.parent / "Cifra.dll", *standins):
        shutil.copy(file, folder)
    return folder / program.name


@pytest.fixture
def played(program, tmp_path, cifra, monkeypatch):
    """The client in a folder of its own, beside a trust service that plays what a file says."""
    standins = [os.environ["CIFRA_STANDIN_TRUST"], os.environ["CIFRA_STANDIN_NAMES"]]
    cifra.program = copied(program, tmp_path / "bin", standins)
    monkeypatch.setenv("WINEDLLOVERRIDES", "wintrust=n,b")
    return cifra


def records(result):
    document = json.loads(result.text)
    jsonschema.validate(document, json.loads(SCHEMA.read_text()))
    return document


@pytest.mark.parametrize("code, verdict, exit_code", VERDICTS)
def test_each_verdict_has_its_words_and_its_exit_code(played, code, verdict, exit_code):
    found = "nothing" if verdict == "unsigned" else "certificate"
    played.write("f.exe", signature(code, found))
    result = played("verify", "f.exe", "--format", "json")
    assert result.code == exit_code
    [file] = records(result)["files"]
    assert (file["verdict"], file["code"]) == (verdict, f"0x{int(code, 16):08X}")
    assert len(file["signatures"]) == (0 if verdict == "unsigned" else 1)


def test_text_says_who_signed_with_what_and_when(played):
    played.write("Größe.exe", signature(time=TIME) + signature("800B0101", serial="7f"))
    result = played("verify", "Größe.exe")
    assert (result.code, result.error) == (13, "")
    assert result.text.splitlines() == [
        "Größe.exe: expired",
        "  primary signature: trusted (0x00000000 ERROR_SUCCESS: the signature is valid and trusted)",
        '    subject:    CN="Fabrikam, Inc.", C=DE, O=Größe, OU=A, OU=B',
        "    issuer:     CN=Test CA",
        "    serial:     00ab01",
        "    time stamp: 2023-11-14T22:13:20.123Z",
        "  secondary signature 1: expired (0x800B0101 CERT_E_EXPIRED: a certificate has expired or is"
        " not valid yet, and no time stamp makes up for it)",
        '    subject:    CN="Fabrikam, Inc.", C=DE, O=Größe, OU=A, OU=B',
        "    issuer:     CN=Test CA",
        "    serial:     7f",
        "    time stamp: none",
        "",
        "Files: 1, expired: 1",
    ]


def test_json_says_the_same(played):
    played.write("f", signature(time=TIME) + signature("800B0101", "signer") + signature("80004005", "nothing"))
    document = records(played("verify", "f", "--format", "json"))
    [file] = document["files"]
    assert (file["file"], file["verdict"], file["name"]) == ("f", "expired", "CERT_E_EXPIRED")
    first, second, third = file["signatures"]
    assert first["subject"] == {"CN": ["Fabrikam, Inc."], "C": ["DE"], "O": ["Größe"], "OU": ["A", "B"]}
    assert (first["issuer"], first["serial"]) == ({"CN": ["Test CA"]}, "00ab01")
    assert first["timestamp"] == "2023-11-14T22:13:20.123Z"
    assert [s["position"] for s in file["signatures"]] == ["primary", "secondary 1", "secondary 2"]
    for later in (second, third):
        assert [later[key] for key in ("subject", "issuer", "serial", "timestamp")] == [None] * 4
    assert third["name"] is None
    assert document["summary"]["files"] == document["summary"]["expired"] == 1


def test_a_signature_without_a_signer_leaves_the_others_theirs(played):
    played.write("f", signature("80004005", "nothing") + signature(serial="02") + signature(serial="03"))
    [file] = records(played("verify", "f", "--format", "json"))["files"]
    assert [s["serial"] for s in file["signatures"]] == [None, "02", "03"]


def test_csv_has_a_line_for_each_signature(played):
    played.write("two", signature(time=TIME) + signature("800B0101"))
    played.write("none", UNSIGNED)
    result = played("verify", "two", "none", "missing", "--format", "csv")
    rows = list(csv.DictReader(io.StringIO(result.text, newline="")))
    assert [(row["file"], row["position"], row["verdict"], row["code"]) for row in rows] == [
        ("two", "primary", "trusted", "0x00000000"),
        ("two", "secondary 1", "expired", "0x800B0101"),
        ("none", "", "unsigned", "0x800B0100"),
        ("missing", "", "cannot open", ""),
    ]
    assert rows[0]["subject"] == 'CN="Fabrikam, Inc.", C=DE, O=Größe, OU=A, OU=B'
    assert rows[0]["timestamp"] == "2023-11-14T22:13:20.123Z"


def test_times_before_1970_and_far_ahead(played):
    for ticks, text in (
        (TICKS_IN_1970 - 10_000_000 * 86_400, "unknown"),
        (TICKS_IN_1970 + 4_102_444_800_000 * 10_000, "2100-01-01T00:00:00.000Z"),
    ):
        played.write("f", signature(time=ticks))
        [file] = records(played("verify", "f", "--format", "json"))["files"]
        assert file["signatures"][0]["timestamp"] == text


def test_online_verifies_a_failed_signature_again(played):
    played.write("f", signature("80092013,0"))
    assert played("verify", "f").code == 16
    assert played("verify", "--online", "f").code == 0


def test_a_file_is_not_judged_by_those_before_it(played):
    played.write("good", signature())
    played.write("none", UNSIGNED)
    document = records(played("verify", "good", "none", "--format", "json"))
    assert [file["verdict"] for file in document["files"]] == ["trusted", "unsigned"]


def test_a_run_goes_on_and_its_exit_code_is_the_smallest(played):
    played.write("d/good.dll", signature())
    played.write("d/sub/none.dll", UNSIGNED)
    played.write("d/sub/bad.dll", signature(BAD_DIGEST))
    assert played("verify", "d/*.dll").code == 0
    result = played("verify", "-r", "d")
    assert result.code == 10
    assert result.text.endswith("\nFiles: 3, trusted: 1, unsigned: 1, damaged: 1\n")
    result = played("verify", "missing", "d", "*.none", "-r", "--format", "json")
    assert result.code == 3
    document = records(result)
    assert [file["verdict"] for file in document["files"]] == ["cannot open", "trusted", "damaged", "unsigned"]
    assert document["summary"]["cannot open"] == 1
    assert "missing: cannot open" in result.error and "*.none: no file matches" in result.error
    result = played("verify", "d")
    assert result.code == 3
    assert "is a directory" in result.error


def test_no_files_in_a_folder_is_no_failure(played):
    (played.folder / "empty").mkdir()
    assert records(played.succeed("verify", "-r", "empty", "--format", "json"))["files"] == []


def test_a_name_cannot_forge_lines_of_the_report(played):
    name = "Good\n\nFiles: 9, trusted: 9\r\n\x1b[2K\x7f\x9b1m\u202etxt\u2028"
    encoded = "".join(f"%{byte:02X}" for byte in name.encode())
    played.write("f", signature("800B0109", subject=f'O=B, CN="{encoded}"'))
    result = played("verify", "f")
    assert result.code == 12
    lines = result.text.split("\n")
    shown = r"Good\n\nFiles: 9, trusted: 9\x0D\n\x1B[2K\x7F\x9B1m\u202Etxt\u2028"
    assert lines[2] == f'    subject:    CN="{shown}", O=B'
    assert len(lines) == 9 and not any(c in result.text for c in "\r\x1b\x7f\x9b\u202e\u2028")
    [file] = records(played("verify", "f", "--format", "json"))["files"]
    assert file["signatures"][0]["subject"]["CN"] == [name]
    [row] = csv.DictReader(io.StringIO(played("verify", "f", "--format", "csv").text, newline=""))
    assert row["subject"] == f'CN="{name}", O=B'


@pytest.mark.parametrize("value, shown", [
    ("plain", "plain"), ("a+b", '"a+b"'), ("a;b", '"a;b"'), ("<a>", '"<a>"'), ("#a", '"#a"'), ("a=b", '"a=b"'),
    ('the "great" a', '"the ""great"" a"'), ("a  b", "a  b"),
])
def test_values_are_those_of_the_certificate_and_quoted_as_by_the_system(played, value, shown):
    quoted = value.replace('"', '""')
    played.write("f", signature(subject=f'O=B, CN="{quoted}"'))
    [file] = records(played("verify", "f", "--format", "json"))["files"]
    assert file["signatures"][0]["subject"] == {"CN": [value], "O": ["B"]}
    assert f"    subject:    CN={shown}, O=B\n" in played("verify", "f").text


def test_standard_input_is_refused(played):
    played.write("f", signature())
    for arguments in (["-"], ["f", "-"]):
        result = played("verify", *arguments, stdin=b"text")
        assert (result.code, result.bytes) == (2, b"")
        assert "standard input" in result.error


def test_a_library_without_verification_is_not_taken_for_a_file_that_cannot_be_opened(played):
    library = played.program.parent / "Cifra.dll"
    names = ["Cifra.DigitalSignature".encode("utf-16-le"), "Cifra.DigitalSignaturX".encode("utf-16-le")]
    library.write_bytes(library.read_bytes().replace(*names))
    played.write("f", signature())
    result = played("verify", "f")
    assert result.code == 7
    assert "has no object Cifra.DigitalSignature" in result.error
    assert "cannot open" not in result.text


def test_the_help_says_that_each_file_has_an_object_of_its_own(cifra):
    text = " ".join(cifra.succeed("verify", "--help").text.split())
    assert "Each file is verified by an object of the library made for it alone" in text
    assert "no file is judged by those before it" in text


@pytest.mark.parametrize("change", [
    lambda document: document["summary"].update(other=1),
    lambda document: document["files"][0]["signatures"][0].update(verdict="unsigned"),
    lambda document: document["files"][0]["signatures"][0].update(verdict="cannot open"),
    lambda document: document["files"][0]["signatures"][0].update(code=None),
])
def test_the_schema_refuses_what_never_occurs(played, change):
    played.write("f", signature())
    document = records(played("verify", "f", "--format", "json"))
    change(document)
    with pytest.raises(jsonschema.ValidationError):
        jsonschema.validate(document, json.loads(SCHEMA.read_text()))


def run_tool(*arguments):
    subprocess.run(arguments, check=True, capture_output=True)


@pytest.fixture
def system(program, tmp_path, cifra):
    """The client with the system's own trust service, which cannot take names apart under Wine."""
    cifra.program = copied(program, tmp_path / "bin", [os.environ["CIFRA_STANDIN_NAMES"]])
    return cifra


def test_the_systems_verdicts_on_a_signed_a_changed_and_an_unsigned_program(system):
    plain, signed = system.folder / "plain.exe", system.folder / "signed.exe"
    key, certificate = system.folder / "key.pem", system.folder / "cert.pem"
    shutil.copy(system.program, plain)
    run_tool("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-utf8",
             "-subj", "/CN=Prüfer/O=Fabrikam, Inc.", "-addext", "extendedKeyUsage=codeSigning",
             "-set_serial", "0x1234abcd", "-keyout", key, "-out", certificate)
    run_tool("osslsigncode", "sign", "-h", "sha256", "-certs", certificate, "-key", key,
             "-in", plain, "-out", signed)
    changed = bytearray(signed.read_bytes())
    changed[0x1000] ^= 1
    system.write("changed.exe", bytes(changed))
    system.write("empty.exe", b"")
    names = ["signed.exe", "changed.exe", "plain.exe", "empty.exe"]
    result = system("verify", *names, "--format", "json")
    files = records(result)["files"]
    # Wine trusts every root, Windows does not know this one.
    assert files[0]["verdict"] in ("trusted", "untrusted root")
    assert [file["verdict"] for file in files[1:]] == ["damaged", "unsigned", "unsigned"]
    assert result.code == 10
    [primary] = files[0]["signatures"]
    assert primary["subject"] == {"CN": ["Prüfer"], "O": ["Fabrikam, Inc."]} == primary["issuer"]
    assert (primary["serial"], primary["timestamp"]) == ("1234abcd", None)
