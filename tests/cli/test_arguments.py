"""Arguments and options reach a command exactly as they were typed, or are refused."""

import hashlib

import pytest


def digest_of(text):
    return hashlib.sha256(text.encode()).hexdigest()


def names_of(result):
    return [line.split("  ", 1)[1] for line in result.text.splitlines()]


def test_each_file_is_the_name_that_was_typed(cifra):
    names = ["[a]", "[a,b]", "{}", "a", "b", "%%", "++", "-x", "x=y", "'q'"]
    for name in names:
        cifra.write(name, name)
    expected = "".join(f"{digest_of(name)}  {name}\n" for name in names)
    assert cifra.succeed("hash", "--", *names).text == expected
    alone = cifra.succeed("hash", "[a]").text
    assert alone == f"{digest_of('[a]')}  [a]\n"


@pytest.mark.once
def test_a_value_is_what_was_typed(cifra):
    for value in ("[x]", "{}", "=x", "-", "--quiet"):
        for option in (["--output", value], [f"--output={value}"]):
            if option == ["--output", "-"]:
                continue
            result = cifra("base64", "text", *option)
            assert (option, result.code, result.error) == (option, 0, "")
            if value != "-":
                assert cifra.read(value) == b"dGV4dA==\n"
                (cifra.folder / value).unlink()


def test_short_options_may_be_written_together(cifra):
    cifra.write("folder/a", "content")
    digest = hashlib.md5(b"content").hexdigest()
    assert cifra.succeed("hash", "-ramd5", "folder").text == f"{digest}  folder/a\n"
    assert cifra.succeed("hash", "-bramd5", "folder").text == f"{digest} *folder/a\n"


REFUSED = [
    (["base64", "--output=", "important.doc"], "--output: is empty"),
    (["base64", "text", "--output", ""], "--output: is empty"),
    (["base64", "text", "-o", ""], "--output: is empty"),
    (["base64", "-o=x", "text"], '-o=x: leave out the "="'),
    (["hash", "-r2", "x"], "there is no option -r2"),
    (["hash", "--check", "--strict=3", "x"], "--strict takes no value"),
    (["hash", "--recursive=false", "x"], "--recursive takes no value"),
    (["hash", "--recursive=", "x"], "--recursive takes no value"),
    (["decrypt", "--file", "x", "--length", "0x10"], "0x10 is not a number"),
    (["decrypt", "--file", "x", "--length", "+8"], "+8 is not a number"),
    (["decrypt", "--file", "x", "--length", " 8"], " 8 is not a number"),
    (["hash", "--jobs", "0", "x"], "--jobs: 0 is not between 1 and 256"),
    (["hash", "-j257", "x"], "--jobs: 257 is not between 1 and 256"),
    (["hash", "--tag", "--text", "x"], "--text"),
    (["hash", "--binary", "--text", "x"], "--text"),
    (["hash", "--check", "--binary", "x"], "--binary"),
    (["hash", "--check", "--status", "--format", "json", "x"], "--format text"),
    (["--help=x"], "--help takes no value"),
    (["--"], "there is no option --"),
]


@pytest.mark.once
@pytest.mark.parametrize("arguments, words", REFUSED, ids=lambda value: " ".join(value) if isinstance(value, list) else "")
def test_what_makes_no_sense_is_refused(cifra, arguments, words):
    cifra.write("important.doc", "important")
    result = cifra(*arguments)
    assert (result.code, result.bytes) == (2, b"")
    assert words in result.error
    assert cifra.names() == ["important.doc"]
    assert cifra.read("important.doc") == b"important"


def test_a_length_is_decimal(keyed):
    keyed.write("plain", b"x" * 16)
    keyed.succeed("encrypt", "--key-file", "my.key", "--file", "plain", "-o", "secret")
    keyed.succeed("decrypt", "--key-file", "my.key", "--file", "secret", "--length", "016", "-o", "again")
    assert keyed.read("again") == b"x" * 16
