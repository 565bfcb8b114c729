"""verify, with a trust service that reads its verdicts from the file, and with the system's own."""

import csv
import datetime
import hashlib
import io
import json
import os
import pathlib
import shutil
import struct
import subprocess

import jsonschema
import pytest

from conftest import Client, place_in_system
from test_console import Interrupted, wait_until

SCHEMA = pathlib.Path(__file__).parents[2] / "docs/schema/verify.json"

NO_SIGNATURE = "800B0100"
BAD_DIGEST = "80096010"
# Verdict, exit code, results of the platform.
VERDICTS = [
    ("trusted", 0, ["0"]),
    ("damaged", 10, [BAD_DIGEST, "80096004", "80096011", "8009200D", "8009200E", "80092009", "80090006", "80093100",
                     "80093102", "8009310B", "8009310E"]),
    ("revoked", 11, ["800B010C", "80092010"]),
    ("distrusted", 11, ["800B0111"]),
    ("untrusted root", 12, ["800B0109", "800B010A"]),
    ("expired", 13, ["800B0101"]),
    ("not trusted", 14, ["80004005", "800B010B", "80093200"]),
    ("unsigned", 15, [NO_SIGNATURE, "800B0003"]),
    ("revocation unknown", 16, ["80092013", "800B010E"]),
]
TICKS_IN_1970 = 116444736000000000
TIME = TICKS_IN_1970 + 1_700_000_000_123 * 10_000  # 2023-11-14T22:13:20.123Z
# The quoted value stands last: Wine reads no further behind one.
SUBJECT = 'O=Größe, OU=B, OU=A, C=DE, CN="Fabrikam, Inc."'
ISSUER = "CN=Test CA"


def signature(results="0", found="certificate", time=0, serial="00ab01", subject=SUBJECT, der=None):
    fields = [results, found, str(time), serial, subject, ISSUER] + ([der] if der else [])
    return "\t".join(fields) + "\n"


UNSIGNED = signature(NO_SIGNATURE, "nothing")
CRASH = "crash\t\n"
PE = b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", 0x40) + b"PE\0\0"


def copied(program, folder, standins):
    folder.mkdir()
    place_in_system(*standins)
    for file in (program, program.parent / "Cifra.dll"):
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


def verdicts(result):
    return {file["file"]: file["verdict"] for file in records(result)["files"]}


def test_each_result_of_the_platform_has_its_verdict(played):
    expected = {}
    for verdict, _, codes in VERDICTS:
        for code in codes:
            played.write(f"{code}.js", signature(code, "nothing" if verdict == "unsigned" else "certificate"))
            expected[f"{code}.js"] = verdict
    result = played("verify", *expected, "--format", "json")
    assert verdicts(result) == expected
    for file in records(result)["files"]:
        assert file["code"] == f"0x{int(file['file'][:-3], 16):08X}"
        assert len(file["signatures"]) == (0 if file["verdict"] == "unsigned" else 1)


# The gravest first. Files that cannot be opened come before what is not signed at all, no further.
GRAVITY = [("damaged", 10), ("crashed", 17), ("revoked", 11), ("distrusted", 11), ("untrusted root", 12),
           ("expired", 13), ("not trusted", 14), ("unsigned", 15), ("revocation unknown", 16), ("cannot open", 3),
           ("not signable", 21), ("trusted", 0)]


@pytest.mark.once
def test_the_exit_code_is_that_of_the_gravest_verdict(played):
    results = {verdict: codes[0] for verdict, _, codes in VERDICTS}
    for verdict, _ in GRAVITY:
        if verdict == "crashed":
            played.write("crashed.js", CRASH)
        elif verdict == "not signable":
            played.write("not signable.js", UNSIGNED)
            (played.folder / "not signable.js").rename(played.folder / "not signable.txt")
        elif verdict != "cannot open":
            played.write(f"{verdict}.js", signature(results[verdict], "nothing" if verdict == "unsigned" else "certificate"))
    files = [f"{verdict}.{'txt' if verdict == 'not signable' else 'js'}" for verdict, _ in GRAVITY]
    for i, (verdict, code) in enumerate(GRAVITY):
        assert played("verify", *reversed(files[i:])).code == code, verdict


