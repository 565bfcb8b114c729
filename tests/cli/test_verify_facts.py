"""verify with the system's own trust service: what the client reads from signed files is what openssl and
osslsigncode read from them."""

import datetime
import json
import os
import pathlib
import re
import subprocess
import sys

import jsonschema
import pytest

from conftest import Client, place_in_system

ROOT = pathlib.Path(__file__).parents[2]
SCHEMA = ROOT / "docs/schema/verify.json"
sys.path.insert(0, str(ROOT / "tests/fixtures"))
import make_fact_files  # noqa: E402  (found by the line above)


def tool(*arguments):
    return subprocess.run([str(a) for a in arguments], capture_output=True, text=True, check=True).stdout


@pytest.fixture(scope="module")
def found(tmp_path_factory):
    """All files, with one run's records of them by name."""
    folder = tmp_path_factory.mktemp("facts")
    subprocess.run([sys.executable, ROOT / "tests/fixtures/make_fact_files.py", folder], check=True)
    changed = bytearray((folder / "rsa.exe").read_bytes())
    changed[0x300] ^= 1
    (folder / "changed.exe").write_bytes(changed)
    (folder / "read.me").write_text("text")
    for name in ("short.txt", "short.ps1", "short.exe"):
        (folder / name).write_text("MZ\n")
    # Of other languages, whose comments are others, with a signature that is not theirs.
    script = (folder / "signed.ps1").read_text()
    for kind, mark in (("js", "// SIG // "), ("vbs", "'' SIG '' ")):
        (folder / f"marked.{kind}").write_text(re.sub("^# (SIG # )?", mark, script, flags=re.M))
    (folder / "cut.ps1").write_text(script[:-100])
    (folder / "garbled.ps1").write_text(script.replace("# MII", "# MIJ"))
    place_in_system(os.environ["CIFRA_STANDIN_NAMES"])
    client = Client(folder, pathlib.Path(os.environ["CIFRA_PROGRAM"]))
    names = sorted(path.name for path in folder.iterdir() if path.is_file())
    result = client("verify", *names, "--chain", "--format", "json")
    document = json.loads(result.text)
    jsonschema.validate(document, json.loads(SCHEMA.read_text()))
    return folder, {file["file"]: file for file in document["files"]}


def iso(openssl_time):
    time = datetime.datetime.strptime(openssl_time, "%b %d %H:%M:%S %Y %Z")
    return time.strftime("%Y-%m-%dT%H:%M:%SZ")


def openssl_reading(certificate):
    """What openssl reads from a certificate, in the client's form."""
    fields = dict(line.split("=", 1) for line in tool(
        "openssl", "x509", "-in", certificate, "-noout", "-serial", "-dates", "-nameopt",
        "RFC2253,-esc_msb,utf8,-dn_rev,sep_comma_plus_space", "-subject", "-issuer").splitlines())
    text = tool("openssl", "x509", "-in", certificate, "-noout", "-text")
    thumbprints = {name: tool("openssl", "x509", "-in", certificate, "-noout", "-fingerprint", f"-{name}")
                   .strip().split("=")[1].replace(":", "").lower() for name in ("sha256", "sha1")}
    curve = re.search(r"ASN1 OID: (\S+)", text)
    # openssl leaves out the zero byte that keeps a number positive; the client shows all bytes of the encoding.
    sign = "00" if int(fields["serial"][0], 16) >= 8 else ""
    return {
        "serial": sign + fields["serial"].lower(),
        "validFrom": iso(fields["notBefore"]),
        "validTo": iso(fields["notAfter"]),
        "key": {"type": "EC" if curve else "RSA", "bits": int(re.search(r"Public-Key: \((\d+) bit\)", text)[1]),
                "curve": curve[1] if curve else None},
        "signatureAlgorithm": re.search(r"Signature Algorithm: (\S+)", text)[1],
        **thumbprints,
    }


def signature_of(file, index=0):
    return file["signatures"][index]["client"]


SIGNERS = {"rsa.exe": "rsa", "p256.exe": "p256", "p384.exe": "p384", "p521.exe": "p521", "stamped.exe": "rsa",
           "old-stamped.exe": "rsa", "signed.cab": "rsa", "signed.msi": "rsa", "changed.exe": "rsa"}


