"""hash, side by side with md5sum and sha256sum."""

import csv
import hashlib
import io
import json
import os
import pathlib
import random
import subprocess

import jsonschema
import pytest

from conftest import place_in_system

SCHEMA = pathlib.Path(__file__).parents[2] / "docs/schema/hash.json"
ALGORITHMS = ["md5", "sha256"]
FILES = 1000


def coreutils(folder, algorithm, *arguments, stdin=b""):
    return subprocess.run(
        [f"{algorithm}sum", *arguments],
        input=stdin,
        capture_output=True,
        cwd=folder,
        env={**os.environ, "LC_ALL": "C.UTF-8"},
        check=False,
    )


def random_name(source, number):
    stem = source.choice(["plain", "with blank", "Grüße", "日本語", "😀", "it's (1)", "#x", "=", "%", "a;b"])
    return f"{stem}-{number}{source.choice(['', '.txt', '.TAR.gz'])}"


@pytest.fixture(scope="module")
def tree(tmp_path_factory):
    """A folder of generated files of all kinds of sizes, below a few folders."""
    folder = tmp_path_factory.mktemp("tree")
    source = random.Random(20)
    places = [folder, folder / "sub", folder / "sub/Ordner ä", folder / "z"]
    for place in places:
        place.mkdir(exist_ok=True)
    sizes = [0, 1, 55, 56, 63, 64, 65, 119, 120]
    sizes += [size + more for size in (1 << 15, 1 << 20, (1 << 20) + (1 << 15)) for more in (-1, 0, 1)]
    for number in range(FILES):
        size = sizes[number] if number < len(sizes) else source.randrange(3000)
        (source.choice(places) / random_name(source, number)).write_bytes(source.randbytes(size))
    return folder


@pytest.fixture
def client(cifra, tree):
    cifra.folder = tree
    return cifra


def in_order(folder, shown):
    """The files below a folder in the order of the client: by name, folders where they stand."""
    names = []
    for entry in sorted(os.scandir(folder), key=lambda e: e.name.encode("utf-16-be")):
        name = f"{shown}/{entry.name}"
        names += in_order(entry.path, name) if entry.is_dir() else [name]
    return names


@pytest.mark.parametrize(
    "algorithm, options",
    [("md5", []), ("sha256", ["-t"]), ("md5", ["--tag"]), ("sha256", ["-z", "-b"]), ("sha256", ["--tag", "-z"])],
)
def test_a_thousand_files_give_the_same_bytes(client, tree, algorithm, options):
    names = in_order(tree, ".")
    assert len(names) == FILES
    expected = coreutils(tree, algorithm, *options, *names)
    result = client.succeed("hash", "-a", algorithm, *options, "-r", ".")
    assert expected.returncode == 0
    assert result.bytes == expected.stdout


@pytest.mark.once
@pytest.mark.parametrize("algorithm", ALGORITHMS)
def test_each_checks_the_lists_of_the_other(client, tree, tmp_path, algorithm):
    theirs = tmp_path / "theirs"
    theirs.write_bytes(coreutils(tree, algorithm, *in_order(tree, ".")).stdout)
    ours = tmp_path / "ours"
    ours.write_bytes(client.succeed("hash", "-a", algorithm, "--tag", "-r", ".").bytes)
    for listed, given in ((theirs, []), (ours, ["-a", algorithm])):
        expected = coreutils(tree, algorithm, "--check", listed)
        assert expected.returncode == 0 and expected.stdout.count(b": OK\n") == FILES
        assert client.succeed("hash", *given, "--check", listed).bytes == expected.stdout


OPTIONS_OF_CHECK = [
    [], ["--quiet"], ["--status"], ["--ignore-missing"], ["--quiet", "--ignore-missing"],
    ["--strict"], ["--warn", "--strict", "--quiet"],
]


@pytest.mark.once
@pytest.mark.parametrize("options", OPTIONS_OF_CHECK, ids=" ".join)
def test_changed_and_missing_files_are_told_in_the_same_words(cifra, options):
    for number in range(8):
        cifra.write(f"f{number}", f"{number}")
    listed = coreutils(cifra.folder, "md5", *(f"f{n}" for n in range(8))).stdout
    cifra.write("list", b"nonsense\n\n# remark\n" + listed + b"MD5 (f1) = 12\n")
    cifra.write("f1", "changed")
    (cifra.folder / "f5").unlink()
    expected = coreutils(cifra.folder, "md5", *options, "--check", "list")
    result = cifra("hash", *options, "--check", "list")
    assert result.bytes == expected.stdout
    assert (result.code, expected.returncode) == (1, 1)
    if "--status" in options:
        assert "WARNING" not in result.error
    else:
        for line in expected.stderr.decode().splitlines():
            if "WARNING" in line:
                assert line.replace("md5sum:", "cifra:") in result.error.splitlines()
    assert ("list: 1: " in result.error) == ("--warn" in options)