@pytest.mark.once
def test_what_is_not_found_counts_like_what_cannot_be_opened(played):
    played.write("read.me", UNSIGNED)
    for name in ("none*", "none"):
        assert played("verify", name, "read.me").code == 3
    played.write("a.js", UNSIGNED)
    assert played("verify", "none*", "a.js").code == 15


def test_a_file_that_crashes_the_platform_does_not_end_the_run(played):
    for name, content in {"a.js": signature(), "b.js": CRASH, "c.js": signature(BAD_DIGEST), "d.js": CRASH}.items():
        played.write(name, content)
    for jobs in ("1", "2"):
        result = played("verify", "-j", jobs, "a.js", "b.js", "c.js", "d.js", "--format", "json")
        assert (result.code, result.error) == (10, "")
        document = records(result)
        assert [file["verdict"] for file in document["files"]] == ["trusted", "crashed", "damaged", "crashed"]
        assert document["files"][1]["code"] == "0xC0000005"
        assert document["summary"]["crashed"] == 2 and document["failure"] is None
    assert "b.js: crashed (0xC0000005: the process that verified the file ended" in played("verify", "b.js").text


def test_signatures_that_hold_too_much_do_not_burden_the_run(played):
    played.write("a.js", signature(subject="CN=" + "a" * (1 << 20)))
    played.write("b.js", signature())
    result = played("verify", "a.js", "b.js", "--format", "json")
    assert (result.code, result.error, verdicts(result)) == (17, "", {"a.js": "crashed", "b.js": "trusted"})
    assert "too much to be reported" in records(result)["files"][0]["meaning"]


UNKNOWN_FINDINGS = [
    "    found by cifra itself:",
    "      certificate: unknown",
    "      digest:     unknown",
    "      time stamp: unknown",
]


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
        *UNKNOWN_FINDINGS,
        "  secondary signature 1: expired (0x800B0101 CERT_E_EXPIRED: a certificate has expired or is"
        " not valid yet, and no time stamp makes up for it)",
        '    subject:    CN="Fabrikam, Inc.", C=DE, O=Größe, OU=A, OU=B',
        "    issuer:     CN=Test CA",
        "    serial:     7f",
        "    time stamp: unknown",
        *UNKNOWN_FINDINGS,
        "",
        "Files: 1, expired: 1",
    ]


def test_json_says_the_same(played):
    played.write("f", signature(time=TIME) + signature("800B0101", "signer") + signature("80004005", "nothing"))
    document = records(played("verify", "f", "--format", "json"))
    assert (document["schema"], document["online"], document["failure"]) == (2, False, None)
    assert document["library"]["path"].endswith("Cifra.dll")
    now = datetime.datetime.now(datetime.timezone.utc)
    assert abs((now - datetime.datetime.fromisoformat(document["time"].replace("Z", "+00:00"))).total_seconds()) < 300
    [file] = document["files"]
    assert (file["file"], file["verdict"], file["name"]) == ("f", "expired", "CERT_E_EXPIRED")
    first, second, third = file["signatures"]
    assert first["subject"] == {"CN": ["Fabrikam, Inc."], "C": ["DE"], "O": ["Größe"], "OU": ["A", "B"]}
    assert (first["issuer"], first["serial"]) == ({"CN": ["Test CA"]}, "00ab01")
    assert first["timestamp"] == "2023-11-14T22:13:20.123Z"
    assert [s["position"] for s in file["signatures"]] == ["primary", "secondary 1", "secondary 2"]
    for later in (second, third):
        assert [later[key] for key in ("subject", "issuer", "serial", "timestamp")] == [None, None, None, "unknown"]
        assert later["client"] == {"certificate": None, "message": None, "chain": None}
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
    columns = ("file", "position", "verdict", "code", "file_verdict")
    assert [tuple(row[column] for column in columns) for row in rows] == [
        ("two", "primary", "trusted", "0x00000000", "expired"),
        ("two", "secondary 1", "expired", "0x800B0101", "expired"),
        ("none", "", "not signable", "0x800B0100", "not signable"),
        ("missing", "", "cannot open", "", "cannot open"),
    ]
    assert [row["digest"] for row in rows] == ["unknown", "unknown", "", ""]
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
    assert [file["verdict"] for file in document["files"]] == ["trusted", "not signable"]


