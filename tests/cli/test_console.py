"""What happens at a terminal: the prompt for the key, and text on the screen."""

import base64
import json
import os
import pty
import re
import select
import time

import pytest

KEY = "Schlüssel"
LONGEST_WAIT = 120  # seconds, for a loaded machine


class Terminal:
    """A run of the client that has a terminal for all its streams."""

    def __init__(self, cifra, *arguments, program=None):
        command = [*cifra.runner, program or str(cifra.program), *arguments]
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.chdir(cifra.folder)
            os.execvp(command[0], command)
        self.shown = b""

    def read(self):
        """Reads what comes; false at the end."""
        ready, _, _ = select.select([self.terminal], [], [], LONGEST_WAIT)
        assert ready, self.shown
        try:
            more = os.read(self.terminal, 4096)
        except OSError:  # the other side is closed
            return False
        self.shown += more
        return bool(more)

    def wait_for(self, question):
        while question.encode() not in self.shown:
            assert self.read(), self.shown
        time.sleep(0.3)  # until the program, which has just written, reads

    def press(self, keys):
        os.write(self.terminal, keys.encode())

    def answer(self, question, text):
        self.wait_for(question)
        self.press(text + "\r")

    def finish(self):
        """Waits for the end; gives the exit code and what was shown, without escape sequences."""
        while self.read():
            pass
        _, status = os.waitpid(self.child, 0)
        text = re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", self.shown.decode())
        return os.waitstatus_to_exitcode(status), text


def wait_until(holds, what):
    end = time.monotonic() + LONGEST_WAIT
    while not holds():
        assert time.monotonic() < end, what
        time.sleep(0.1)


class Interrupted:
    """A run on a console whose standard output is a file; Ctrl+C is pressed once something holds."""

    def __init__(self, client, *arguments, when, monkeypatch):
        output = client.folder / "output"
        output.unlink(missing_ok=True)  # an earlier run's
        quoted = " ".join(f'"{argument}"' for argument in (client.program, *arguments))
        monkeypatch.setenv("CIFRA_COMMAND", quoted)
        monkeypatch.setenv("CIFRA_OUTPUT", "output")
        terminal = Terminal(client, program=os.environ["CIFRA_ECHO"])
        wait_until(lambda: output.exists() and when(output), "the run does not come that far")
        terminal.press("\x03")
        code, shown = terminal.finish()
        assert code == 0
        self.code = int(re.search(r"code=(\d+)", shown)[1])
        self.shown = shown
        self.text = output.read_text(encoding="utf-8")


def test_the_key_is_asked_for_twice_to_encrypt_once_to_decrypt(cifra):
    ciphertext = cifra.succeed("encrypt", "--key-env", "K", "Grüße", env={"K": KEY}).text.strip()
    terminal = Terminal(cifra, "encrypt", "Grüße")
    terminal.answer("Key:", KEY)
    terminal.answer("The same key again:", KEY)
    code, shown = terminal.finish()
    assert code == 0 and ciphertext in shown
    assert KEY not in shown

    terminal = Terminal(cifra, "decrypt", ciphertext)
    terminal.answer("Key:", KEY)
    code, shown = terminal.finish()
    assert code == 0 and "Grüße" in shown
    assert KEY not in shown


def test_a_key_from_standard_input_is_asked_for_the_same_way(cifra):
    terminal = Terminal(cifra, "decrypt", "--key-file", "-", "dYBu2QSKu0s=")
    terminal.answer("Key:", "secret")
    code, shown = terminal.finish()
    assert code == 0 and "hello" in shown
    assert "secret" not in shown


@pytest.mark.once
def test_two_different_keys_are_refused(cifra):
    terminal = Terminal(cifra, "encrypt", "text")
    terminal.answer("Key:", KEY)
    terminal.answer("The same key again:", KEY + "x")
    code, shown = terminal.finish()
    assert code == 6 and "differ" in shown


@pytest.mark.once
def test_an_empty_and_a_long_answer_are_no_keys(cifra):
    for answer in ("", "x" * 57, "x" * 300):
        terminal = Terminal(cifra, "decrypt", "dYBu2QSKu0s=")
        terminal.answer("Key:", answer)
        code, shown = terminal.finish()
        assert code == 6 and "56" in shown


