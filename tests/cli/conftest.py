"""The client as its users call it: the shipped program, through the emulator where it needs one.

CIFRA_PROGRAM is the client's path; CIFRA_RUNNER, a list separated by semicolons, comes before it.
"""

import filecmp
import os
import pathlib
import re
import shlex
import shutil
import subprocess

import pytest

ENCODING = "utf-8"


# How Wine begins its own lines; a run with one of them says nothing about the client.
WINE = re.compile(r"^(wine|wineserver|[0-9a-f]{4}:(err|fixme|warn)\b|qemu)", re.MULTILINE)
# As the runner exits where programs cannot run at all, see scripts/lib/wine.sh.
CANNOT_RUN = 121


class Result:
    """What a run left behind, as bytes and as text."""

    def __init__(self, process):
        self.command = process.args
        self.code = process.returncode
        self.bytes = process.stdout
        self.error = process.stderr.decode(ENCODING)

    def describe(self):
        return "\n".join(
            [
                "$ " + shlex.join(self.command),
                f"exit code: {self.code}",
                f"standard output: {self.bytes[:2000]!r}",
                f"standard error: {self.error[:4000]}",
            ]
        )

    def is_wines(self):
        return self.code == CANNOT_RUN or bool(WINE.search(self.error))

    @property
    def text(self):
        return self.bytes.decode(ENCODING)


RUNNER = [part for part in os.environ.get("CIFRA_RUNNER", "").split(";") if part]


def place_in_system(*standins):
    """Puts stand-ins where the client takes the system's libraries from, and from nowhere else.

    There Wine prefers its own: a run takes the stand-in of a library that it names in
    WINEDLLOVERRIDES, and other runs are not disturbed. (Wine has no working Ntdsapi.dll of its own
    that a run could miss.)
    """
    told = subprocess.run([*RUNNER, "--prefix"], capture_output=True, text=True, check=True)
    system = pathlib.Path(told.stdout.strip()) / "drive_c/windows/system32"
    for standin in map(pathlib.Path, standins):
        place = system / standin.name.lower()
        if not filecmp.cmp(standin, place, shallow=False):
            arriving = place.with_suffix(f".{os.getpid()}")
            shutil.copy(standin, arriving)
            os.replace(arriving, place)  # at once: it may be in use


class Client:
    """Runs the client in one folder."""

    def __init__(self, folder, program):
        self.folder = folder
        self.program = program
        self.runs = []
        self.runner = RUNNER

    def __call__(self, *arguments, stdin=b"", env=None, ends_processes=False):
        process = subprocess.run(
            [*self.runner, str(self.program), *map(str, arguments)],
            input=stdin,
            capture_output=True,
            cwd=self.folder,
            env={**os.environ, **(env or {})},
            timeout=240,
            check=False,
        )
        if ends_processes:  # the emulator takes that for a crash
            process.stderr = re.sub(rb"^qemu: uncaught target signal .*\n", b"", process.stderr, flags=re.MULTILINE)
        result = Result(process)
        self.runs.append(result)
        assert not result.is_wines(), "Wine itself failed\n" + result.describe()
        return result

    def succeed(self, *arguments, **options):
        """Runs, and fails the test unless the program succeeds in silence on standard error."""
        result = self(*arguments, **options)
        assert (result.code, result.error) == (0, "")
        return result

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode(ENCODING))
        return path

    def read(self, name):
        return (self.folder / name).read_bytes()

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())


def pytest_configure(config):
    config.addinivalue_line("markers", "once: for one build only, see CMakeLists.txt")


def pytest_collection_modifyitems(config, items):
    if os.environ.get("CIFRA_WITHOUT_ONCE") and not os.environ.get("CIFRA_ALL_TESTS"):
        once = [item for item in items if item.get_closest_marker("once")]
        config.hook.pytest_deselected(items=once)
        items[:] = [item for item in items if item not in once]


@pytest.fixture
def program():
    return pathlib.Path(os.environ["CIFRA_PROGRAM"])


@pytest.fixture
def cifra(tmp_path, program):
    return Client(tmp_path, program)


@pytest.fixture
def keyed(cifra):
    """A client with a key file beside it, outside of what the tests list."""
    cifra.write("my.key", "secret")
    return cifra


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    """A test that fails shows every run of the client that it made."""
    report = (yield).get_result()
    client = item.funcargs.get("cifra") if hasattr(item, "funcargs") else None
    if report.failed and client:
        runs = "\n\n".join(result.describe() for result in client.runs)
        report.sections.append((f"{len(client.runs)} runs of the client", runs))