@pytest.mark.once
def test_in_a_folder_only_files_that_can_be_signed_are_verified(played):
    played.write("d/good.dll", signature())
    played.write("d/text.txt", UNSIGNED)
    played.write("d/sub/none.ps1", UNSIGNED)
    played.write("d/sub/bad.JS", signature(BAD_DIGEST))
    played.write("d/sub/pe", PE)
    played.write("d/sub/dos.exe", b"MZ")
    played.write("d/sub/folder.js/file", b"")
    assert verdicts(played("verify", "d/*.dll", "--format", "json")) == {"d/good.dll": "trusted"}
    result = played("verify", "-r", "d")
    assert result.code == 10
    assert result.text.endswith("\nFiles: 3, unsigned: 1, damaged: 1, crashed: 1;"
                                " passed over, of kinds that hold no signature: 4\n")
    result = played("verify", "-r", "--all", "d", "missing", "*.none", "--format", "json")
    assert result.code == 10
    document = records(result)
    assert list(verdicts(result)) == ["d/good.dll", "d/sub/bad.JS", "d/sub/dos.exe", "d/sub/folder.js/file",
                                      "d/sub/none.ps1", "d/sub/pe", "d/text.txt", "missing"]
    assert document["summary"]["not signable"] == 1 and document["summary"]["passed over"] == 0
    assert "missing: cannot open" in result.error and "*.none: no file matches" in result.error
    result = played("verify", "d")
    assert result.code == 3
    assert "is a directory" in result.error


def test_that_nobody_can_verify_a_file_of_no_signable_kind_is_no_verdict_on_a_signature(played):
    unknown = "800B0001"
    for name, content in {"a.txt": signature(unknown, "nothing"), "b.js": signature(unknown, "nothing"),
                          "c.txt": signature(unknown), "d.txt": signature("80004005", "nothing"),
                          "e.txt": signature(BAD_DIGEST, "nothing")}.items():
        played.write(name, content)
    result = played("verify", "a.txt", "b.js", "c.txt", "d.txt", "e.txt", "--format", "json")
    assert verdicts(result) == {"a.txt": "not signable", "b.js": "not trusted", "c.txt": "not trusted",
                                "d.txt": "not trusted", "e.txt": "damaged"}


def workers(client):
    """The processes of this machine that verify files for a run in the client's folder."""
    found = []
    for process in pathlib.Path("/proc").iterdir():
        try:
            if b"--worker" in (process / "cmdline").read_bytes() and (process / "cwd").readlink() == client.folder:
                found.append(int(process.name))
        except OSError:  # ended, or somebody else's
            continue
    return found


SLEEP = "sleep\t600000\n"


def test_a_file_that_takes_too_long_is_given_up_and_the_run_goes_on(played):
    for name, content in {"a.js": signature(), "b.js": SLEEP, "c.js": SLEEP, "d.js": signature("800B0109")}.items():
        played.write(name, content)
    for jobs in ("1", "2"):
        result = played("verify", "-j", jobs, "--timeout", "5", "a.js", "b.js", "c.js", "d.js", "--format", "json",
                        ends_processes=True)
        assert (result.code, result.error) == (22, "")
        document = records(result)
        assert [file["verdict"] for file in document["files"]] == ["trusted", "timed out", "timed out", "untrusted root"]
        assert document["files"][1]["code"] is None and document["failure"] is None
    assert "c.js: timed out (the verification did not end within 1 s)\n" in played("verify", "--timeout", "1", "c.js",
                                                                                              ends_processes=True).text
    wait_until(lambda: not workers(played), "what was given up goes on")
    for seconds in ("0", "1000001", "x"):
        assert played("verify", "--timeout", seconds, "a.js").code == 2


def test_an_interrupted_run_leaves_a_whole_document(played, monkeypatch):
    played.write("a.js", signature())
    played.write("b.js", SLEEP)

    # While a process is being made, Wine may lose the interruption.
    def comes_to_b(jobs):
        return lambda output: b"a.js" in output.read_bytes() and len(workers(played)) == jobs

    for jobs in (1, 2):
        result = Interrupted(played, "verify", "-j", jobs, "--format", "json", "a.js", "b.js",
                             when=comes_to_b(jobs), monkeypatch=monkeypatch)
        assert result.code == 130 and "cifra: interrupted" in result.shown
        assert verdicts(result) == {"a.js": "trusted"}
        assert records(result)["failure"] == {"code": 130, "message": "interrupted"}
    result = Interrupted(played, "verify", "-j", "1", "--format", "html", "a.js", "b.js",
                         when=comes_to_b(1), monkeypatch=monkeypatch)
    assert result.code == 130
    assert result.text.endswith("</html>\n") and "The run ended early: interrupted" in result.text
    result = Interrupted(played, "verify", "-j", "1", "--format", "csv", "a.js", "b.js",
                         when=comes_to_b(1), monkeypatch=monkeypatch)
    assert result.code == 130
    assert [row["file"] for row in csv.DictReader(io.StringIO(result.text, newline=""))] == ["a.js"]
    wait_until(lambda: not workers(played), "interrupted workers go on")