def test_certificates_are_read_as_openssl_reads_them(found):
    folder, files = found
    for name, signer in SIGNERS.items():
        certificate = signature_of(files[name])["certificate"]
        expected = openssl_reading(folder / f"work/{signer}.pem")
        assert {key: certificate[key] for key in expected} == expected, name
        usages = ["codeSigning"] + (["1.2.3.4.5"] if signer == "rsa" else [])
        assert certificate["extendedKeyUsages"] == usages
        # In the certificate's order, quoted as the platform does.
        assert certificate["subject"] == f'C=DE, O="Fabrikam, Inc.", OU=B, OU=A, CN=Prüfer {signer}'
        assert certificate["issuer"] == certificate["subject"]


def test_messages_are_read_as_osslsigncode_reads_them(found):
    folder, files = found
    for name in ("rsa.exe", "p256.exe", "p384.exe", "p521.exe", "stamped.exe", "old-stamped.exe", "signed.msi"):
        text = subprocess.run(["osslsigncode", "verify", "-in", folder / name], capture_output=True, text=True,
                              check=False).stdout
        message = signature_of(files[name])["message"]
        assert message["fileDigest"] == re.search(r"Message digest algorithm\s*: (\S+)", text)[1].lower()
        assert message["digest"] == re.search(r"^Message digest algorithm: (\S+)", text, re.M)[1].lower()
        stamp = message["timestamp"]
        claimed = re.search(r"Timestamp time: (.*)", text)
        assert stamp["time"] == (iso(claimed[1].strip()) if claimed else None)
        kinds = {"stamped.exe": "RFC 3161", "old-stamped.exe": "Authenticode", "signed.msi": "RFC 3161"}
        assert stamp["kind"] == kinds.get(name, "none")
        if claimed:
            expected = openssl_reading(folder / "work/stamper.pem")
            assert {key: stamp["authority"][key] for key in expected} == expected
            assert stamp["authority"]["subject"] == "O=Contoso, CN=Old Stamper"
    message = signature_of(files["rsa.exe"])["message"]
    assert (message["programName"], message["url"]) == (make_fact_files.PROGRAM, make_fact_files.URL)


def test_kinds_are_told_by_content_and_scripts_by_name(found):
    _, files = found
    kinds = {name: file["kind"] for name, file in files.items()}
    assert (kinds["rsa.exe"], kinds["signed.msi"], kinds["signed.cab"]) == ("PE", "MSI", "CAB")
    assert (kinds["unsigned.msi"], kinds["unsigned.ps1"], kinds["read.me"]) == ("MSI", "script", None)
    for kind in ("exe", "msi", "cab", "ps1"):
        assert files[f"unsigned.{kind}"]["verdict"] == "unsigned"
    assert files["read.me"]["verdict"] == "not signable"


def test_a_file_too_short_for_a_signature_is_not_called_untrusted(found):
    _, files = found
    verdicts = {name: files[f"short.{name}"]["verdict"] for name in ("txt", "ps1", "exe")}
    assert verdicts == {"txt": "not signable", "ps1": "unsigned", "exe": "not signable"}


def test_what_cannot_be_told_is_unknown_and_never_none(found):
    _, files = found
    # Seen: the signature holds no time stamp.
    assert files["rsa.exe"]["signatures"][0]["timestamp"] == "none"
    # Wine verifies no time stamps: there is one, and nobody knows whether it is good.
    assert files["stamped.exe"]["signatures"][0]["timestamp"] in ("unknown", "2023-11-14T22:15:00.000Z")


def index_of(signature):
    return int(signature["position"].removeprefix("secondary ").replace("primary", "0"))


def test_signatures_that_the_system_did_not_verify_are_read_as_osslsigncode_reads_them(found):
    folder, files = found
    for name, count in (("nested.exe", 2), ("nested-3.exe", 3)):
        file = files[name]
        assert file["signaturesFound"] == count
        # Wine verifies the primary signature in place of the others: what it hands out is not theirs.
        read = {index_of(s): s["client"] for s in (*file["signatures"], *file["notVerified"]) if s["client"]["message"]}
        text = subprocess.run(["osslsigncode", "verify", "-in", folder / name], capture_output=True, text=True,
                              check=False).stdout
        parts = re.split(r"^Signature Index: \d+.*$", text, flags=re.M)[1:]
        assert sorted(read) == list(range(count)) == list(range(len(parts)))
        for index, part in enumerate(parts):
            message, certificate = read[index]["message"], read[index]["certificate"]
            signer = re.search(r"Subject: .*?/CN=\S+ (\w+)$", part, re.M)[1]
            expected = openssl_reading(folder / f"work/{signer}.pem")
            assert {key: certificate[key] for key in expected} == expected, (name, index)
            assert message["digest"] == re.search(r"^Message digest algorithm: (\S+)", part, re.M)[1].lower()
            assert message["fileDigest"] == re.search(r"Message digest algorithm  : (\S+)", part)[1].lower()
            stamp = re.search(r"Timestamp time: (.*)", part)
            assert message["timestamp"]["time"] == (iso(stamp[1].strip()) if stamp else None)
            described = re.search(r"Text description: (.*)", part)
            assert (message["programName"] is None) == (described is None)
    assert all(s["client"]["certificate"]["from"] == "file" for s in files["nested-3.exe"]["notVerified"])