EMPTY = "d41d8cd98f00b204e9800998ecf8427e"
# A list, the options, and the files that there are beside the empty f: cases that coreutils test
# md5sum with, as far as they can be here.
COREUTILS_CASES = [
    (f"{EMPTY}  f\n", [], {}),
    (f"{EMPTY}  f\n", ["--quiet"], {}),
    (f"{EMPTY}  f\n", ["--quiet"], {"f": "foo"}),
    (f"{EMPTY}  f\n", ["--status"], {}),
    (f"{EMPTY}  f\n", ["--status"], {"f": "foo"}),
    (f"{EMPTY}  f\n", ["--quiet", "--status"], {"f": "foo"}),
    (f"{EMPTY} *f\n", [], {}),
    (f"{EMPTY} f\n", [], {}),
    (f"{EMPTY}  f\nxxx\n", ["--warn"], {}),
    (f"{EMPTY}  f\nxxx\n", ["--warn", "--strict"], {}),
    ("xxx\n", ["--warn"], {}),
    ("xxx\n", [], {}),
    ("", [], {}),
    ("\n", [], {}),
    ("MD5 (", [], {}),
    ("MD5 (f", [], {}),
    ("MD5 (f) ", [], {}),
    ("MD5 (f) =", [], {}),
    (f"MD5 (f) = {EMPTY}\n", [], {}),
    (f"MD5 (f)= {EMPTY}\n", [], {}),
    (f"MD5(f)= {EMPTY}\n", [], {}),
    (f"MD5 ( f ) = {EMPTY}\n", [], {" f ": ""}),
    (f"MD5 (f) g) = {EMPTY}\n", [], {"f) g": ""}),
    (f"  MD5 (f) = {EMPTY}\n", [], {}),
    (f"SHA1 (f) = {EMPTY}\n", [], {}),
    (f"{EMPTY}  f\r\n", [], {}),
    (f"{EMPTY.upper()}  f\n", [], {}),
    (f"\t {EMPTY}  f\n", [], {}),
    (f"{EMPTY}0  f\n", [], {}),
    (f"{EMPTY[1:]}  f\n", [], {}),
    (f"{EMPTY}   f\n", [], {" f": ""}),
    (f"{EMPTY}  f\n{EMPTY}  missing\n", ["--ignore-missing"], {}),
    (f"{EMPTY}  f\n{EMPTY}  missing\n", ["--ignore-missing", "--quiet"], {}),
    (f"{EMPTY}  f\n{EMPTY}  missing\n", ["--ignore-missing", "--status"], {}),
    (f"{EMPTY}  missing\n", ["--ignore-missing"], {}),
    (f"{EMPTY}  missing\n", ["--ignore-missing", "--status"], {}),
    (f"{EMPTY}  f\n{EMPTY}  g\n{EMPTY}  missing\n", ["--ignore-missing"], {"g": "changed"}),
    (f"{EMPTY}  f\n{EMPTY}  missing\nxxx\nyyy\n", [], {}),
    (f"{EMPTY}  f\n{EMPTY}  g\n{EMPTY}  h\n", [], {"g": "1", "h": "2"}),
    (f"\\{EMPTY}  a\\nb\n", [], {}),
    (f"\\{EMPTY}  a\\x\n", [], {}),
    (f"\\{EMPTY}  a\\\n", [], {}),
    (f"\\MD5 (a\\nb) = {EMPTY}\n", [], {}),
    (f"# remark\n#{EMPTY}  f\n{EMPTY}  f\n", [], {}),
    (f"{EMPTY}  f", [], {}),
    (f"{EMPTY}  \n", [], {}),
    (f"{EMPTY}\n", [], {}),
]


def without_system_messages(text):
    """Why a file cannot be opened is told in each system's words."""
    return [line for line in text.splitlines() if ": No such file" not in line and ": cannot open: " not in line]