def test_after_an_interrupted_question_the_console_echoes_again(cifra, monkeypatch):
    monkeypatch.setenv("CIFRA_COMMAND", f'"{cifra.program}" decrypt dYBu2QSKu0s=')
    terminal = Terminal(cifra, program=os.environ["CIFRA_ECHO"])
    terminal.wait_for("Key:")
    terminal.press("\x03")
    code, shown = terminal.finish()
    assert code == 0 and "code=130,echo=on" in shown


def test_an_interrupted_run_leaves_the_old_output_and_no_other_file(keyed, monkeypatch):
    write_zeros(keyed, "big", 64 << 30)
    keyed.write("out", "old")
    result = Interrupted(keyed, "encrypt", "--key-file", "my.key", "--file", "big", "--output", "out",
                         when=lambda _: any(keyed.folder.glob("cifra-*.tmp")), monkeypatch=monkeypatch)
    assert (result.code, result.text, keyed.read("out")) == (130, "", b"old")
    wait_until(lambda: keyed.names() == ["big", "my.key", "out", "output"], "a temporary file stays")


def test_interrupted_digests_are_a_whole_document(cifra, monkeypatch):
    cifra.write("a", "a")
    write_zeros(cifra, "big", 64 << 30)
    for jobs in ("1", "2"):
        result = Interrupted(cifra, "hash", "--format", "json", "-j", jobs, "a", "big",
                             when=lambda output: b'"a"' in output.read_bytes(), monkeypatch=monkeypatch)
        assert result.code == 130 and "cifra: interrupted" in result.shown
        assert [record["file"] for record in json.loads(result.text)] == ["a"]
    result = Interrupted(cifra, "hash", "a", "big", when=lambda output: b"  a" in output.read_bytes(),
                         monkeypatch=monkeypatch)
    assert result.code == 130 and result.text.count("\n") == 1


def test_one_interruption_ends_digests_that_wait_for_standard_input(cifra, monkeypatch):
    monkeypatch.setenv("CIFRA_INPUT", "pipe")
    cifra.write("a", "a")
    for jobs in ("1", "2"):
        result = Interrupted(cifra, "hash", "--format", "json", "-j", jobs, "a", "-",
                             when=lambda output: b'"a"' in output.read_bytes(), monkeypatch=monkeypatch)
        assert result.code == 130 and "cifra: interrupted" in result.shown
        assert [record["file"] for record in json.loads(result.text)] == ["a"]
    for arguments, begin in ((["--check", "--format", "csv"], b"file,"), (["a", "-"], b"  a\n")):
        result = Interrupted(cifra, "hash", *arguments, when=lambda output: begin in output.read_bytes(),
                             monkeypatch=monkeypatch)
        assert (result.code, result.text.count("\n")) == (130, 1)


def test_a_character_cut_by_a_piece_of_the_input_is_shown_whole(cifra):
    encoded = base64.b64encode("aaü€".encode())
    for cut in (4, 8):  # inside of either character
        cifra.write("text", encoded[:cut].ljust(4 << 20) + encoded[cut:])
        code, shown = Terminal(cifra, "base64", "-d", "-i", "text").finish()
        assert code == 0 and "aaü€" in shown


def write_zeros(cifra, name, size):
    with open(cifra.folder / name, "wb") as file:
        file.truncate(size)


def test_long_work_shows_how_far_it_is_and_clears_the_line(cifra):
    write_zeros(cifra, "big", 70 << 20)
    code, shown = Terminal(cifra, "hash", "-a", "md5", "big").finish()
    assert code == 0
    assert re.search(r"\[#* *\] \d+% of 70 MiB", shown)
    assert "b89fdccdd61d57b371f9611eec7d3cef  big" in shown


def test_work_of_64_mebibytes_is_not_long(cifra):
    write_zeros(cifra, "big", 64 << 20)
    code, shown = Terminal(cifra, "hash", "-a", "md5", "big").finish()
    assert code == 0
    assert "7f614da9329cd3aebf59b91aadc30bf0  big" in shown and "%" not in shown


def test_long_work_without_a_terminal_says_nothing(cifra):
    write_zeros(cifra, "big", 70 << 20)
    cifra.succeed("hash", "-a", "md5", "big")
