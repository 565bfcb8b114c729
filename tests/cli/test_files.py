"""encrypt and decrypt on the bytes of files, and what is written where."""

import base64
import re
import subprocess
import time

import pytest

PIECE = 4 * 1024 * 1024  # the client reads files in pieces of this many bytes


def encrypt(keyed, *arguments, **options):
    return keyed("encrypt", "--key-file", "my.key", *arguments, **options)


def decrypt(keyed, *arguments, **options):
    return keyed("decrypt", "--key-file", "my.key", *arguments, **options)


ONCE = [pytest.param(length, marks=pytest.mark.once) for length in (1, 7, 8, 1000, PIECE - 1, PIECE)]


@pytest.mark.parametrize("length", [0, 9, PIECE + 1, *ONCE])
def test_bytes_come_back_with_the_length_that_encrypt_names(keyed, length):
    content = bytes(i * 11 % 256 for i in range(length % 4096)) + bytes(length - length % 4096)
    keyed.write("plain", content)
    result = encrypt(keyed, "--file", "plain", "-o", "secret")
    assert result.code == 0
    padded = (length + 7) // 8 * 8
    assert len(keyed.read("secret")) == padded
    named = re.search(r"--length (\d+)", result.error)
    assert (named and int(named[1])) == (length if padded > length else None)
    assert decrypt(keyed, "--file", "secret", "-o", "filled").error == ""
    assert keyed.read("filled") == content + bytes(padded - length)
    assert decrypt(keyed, "--file", "secret", "--length", length, "-o", "exact").error == ""
    assert keyed.read("exact") == content


def test_quiet_says_nothing_of_padding(keyed):
    assert encrypt(keyed, "--quiet", "--file", "-", stdin=b"a").error == ""


def test_standard_streams_carry_bytes_as_they_are(keyed):
    content = bytes(range(256)) + b"\r\n\x1a\n"
    encrypted = encrypt(keyed, "--file", "-", "-q", stdin=content)
    decrypted = decrypt(keyed, "--file", "-", "--length", len(content), stdin=encrypted.bytes)
    assert decrypted.bytes == content


def test_equal_blocks_give_equal_ciphertext(keyed):
    encrypted = encrypt(keyed, "--file", "-", stdin=b"8 bytes." * 2).bytes
    assert encrypted[:8] == encrypted[8:]


@pytest.mark.once
@pytest.mark.parametrize("length", [0, 7, 17, 2**64 - 1])
def test_a_length_that_does_not_fit_is_bad_data(keyed, length):
    encrypted = encrypt(keyed, "--file", "-", "-q", stdin=b"123456789").bytes
    keyed.write("secret", encrypted)
    result = decrypt(keyed, "--file", "secret", "--length", length, "-o", "plain")
    assert result.code == 5
    assert "length" in result.error
    assert keyed.names() == ["my.key", "secret"]


def test_an_empty_file_has_no_length_but_0(keyed):
    for length in (1, 2**64 - 1):
        assert decrypt(keyed, "--file", "-", "--length", length).code == 5
    assert decrypt(keyed, "--file", "-", "--length", 0).code == 0


def test_a_wrong_key_is_noticed_where_the_length_is_given(keyed):
    encrypted = encrypt(keyed, "--file", "-", "-q", stdin=b"123456789").bytes
    keyed.write("my.key", "another")
    assert decrypt(keyed, "--file", "-", "--length", 9, stdin=encrypted).code == 5


def test_bytes_that_are_no_blocks_are_bad_data(keyed):
    result = decrypt(keyed, "--file", "-", stdin=b"123456789")
    assert result.code == 5
    assert "multiple of 8" in result.error


def test_an_output_file_is_replaced(keyed):
    keyed.write("out", "old and longer than the new content")
    assert encrypt(keyed, "hello", "-o", "out").bytes == b""
    assert keyed.read("out").endswith(b"=\n")
    assert keyed.names() == ["my.key", "out"]