@pytest.mark.once
@pytest.mark.parametrize("case", range(len(COREUTILS_CASES)))
def test_what_coreutils_test_md5sum_with(cifra, case):
    text, options, files = COREUTILS_CASES[case]
    for name, content in {"f": "", **files}.items():
        cifra.write(name, content)
    cifra.write("list.md5", text)
    expected = coreutils(cifra.folder, "md5", *options, "--check", "list.md5")
    result = cifra("hash", "-a", "md5", *options, "--check", "list.md5")
    assert (result.text, result.code != 0) == (expected.stdout.decode(), expected.returncode != 0)
    told = without_system_messages(expected.stderr.decode().replace("md5sum:", "cifra:"))
    assert without_system_messages(result.error) == told


def digest_line(name="f", content=b"content", algorithm="md5"):
    return f"{hashlib.new(algorithm, content).hexdigest()}  {name}"


CHECK_CODES = [
    ("{ok}\n", [], 0),
    ("{ok}\nnonsense\n", [], 0),
    ("{ok}\nnonsense\n", ["--strict"], 5),
    ("nonsense\n", [], 5),
    ("", [], 5),
    ("{missing}\n", [], 3),
    ("{missing}\n", ["--ignore-missing"], 3),
    ("{ok}\n{missing}\n", ["--ignore-missing"], 0),
    ("{wrong}\n{missing}\nnonsense\n", ["--strict"], 1),
    ("{missing}\nnonsense\n", ["--strict"], 3),
    ("{sha}\n", ["-a", "md5"], 5),
    ("{ok}\n{sha}\n", [], 0),
]


@pytest.mark.once
def test_the_exit_code_of_a_check_is_the_gravest(cifra):
    cifra.write("f", "content")
    lines = {
        "ok": digest_line(),
        "wrong": digest_line(content=b"other"),
        "missing": digest_line("missing"),
        "sha": digest_line(algorithm="sha256"),
    }
    for text, options, code in CHECK_CODES:
        cifra.write("list", text.format(**lines))
        assert (text, options, cifra("hash", "--check", *options, "list").code) == (text, options, code)
    assert cifra("hash", "--check", "no list").code == 3


@pytest.mark.once
def test_lists_that_windows_programs_write_are_read(cifra):
    cifra.write("Größe", "content")
    text = digest_line("Größe").upper().replace("GRÖSSE", "Größe").replace("GRÖßE", "Größe") + "\r\n"
    for content in (
        text.encode(),
        b"\xef\xbb\xbf" + text.encode(),
        b"\xff\xfe" + text.encode("utf-16-le"),
        text.replace("  ", " *").encode(),
        text.rstrip().encode(),
        b"  " + text.encode(),
    ):
        assert cifra.succeed("hash", "--check", "-", stdin=content).text == "Größe: OK\n"


@pytest.mark.once
def test_names_with_backslashes_are_files_in_folders(cifra):
    cifra.write("a/b", "content")
    for line in (digest_line("a\\b"), "\\" + digest_line("a\\\\b")):
        result = cifra.succeed("hash", "--check", stdin=line.encode())
        assert result.text == "a\\b: OK\n"
    assert cifra.succeed("hash", "-a", "md5", "a\\b").text == digest_line("a/b") + "\n"


@pytest.mark.once
def test_names_with_line_ends_are_escaped_in_the_same_way(cifra):
    line = "\\" + digest_line("no\\nsuch\\\\file\\r") + "\n"
    expected = coreutils(cifra.folder, "md5", "--check", stdin=line.encode())
    assert cifra("hash", "--check", stdin=line.encode()).bytes == expected.stdout


def test_standard_input_is_a_file(cifra):
    for arguments in ([], ["-"]):
        for algorithm in ALGORITHMS:
            result = cifra.succeed("hash", "-a", algorithm, *arguments, stdin=b"\r\n\x1a\0\xff")
            expected = coreutils(cifra.folder, algorithm, stdin=b"\r\n\x1a\0\xff")
            assert result.bytes == expected.stdout


def test_without_an_algorithm_it_is_sha256(cifra):
    assert cifra.succeed("hash", stdin=b"").text == digest_line("-", b"", "sha256") + "\n"


@pytest.mark.parametrize("jobs", ["1", "2"])
def test_standard_input_between_files_is_read_by_its_first_name(cifra, jobs):
    cifra.write("a", b"one")
    content = bytes(100_000)
    lines = [digest_line(name, data, "sha256")
             for name, data in (("-", content), ("a", b"one"), ("-", b""), ("a", b"one"))]
    result = cifra.succeed("hash", "-j", jobs, "-", "a", "-", "a", stdin=content)
    # With several jobs, which of the two names gets the content is not settled.
    assert result.text.splitlines() in ([lines] if jobs == "1" else [lines, [lines[i] for i in (2, 1, 0, 3)]])


