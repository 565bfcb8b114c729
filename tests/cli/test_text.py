"""encrypt, decrypt and base64 on text."""

import base64

import pytest

KEY = {"CIFRA_TEST_KEY": "secret"}
KEY_OPTION = ("--key-env", "CIFRA_TEST_KEY")
TEXTS = ["a", "12345678", "two\nlines\r\n", "Grüße – 日本語 😀", "-", " blanks "]


def encrypt(cifra, *arguments, **options):
    return cifra("encrypt", *KEY_OPTION, *arguments, env=KEY, **options)


def decrypt(cifra, *arguments, **options):
    return cifra("decrypt", *KEY_OPTION, *arguments, env=KEY, **options)


def test_known_ciphertext_comes_out(cifra):
    # Blowfish of "hello" and three zero bytes, with the bytes of each half in reversed order.
    assert encrypt(cifra, "hello").text == "dYBu2QSKu0s=\n"


def test_every_text_comes_back(cifra):
    for text in TEXTS:
        encrypted = encrypt(cifra, stdin=text.encode())
        assert encrypted.code == 0
        assert decrypt(cifra, stdin=encrypted.bytes).text == text


def test_the_text_may_be_an_argument_a_file_or_standard_input(cifra):
    text = "Grüße – 日本語 😀"
    cifra.write("Größe.txt", text)
    results = [
        encrypt(cifra, text),
        encrypt(cifra, "--input", "Größe.txt"),
        encrypt(cifra, "-", stdin=text.encode()),
        encrypt(cifra, stdin=text.encode()),
        encrypt(cifra, "--input", "-", stdin=text.encode()),
    ]
    assert {result.text for result in results} == {results[0].text}
    assert len(results[0].text) > 20
    assert decrypt(cifra, results[0].text.strip()).text == text


@pytest.mark.once
def test_words_that_look_like_something_else_are_text(cifra):
    for words in (["version"], ["--", "--help"], ["--", "-x"], ["/x"], ["{}"], ["%PATH%"], ["*"], [""]):
        encrypted = encrypt(cifra, *words)
        assert encrypted.code == 0
        assert decrypt(cifra, stdin=encrypted.bytes).text == words[-1]


def test_an_empty_text_gives_an_empty_text(cifra):
    assert encrypt(cifra, stdin=b"").bytes == b""
    assert decrypt(cifra, stdin=b" \r\n").bytes == b""


def test_a_text_longer_than_the_one_shot_functions_take_works(cifra):
    for length in (761, 100_000, 3_000_001):
        text = ("Länge " * (length // 6 + 1))[:length]
        encrypted = encrypt(cifra, stdin=text.encode())
        assert decrypt(cifra, stdin=encrypted.bytes).text == text


def test_white_space_in_ciphertext_is_ignored(cifra):
    text = "0123456789" * 10
    encrypted = encrypt(cifra, text).text
    wrapped = "\r\n".join(encrypted[i : i + 20] for i in range(0, len(encrypted), 20))
    assert decrypt(cifra, stdin=b"\t" + wrapped.encode() + b"\n\n").text == text


def test_text_that_is_none_is_bad_data(cifra):
    for content, word in ((b"\xff\xfea\0", "UTF-8"), (b"a\0b", "zero byte"), (b"\xe4", "UTF-8")):
        result = encrypt(cifra, stdin=content)
        assert (result.code, result.bytes) == (5, b"")
        assert word in result.error and "--file" in result.error


@pytest.mark.once
@pytest.mark.parametrize(
    "content, word",
    [
        ("dYBu2QSKu0s", "multiple of 4"),
        ("dYBu2QSKu0!=", "'!'"),
        ("dYBu2QSKu0ß=", "0xc3"),
        ("dYBu2Q==", "blocks of 8 bytes"),
        ("dYBu2QSKu0s=dYBu2QSKu0s=", "'='"),
    ],
)
def test_nonsense_to_decrypt_is_bad_data_with_a_reason(cifra, content, word):
    result = decrypt(cifra, content)
    assert (result.code, result.bytes) == (5, b"")
    assert word in result.error


def test_a_wrong_key_is_noticed(cifra):
    encrypted = encrypt(cifra, "a text of more than a few blocks, to be sure").text.strip()
    result = cifra("decrypt", *KEY_OPTION, encrypted, env={"CIFRA_TEST_KEY": "another"})
    assert (result.code, result.bytes) == (5, b"")
    assert "key" in result.error


def test_base64_is_that_of_everybody_else(cifra):
    for content in (b"", b"f", b"fo", b"foo", bytes(range(256)) * 40, b"\r\n\x1a\0"):
        encoded = cifra.succeed("base64", stdin=content).bytes
        assert encoded == base64.b64encode(content) + (b"\n" if content else b"")
        assert cifra.succeed("base64", "-d", stdin=encoded).bytes == content


def test_base64_of_more_than_one_piece_comes_back(cifra):
    content = bytes(i * 7 % 251 for i in range(3 * 1024 * 1024 + 1)) * 2
    cifra.write("big", content)
    cifra.succeed("base64", "--input", "big", "--output", "big.txt")
    assert cifra.read("big.txt") == base64.b64encode(content) + b"\n"
    cifra.write("wrapped.txt", base64.encodebytes(content).replace(b"\n", b"\r\n"))
    cifra.succeed("base64", "--decode", "-i", "wrapped.txt", "-o", "again")
    assert cifra.read("again") == content


def test_padding_in_the_middle_is_no_base64(cifra):
    first = base64.b64encode(bytes(3 * 1024 * 1024 - 1))
    for content in (b"Zg==Zg==", first + base64.b64encode(b"more")):
        result = cifra("base64", "-d", stdin=content)
        assert result.code == 5
        assert "'='" in result.error