def test_what_verifies_ends_with_the_run_however_that_ends(played):
    played.write("a.js", SLEEP)
    process = subprocess.Popen([*played.runner, str(played.program), "verify", "a.js"], cwd=played.folder,
                               stdout=subprocess.DEVNULL)
    wait_until(lambda: workers(played), "no worker")
    process.kill()
    process.wait()
    wait_until(lambda: not workers(played), "the worker outlives the run")


@pytest.mark.once
def test_only_shows_the_wanted_verdicts_and_counts_all(played):
    played.write("a.js", signature())
    played.write("b.js", UNSIGNED)
    played.write("c.js", signature("800B0109"))
    result = played("verify", "--only", "unsigned,untrusted-root", "a.js", "b.js", "c.js", "--format", "json")
    assert verdicts(result) == {"b.js": "unsigned", "c.js": "untrusted root"}
    assert (result.code, records(result)["summary"]["files"]) == (12, 3)
    result = played("verify", "--only", "unsigned,strange", "a.js")
    assert (result.code, result.bytes) == (2, b"")
    assert "there is no verdict strange" in result.error


def test_files_verified_at_once_come_in_the_order_of_names(played):
    for i in range(40):
        played.write(f"d/{i:02}.js", signature() if i % 2 else UNSIGNED)
    one, four = (played("verify", "-r", "d", "-j", jobs, "--format", "csv") for jobs in ("1", "4"))
    assert one.code == four.code == 15
    assert one.bytes == four.bytes
    assert [row["file"] for row in csv.DictReader(io.StringIO(one.text, newline=""))] == [
        f"d/{i:02}.js" for i in range(40)]


@pytest.mark.once
def test_no_files_in_a_folder_is_no_failure(played):
    (played.folder / "empty").mkdir()
    assert records(played.succeed("verify", "-r", "empty", "--format", "json"))["files"] == []


def test_a_catalog_signs_files_without_a_signature(played):
    played.write("good.cat", signature(serial="11", time=TIME))
    played.write("bad.cat", signature("800B010C"))
    played.write("a.js", UNSIGNED + "catalog\tSHA256\tgood.cat\n")
    played.write("b.txt", UNSIGNED + "catalog\tSHA1\tgood.cat\n")
    played.write("c.js", UNSIGNED + "catalog\tSHA256\tbad.cat\n")
    played.write("d.js", UNSIGNED)
    played.write("e.js", signature() + "catalog\tSHA256\tgood.cat\n")
    names = ["a.js", "b.txt", "c.js", "d.js", "e.js"]
    result = played("verify", *names, "--format", "json")
    assert list(verdicts(result).values()) == ["trusted", "trusted", "revoked", "unsigned", "trusted"]
    a, b, c, d, e = records(result)["files"]
    for file in (a, b):
        catalog = file["catalog"]
        assert (catalog["state"], catalog["file"], catalog["verdict"]) == ("found", "good.cat", "trusted")
        assert [s["serial"] for s in catalog["signatures"]] == ["11"] and file["signatures"] == []
    assert (c["code"], d["catalog"], e["catalog"]) == ("0x800B010C", {"state": "none"}, None)
    text = played("verify", "a.js", "--require-timestamp").text
    assert text.startswith("a.js: trusted (") and "\n  signed by catalog good.cat\n" in text
    [row] = csv.DictReader(io.StringIO(played("verify", "a.js", "--format", "csv").text, newline=""))
    assert (row["catalog"], row["serial"], row["file_verdict"]) == ("good.cat", "11", "trusted")
    result = played("verify", "--no-catalog", *names, "--format", "json")
    assert list(verdicts(result).values()) == ["unsigned", "not signable", "unsigned", "unsigned", "trusted"]
    assert records(result)["catalogs"] is False