def names_of(result):
    return [line.split("  ", 1)[1] for line in result.text.splitlines()]


@pytest.mark.once
@pytest.mark.parametrize(
    "patterns, names",
    [
        (["*.txt"], ["B.TXT", "a.txt"]),
        (["?.txt"], ["B.TXT", "a.txt"]),
        (["*"], ["B.TXT", "a.txt", "noext", "ä b.md"]),
        (["*.*"], ["B.TXT", "a.txt", "noext", "ä b.md"]),
        (["Ä*"], ["ä b.md"]),
        (["sub/*.txt"], ["sub/c.txt"]),
        (["Z:*.txt"], ["Z:B.TXT", "Z:a.txt"]),
        (["z:s*/c*"], ["z:sub/c.txt"]),
        (["s*\\*.txt"], ["sub/c.txt"]),
        (["./*x?"], ["./B.TXT", "./a.txt", "./noext"]),
        (["*/deep/*"], ["sub/deep/d.txt"]),
        (["*/deep/d.txt"], ["sub/deep/d.txt"]),
        (["-r", "*"], ["B.TXT", "a.txt", "noext", "sub/c.txt", "sub/deep/d.txt", "ä b.md"]),
        (["-r"], ["./B.TXT", "./a.txt", "./noext", "./sub/c.txt", "./sub/deep/d.txt", "./ä b.md"]),
        (["-r", "sub", "a.txt"], ["sub/c.txt", "sub/deep/d.txt", "a.txt"]),
        (["-r", "sub/"], ["sub/c.txt", "sub/deep/d.txt"]),
    ],
    ids=str,
)
def test_patterns_and_folders(cifra, patterns, names):
    for name in ("a.txt", "B.TXT", "noext", "ä b.md", "sub/c.txt", "sub/deep/d.txt"):
        cifra.write(name, name)
    result = cifra.succeed("hash", *patterns)
    assert names_of(result) == names


def test_a_file_that_cannot_be_read_does_not_stop_the_run(cifra):
    cifra.write("a", "1")
    cifra.write("folder/x", "2")
    result = cifra("hash", "missing", "a", "folder", "*.none", "<>", "a")
    assert result.code == 3
    assert names_of(result) == ["a", "a"]
    for word in ("missing: ", "folder: is a directory", "*.none: no file matches", "<>: "):
        assert word in result.error


@pytest.mark.once
def test_a_whole_path_may_have_patterns(cifra):
    path = cifra.write("folder/file", "content")
    (name,) = names_of(cifra.succeed("hash", f"Z:{path.parent.parent}/f*/f?le".replace("/", "\\")))
    assert name == f"Z:{path}"


def test_a_file_that_the_system_fails_to_hash_is_named(cifra):
    place_in_system(os.environ["CIFRA_STANDIN_CNG"])
    cifra.write("a", "content")
    for call in ("BCryptCreateHash", "BCryptHashData", "BCryptFinishHash"):
        failing = {"WINEDLLOVERRIDES": "bcrypt=n,b", "CIFRA_FAILING_CNG_CALL": call}
        result = cifra("hash", "a", env=failing)
        assert (result.code, result.bytes) == (8, b"")
        assert result.error.startswith("cifra: a: the system's hashing service failed")


def test_links_to_folders_are_not_followed(cifra):
    cifra.write("folder/x", "2")
    (cifra.folder / "folder/loop").symlink_to(cifra.folder / "folder", target_is_directory=True)
    assert cifra("hash", "-r", "folder").text.count("\n") < 5


@pytest.mark.once
def test_expect(cifra):
    cifra.write("a", "content")
    cifra.write("b", "other")
    for algorithm in ALGORITHMS:
        digest = hashlib.new(algorithm, b"content").hexdigest()
        assert cifra.succeed("hash", "--expect", digest.upper(), "a").text == "a: OK\n"
        result = cifra("hash", "-a", algorithm, "--expect", digest, "a", "b", "c")
        assert result.code == 1
        assert result.text == "a: OK\nb: FAILED\nc: FAILED open or read\n"


def outcomes_expected():
    content, other = (hashlib.md5(text).hexdigest() for text in (b"content", b"other"))
    return [
        {"file": 'a,"b"'.replace('"', "'"), "algorithm": "md5", "digest": content, "expected": content, "status": "ok"},
        {"file": "b", "algorithm": "md5", "digest": other, "expected": content, "status": "failed"},
        {"file": "c", "algorithm": "md5", "digest": None, "expected": content, "status": "unreadable"},
    ]