def test_a_catalog_is_read_as_openssl_reads_it(found, tmp_path):
    folder, files = found
    unsigned, signed = files["unsigned.cat"], files["signed.cat"]
    assert (unsigned["kind"], unsigned["verdict"], unsigned["signaturesFound"]) == ("catalog", "unsigned", 0)
    assert unsigned["notVerified"] == []
    assert (signed["kind"], signed["verdict"], signed["signaturesFound"]) == ("catalog", "trusted", 1)
    tool("openssl", "pkcs7", "-inform", "DER", "-in", folder / "signed.cat", "-print_certs", "-out", tmp_path / "all.pem")
    certificates = (tmp_path / "all.pem").read_text().split("-----END CERTIFICATE-----\n")[:-1]
    readings = []
    for certificate in certificates:
        (tmp_path / "one.pem").write_text(certificate + "-----END CERTIFICATE-----\n")
        readings.append(openssl_reading(tmp_path / "one.pem"))
    found_by_client = signature_of(signed)
    expected = next(r for r in readings if r["serial"] == found_by_client["certificate"]["serial"])
    assert {key: found_by_client["certificate"][key] for key in expected} == expected
    printed = tool("openssl", "pkcs7", "-print", "-noout", "-inform", "DER", "-in", folder / "signed.cat")
    message = found_by_client["message"]
    assert message["digest"] == re.search(r"digest_alg:\s+algorithm: (\w+)", printed)[1]
    # What is signed is a list, no digest of a file.
    assert message["fileDigest"] is None
    stamped = openssl_reading(folder / "work/stamper.pem")
    assert message["timestamp"]["time"] == "2023-11-14T22:15:00Z"
    assert {key: message["timestamp"]["authority"][key] for key in stamped} == stamped


def test_a_signed_script_is_what_the_system_says(found):
    folder, files = found
    stamper = openssl_reading(folder / "work/stamper.pem")
    for name in ("signed.ps1", "signed-16.ps1", "signed.ps1xml", "signed.mof", "marked.js", "marked.vbs"):
        file = files[name]
        assert (file["kind"], file["signaturesFound"]) == ("script", 1), name
        if file["code"] == "0x800B0003":  # Wine's: it knows no signatures in scripts
            assert (file["verdict"], file["signatures"]) == ("unsigned", [])
        else:
            assert file["verdict"] == ("untrusted root" if name.startswith("signed") else "damaged")
        [signature] = file["signatures"] + file["notVerified"]
        certificate, message = signature["client"]["certificate"], signature["client"]["message"]
        expected = openssl_reading(folder / "work/rsa.pem")
        assert {key: certificate[key] for key in expected} == expected, name
        assert (message["digest"], message["fileDigest"]) == ("sha256", "sha256")
        assert message["timestamp"]["time"] == "2023-11-14T22:15:00Z"
        assert {key: message["timestamp"]["authority"][key] for key in stamper} == stamper


def test_in_a_script_without_a_whole_signature_none_is_found(found):
    _, files = found
    for name in ("unsigned.ps1", "unsigned-16.ps1", "cut.ps1", "garbled.ps1"):
        assert (files[name]["signaturesFound"], files[name]["notVerified"]) == (0, []), name


def test_a_changed_file_still_tells_who_signed_it(found):
    _, files = found
    file = files["changed.exe"]
    assert (file["verdict"], file["code"]) == ("damaged", "0x80096010")
    # Where the platform gives no certificate out, the one in the file is shown as that.
    assert signature_of(file)["certificate"]["from"] in ("file", "verification")


def test_the_chain_is_the_platforms_with_its_errors(found):
    folder, files = found
    [element] = signature_of(files["rsa.exe"])["chain"]
    assert element["sha256"] == openssl_reading(folder / "work/rsa.pem")["sha256"]
    assert all(isinstance(error, str) for error in element["errors"])