@pytest.mark.once
def test_a_name_cannot_forge_lines_of_the_report(played):
    name = "Good\n\nFiles: 9, trusted: 9\r\n\x1b[2K\x7f\x9b1m\u202etxt\u2028"
    encoded = "".join(f"%{byte:02X}" for byte in name.encode())
    played.write("f", signature("800B0109", subject=f'O=B, CN="{encoded}"'))
    result = played("verify", "f")
    assert result.code == 12
    lines = result.text.split("\n")
    shown = r"Good\n\nFiles: 9, trusted: 9\x0D\n\x1B[2K\x7F\x9B1m\u202Etxt\u2028"
    assert lines[2] == f'    subject:    CN="{shown}", O=B'
    assert len(lines) == 13 and not any(c in result.text for c in "\r\x1b\x7f\x9b\u202e\u2028")
    [file] = records(played("verify", "f", "--format", "json"))["files"]
    assert file["signatures"][0]["subject"]["CN"] == [name]
    [row] = csv.DictReader(io.StringIO(played("verify", "f", "--format", "csv").text, newline=""))
    assert row["subject"] == f'CN="{name}", O=B'


VALUES = {
    "plain": "plain", "a+b": '"a+b"', "a;b": '"a;b"', "<a>": '"<a>"', "#a": '"#a"', "a=b": '"a=b"',
    'the "great" a': '"the ""great"" a"', "a  b": "a  b", "a\\b": "a\\\\b", "a\u200bb": "a\\u200Bb",
}


@pytest.mark.once
def test_values_are_those_of_the_certificate_with_its_quotes(played):
    for i, value in enumerate(VALUES):
        quoted = value.replace('"', '""')
        played.write(f"{i}.js", signature(subject=f'O=B, CN="{quoted}"'))
    names = [f"{i}.js" for i in range(len(VALUES))]
    for value, file in zip(VALUES, records(played("verify", *names, "--format", "json"))["files"]):
        assert file["signatures"][0]["subject"] == {"CN": [value], "O": ["B"]}
    text = played("verify", *names).text
    subjects = [line for line in text.splitlines() if line.startswith("    subject:")]
    assert subjects == [f"    subject:    CN={shown}, O=B" for shown in VALUES.values()]


@pytest.mark.once
def test_fields_are_no_formulas_for_a_spreadsheet(played):
    played.write("=1+1.js", UNSIGNED)
    played.write("@a.js", UNSIGNED)
    rows = list(csv.DictReader(io.StringIO(played("verify", "=1+1.js", "@a.js", "--format", "csv").text, newline="")))
    assert [row["file"] for row in rows] == ["'=1+1.js", "'@a.js"]


def test_a_document_is_whole_when_the_run_ends_early(played):
    library = played.program.parent / "Cifra.dll"
    played.write("f.js", signature())
    whole = library.read_bytes()
    library.write_bytes(whole.replace("Cifra.DigitalSignature".encode("utf-16-le"),
                                      "Cifra.DigitalSignaturX".encode("utf-16-le")))
    for result in (played("verify", "f.js", "--format", "json"), played("verify", "f.js", "--format", "html")):
        assert result.code == 7
        assert "has no object Cifra.DigitalSignature" in result.error
    assert result.text.endswith("</html>\n") and "The run ended early" in result.text
    library.unlink()
    result = played("verify", "f.js", "--format", "json")
    document = records(result)
    assert (result.code, document["failure"]["code"], document["files"], document["library"]) == (7, 7, [], None)


def make_certificate(folder, subject="/CN=Fabrikam"):
    """An encoded certificate for the trust service to hand out, and its thumbprints."""
    der = subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-noenc",
                          "-subj", subject, "-keyout", folder / "key.pem", "-outform", "DER"], check=True,
                         capture_output=True).stdout
    return der, hashlib.sha256(der).hexdigest(), hashlib.sha1(der).hexdigest()


