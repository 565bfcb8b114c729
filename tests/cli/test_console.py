"""What happens at a terminal: the prompt for the key, and text on the screen."""

import os
import pty
import re
import select
import time

KEY = "Schlüssel"
LONGEST_WAIT = 120  # seconds, for a loaded machine


class Terminal:
    """A run of the client that has a terminal for all its streams."""

    def __init__(self, cifra, *arguments):
        command = [*cifra.runner, str(cifra.program), *arguments]
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

    def answer(self, question, text):
        """Waits for the question and types the answer."""
        while question.encode() not in self.shown:
            assert self.read(), self.shown
        time.sleep(0.3)  # until the program, which has just written, reads
        os.write(self.terminal, text.encode() + b"\r")

    def finish(self):
        """Waits for the end; gives the exit code and what was shown, without escape sequences."""
        while self.read():
            pass
        _, status = os.waitpid(self.child, 0)
        text = re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", self.shown.decode())
        return os.waitstatus_to_exitcode(status), text


def test_the_key_is_asked_for_twice_to_encrypt_and_once_to_decrypt(cifra):
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


def test_two_different_keys_are_refused(cifra):
    terminal = Terminal(cifra, "encrypt", "text")
    terminal.answer("Key:", KEY)
    terminal.answer("The same key again:", KEY + "x")
    code, shown = terminal.finish()
    assert code == 6 and "differ" in shown


def test_an_empty_and_a_long_answer_are_no_keys(cifra):
    for answer in ("", "x" * 57, "x" * 300):
        terminal = Terminal(cifra, "decrypt", "dYBu2QSKu0s=")
        terminal.answer("Key:", answer)
        code, shown = terminal.finish()
        assert code == 6 and "56" in shown


def test_long_work_shows_how_far_it_is_and_clears_the_line(cifra):
    with open(cifra.folder / "big", "wb") as big:
        big.truncate(70 << 20)
    code, shown = Terminal(cifra, "hash", "-a", "md5", "big").finish()
    assert code == 0
    assert re.search(r"\[#* *\] \d+% of 70 MiB", shown)
    assert "b89fdccdd61d57b371f9611eec7d3cef  big" in shown
