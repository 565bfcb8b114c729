"""Where the key comes from, and what is one."""

import pytest

TEXT = "a text"


def encrypted_with(cifra, key):
    return cifra.succeed("encrypt", "--key-env", "K", TEXT, env={"K": key}).text


def test_a_key_file_and_a_variable_give_the_same_key(cifra):
    cifra.write("Schlüssel.key", "Schlüssel 😀")
    from_file = cifra.succeed("encrypt", "--key-file", "Schlüssel.key", TEXT).text
    assert from_file == encrypted_with(cifra, "Schlüssel 😀")


def test_one_line_end_behind_the_key_is_not_part_of_it(cifra):
    expected = encrypted_with(cifra, "secret")
    for content in ("secret\n", "secret\r\n"):
        cifra.write("key", content)
        assert cifra.succeed("encrypt", "--key-file", "key", TEXT).text == expected
    for content in ("secret\n\n", "secret ", "secret\r"):
        cifra.write("key", content)
        assert cifra.succeed("encrypt", "--key-file", "key", TEXT).text != expected


def test_the_key_may_come_from_standard_input(cifra):
    result = cifra.succeed("encrypt", "--key-file", "-", TEXT, stdin=b"secret\n")
    assert result.text == encrypted_with(cifra, "secret")


@pytest.mark.once
def test_key_and_input_cannot_both_be_standard_input(cifra):
    for source in ([], ["-"], ["--input", "-"], ["--file", "-"]):
        result = cifra("encrypt", "--key-file", "-", *source, stdin=b"secret")
        assert result.code == 2
        assert "standard input" in result.error


def test_a_key_of_any_bytes_works(cifra):
    cifra.write("key", bytes([0, 255, 0, 128, 10]))
    result = cifra.succeed("encrypt", "--key-file", "key", TEXT)
    decrypted = cifra.succeed("decrypt", "--key-file", "key", stdin=result.bytes)
    assert decrypted.text == TEXT
    cifra.write("key", bytes([0, 255, 0, 128]))  # the 10 was a line end
    assert cifra.succeed("encrypt", "--key-file", "key", TEXT).text == result.text


@pytest.mark.parametrize("content", [b"x" * 56, b"x" * 56 + b"\r\n"])
def test_a_key_has_up_to_56_bytes(cifra, content):
    cifra.write("key", content)
    cifra.succeed("encrypt", "--key-file", "key", TEXT)


@pytest.mark.once
@pytest.mark.parametrize("content", [b"", b"\n", b"\r\n", b"x" * 57, b"x" * 58 + b"\n", b"x" * 9999])
def test_what_is_no_key_is_refused(cifra, content):
    cifra.write("key", content)
    result = cifra("encrypt", "--key-file", "key", TEXT)
    assert (result.code, result.bytes) == (6, b"")
    assert "56" in result.error


@pytest.mark.once
def test_a_variable_that_holds_no_key_is_refused(cifra):
    for value in ("x" * 57, "ä" * 29, "x" * 5000):
        result = cifra("encrypt", "--key-env", "K", TEXT, env={"K": value})
        assert result.code == 6
        assert "K" in result.error and "56" in result.error
    assert cifra("encrypt", "--key-env", "NOT_SET_AT_ALL", TEXT).code == 6


def test_a_key_file_that_cannot_be_read_is_told(cifra):
    result = cifra("encrypt", "--key-file", "missing.key", TEXT)
    assert result.code == 3
    assert "missing.key" in result.error


def test_without_a_key_and_a_console_to_ask_at_it_says_so(cifra):
    for command in ("encrypt", "decrypt"):
        result = cifra(command, TEXT)
        assert result.code == 6
        assert "--key-file" in result.error and "--key-env" in result.error


def test_there_is_no_way_to_give_the_key_as_an_argument(cifra):
    assert cifra("encrypt", "--key", "secret", TEXT).code == 2