@pytest.mark.once
def test_a_policy_is_demanded_of_trusted_files(played):
    der, sha256, sha1 = make_certificate(played.folder)
    played.write("c.der", der)
    played.write("signed.js", signature(der="c.der", time=TIME))
    played.write("unstamped.js", signature(der="c.der"))
    played.write("two.js", signature(serial="05") + signature(der="c.der", time=TIME))
    played.write("bad.js", signature("800B0109", der="c.der"))
    played.write("catalog.js", UNSIGNED + "catalog\tSHA256\tsigned.js\n")
    files = ["signed.js", "unstamped.js", "two.js", "bad.js", "catalog.js"]
    colons = ":".join(sha256[i:i + 2] for i in range(0, 64, 2)).upper()
    other = "0" * 40
    trusted, root = "trusted", "untrusted root"
    for arguments, expected, code in (
        (["--signer", colons], [trusted, trusted, trusted, root, trusted], 12),
        (["--signer", other, "--signer", sha1], [trusted, trusted, trusted, root, trusted], 12),
        (["--signer", other], ["wrong signer"] * 3 + [root, "wrong signer"], 12),
        (["--require-timestamp"], [trusted, "no time stamp", trusted, root, trusted], 12),
        (["--signer", sha256, "--min-digest", "sha256"], ["weak digest"] * 3 + [root, "weak digest"], 12),
    ):
        result = played("verify", *files, *arguments, "--format", "json")
        assert (list(verdicts(result).values()), result.code) == (expected, code), arguments
    assert records(result)["policy"] == {"signers": [sha256], "minDigest": "sha256", "requiresTimestamp": False}
    assert played("verify", "signed.js", "--signer", other).code == 18
    assert played("verify", "unstamped.js", "--require-timestamp", "--signer", sha1).code == 19
    assert played("verify", "signed.js", "--min-digest", "sha1").code == 20
    for wrong in ("12", "g" * 40, ""):
        assert played("verify", "signed.js", "--signer", wrong).code == 2


def test_a_zero_character_in_a_name_is_shown(played):
    der, _, _ = make_certificate(played.folder, "/CN=good#evil/O=Rest")
    played.write("c.der", der.replace(b"good#evil", b"good\0evil"))
    played.write("f.js", signature(subject="CN=good", der="c.der"))
    text = played("verify", "f.js").text
    assert "    subject:    CN=good (cut at a zero character)\n" in text
    assert r"      subject:    CN=good\x00evil, O=Rest" in text.replace('"', "")
    [file] = records(played("verify", "f.js", "--format", "json"))["files"]
    [found] = file["signatures"]
    assert found["cut"] and "good\0evil" in found["client"]["certificate"]["subject"]


@pytest.mark.once
def test_standard_input_is_refused(played):
    played.write("f", signature())
    for arguments in (["-"], ["f", "-"]):
        result = played("verify", *arguments, stdin=b"text")
        assert (result.code, result.bytes) == (2, b"")
        assert "standard input" in result.error


def test_a_library_without_verification_is_reported_as_such(played):
    library = played.program.parent / "Cifra.dll"
    names = ["Cifra.DigitalSignature".encode("utf-16-le"), "Cifra.DigitalSignaturX".encode("utf-16-le")]
    library.write_bytes(library.read_bytes().replace(*names))
    played.write("f", signature())
    result = played("verify", "f")
    assert result.code == 7
    assert "has no object Cifra.DigitalSignature" in result.error
    assert "cannot open" not in result.text


@pytest.mark.once
def test_the_help_says_that_each_file_has_an_object_of_its_own(cifra):
    text = " ".join(cifra.succeed("verify", "--help").text.split())
    assert "Each file is verified by an object of the library made for it alone" in text
    assert "no file is judged by those before it" in text


IMPOSSIBLE = [
    lambda document: document["summary"].update(other=1),
    lambda document: document["files"][0]["signatures"][0].update(verdict="unsigned"),
    lambda document: document["files"][0]["signatures"][0].update(verdict="cannot open"),
    lambda document: document["files"][0]["signatures"][0].update(code=None),
    lambda document: document["files"][0]["signatures"][0].update(timestamp=None),
    lambda document: document["files"][0].update(catalog={"state": "found"}),
    lambda document: document.update(failure={"code": 8}),
]


@pytest.mark.once
def test_the_schema_refuses_what_never_occurs(played):
    played.write("f", signature())
    text = played("verify", "f", "--format", "json").text
    for change in IMPOSSIBLE:
        document = json.loads(text)
        change(document)
        with pytest.raises(jsonschema.ValidationError):
            jsonschema.validate(document, json.loads(SCHEMA.read_text()))