def test_json_fits_its_schema_and_csv_says_the_same(cifra):
    cifra.write("a,'b'", "content")
    cifra.write("b", "other")
    digest = hashlib.md5(b"content").hexdigest()
    arguments = ["hash", "--expect", digest, "a,'b'", "b", "c"]
    result = cifra(*arguments, "--format", "json")
    records = json.loads(result.text)
    jsonschema.validate(records, json.loads(SCHEMA.read_text()))
    errors = [record.pop("error") for record in records]
    assert records == outcomes_expected()
    assert errors[:2] == [None, None] and "c: cannot open" in errors[2]

    table = list(csv.DictReader(io.StringIO(cifra(*arguments, "--format", "csv").text, newline="")))
    assert [row.pop("error") for row in table] == ["", "", errors[2]]
    assert table == [{key: value or "" for key, value in row.items()} for row in outcomes_expected()]


@pytest.mark.once
def test_json_of_plain_digests_and_of_nothing_fits_the_schema(cifra):
    cifra.write("Größe", "content")
    schema = json.loads(SCHEMA.read_text())
    records = json.loads(cifra.succeed("hash", "Größe", "--format", "json").text)
    jsonschema.validate(records, schema)
    assert [(record["file"], record["status"]) for record in records] == [("Größe", "hashed")]
    (cifra.folder / "empty").mkdir()
    assert json.loads(cifra.succeed("hash", "-r", "empty", "--format", "json").text) == []


@pytest.mark.once
def test_a_check_may_be_reported_to_programs(cifra):
    cifra.write("a,'b'", "content")
    cifra.write("b", "other")
    cifra.write("list", "\n".join(digest_line(name) for name in ("a,'b'", "b", "c")) + "\nnonsense\n")
    result = cifra("hash", "--check", "list", "--format", "json")
    assert result.code == 1
    records = json.loads(result.text)
    jsonschema.validate(records, json.loads(SCHEMA.read_text()))
    errors = [record.pop("error") for record in records]
    assert records == outcomes_expected()
    assert errors[:2] == [None, None] and "c: cannot open" in errors[2]

    table = list(csv.DictReader(io.StringIO(cifra("hash", "-c", "list", "--format", "csv").text, newline="")))
    assert [row.pop("error") for row in table] == ["", "", errors[2]]
    assert table == [{key: value or "" for key, value in row.items()} for row in outcomes_expected()]


def test_several_files_at_once_give_the_same_results_in_order(client, tree, tmp_path):
    one = client.succeed("hash", "-a", "md5", "-r", ".")
    several = client.succeed("hash", "-a", "md5", "-r", "-j", "4", ".")
    assert several.bytes == one.bytes
    lines = several.text.replace("  ./", "  ./no/", 2).splitlines(keepends=True)
    (tmp_path / "list").write_text("".join(lines), encoding="utf-8")
    checks = [client("hash", "-j", jobs, "--check", tmp_path / "list") for jobs in ("1", "4")]
    assert [check.code for check in checks] == [3, 3]
    assert checks[0].bytes == checks[1].bytes
    assert checks[0].error == checks[1].error
    assert checks[0].text.count(": OK\n") == FILES - 2


def test_programs_are_told_how_far_the_work_is(cifra):
    cifra.write("a", b"x" * 1000)
    cifra.write("b", b"x" * 234)
    result = cifra("hash", "--progress", "json", "a", "b")
    assert (result.code, len(names_of(result))) == (0, 2)
    assert json.loads(result.error.splitlines()[-1]) == {"bytesDone": 1234, "bytesTotal": 1234}


def test_whether_the_output_is_a_screen_is_asked_once_a_run(cifra):
    names = [str(i) for i in range(20)]
    for name in names:
        cifra.write(name, name)
    # The system's question to the console, as Wine logs it.
    asked = [cifra("hash", *given, env={"WINEDEBUG": "-all,trace+file"}).error.count("NtDeviceIoControlFile")
             for given in (names[:1], names)]
    assert asked[0] == asked[1] > 0


def test_a_document_is_begun_before_files_are_looked_for(cifra):
    # Interrupted while it looks, the run leaves the document whole.
    run = subprocess.run([*cifra.runner, str(cifra.program), "hash", "--format", "csv", "none*"], cwd=cifra.folder,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    assert (run.returncode, run.stdout) == (3, b"file,algorithm,digest,expected,status,error\r\n"
                                               b"cifra: none*: no file matches\n")