@pytest.mark.once
def test_an_output_may_have_the_longest_name(keyed):
    for length in (243, 244, 255):
        keyed.succeed("base64", "text", "-o", "n" * length)
        assert keyed.read("n" * length) == b"dGV4dA==\n"
    keyed.succeed("base64", "text", "-o", "Z:here")
    assert keyed.read("here") == b"dGV4dA==\n"


def test_a_file_may_be_written_over_itself(keyed):
    keyed.write("file", b"8 bytes.")
    assert encrypt(keyed, "--file", "file", "-o", "file").code == 0
    assert keyed.read("file") != b"8 bytes."
    assert decrypt(keyed, "--file", "file", "-o", "file").code == 0
    assert keyed.read("file") == b"8 bytes."


def test_after_a_failure_the_output_is_as_it_was(keyed):
    keyed.write("out", "old")
    keyed.write("bad", b"A" * (PIECE // 3 * 4 + 3) + b"!")
    assert keyed("base64", "-d", "-i", "bad", "-o", "out").code == 5
    assert keyed.read("out") == b"old"
    assert keyed.names() == ["bad", "my.key", "out"]


def test_what_cannot_be_written_is_told(keyed):
    keyed.write("folder/file", "")
    for target in ("nowhere/out", "folder", "bad<name"):
        result = encrypt(keyed, "hello", "-o", target)
        assert result.code == 4
        assert target in result.error


def test_output_may_be_a_device(keyed):
    result = encrypt(keyed, "hello", "-o", "NUL")
    assert (result.code, result.bytes) == (0, b"")
    assert keyed.names() == ["my.key"]


def test_what_cannot_be_read_is_told(keyed):
    for option in ("--input", "--file"):
        for source in ("missing", "no/folder", "."):
            result = encrypt(keyed, option, source, "-o", "out")
            assert result.code == 3
            assert source in result.error
    assert keyed.names() == ["my.key"]


def test_names_beyond_ascii_and_long_paths_work(keyed):
    deep = "/".join(["Ordner-äöü-日本-" + "x" * 40] * 8)
    keyed.write(deep + "/Quelle 😀.txt", "text")
    assert len(str(keyed.folder / deep)) > 260
    source, target = deep + "/Quelle 😀.txt", deep + "/Ziel 😀.enc"
    assert encrypt(keyed, "-i", source, "-o", target).error == ""
    assert decrypt(keyed, "-i", target.replace("/", "\\")).text == "text"


def kill_when_written(client, size, delay, *arguments):
    """Ends a run by force as soon as a temporary file of the full size is seen, or a little later."""
    process = subprocess.Popen([*client.runner, str(client.program), *arguments], cwd=client.folder)
    while process.poll() is None:
        try:
            if any(path.stat().st_size == size for path in client.folder.glob("cifra-*.tmp")):
                time.sleep(delay)
                process.kill()
                break
        except FileNotFoundError:  # it has got its name
            break
    process.wait()


@pytest.mark.once
def test_no_instant_of_being_killed_leaves_a_temporary_file(keyed):
    content = bytes(3 * 1024)
    encoded = base64.b64encode(content) + b"\n"
    keyed.write("plain", content)
    for attempt in range(24):
        keyed.write("out", "old")
        kill_when_written(keyed, len(encoded), attempt * 0.00005, "base64", "-i", "plain", "-o", "out")
        deadline = time.monotonic() + 10  # Wine's server notices the end a little later
        while keyed.names() != ["my.key", "out", "plain"] and time.monotonic() < deadline:
            time.sleep(0.01)
        assert keyed.names() == ["my.key", "out", "plain"]
        assert keyed.read("out") in (b"old", encoded)


def test_more_text_than_can_be_worked_on_is_bad_data(keyed):
    with open(keyed.folder / "big", "wb") as file:
        file.truncate(3 << 30)
    for result in (encrypt(keyed, "-i", "big", "-o", "out"), decrypt(keyed, "-i", "big", "-o", "out")):
        assert result.code == 5
        assert "big: has more than the 2147483647 bytes" in result.error
    assert keyed.names() == ["big", "my.key"]
