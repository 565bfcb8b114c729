"""What the scripts that run Windows programs say when they cannot."""

import pathlib
import subprocess

SCRIPTS = pathlib.Path(__file__).parents[2] / "scripts"
CANNOT_RUN = 121


def run(script, folder, *arguments):
    """Runs a script as on a machine where nothing was set up."""
    return subprocess.run(
        ["/bin/bash", SCRIPTS / script, *arguments],
        env={"HOME": str(folder), "XDG_CACHE_HOME": str(folder), "PATH": "/usr/bin:/bin"},
        capture_output=True,
        text=True,
        check=False,
    )


def test_without_wine_the_runner_says_so_in_one_line(tmp_path):
    result = run("run-arm64", tmp_path, "program.exe")
    assert (result.returncode, result.stdout) == (CANNOT_RUN, "")
    assert result.stderr == "run-arm64: no Wine for ARM64 here; scripts/setup wine-arm64 makes it\n"


def test_the_code_for_that_is_in_the_help(tmp_path):
    result = run("run-arm64", tmp_path, "--help")
    assert str(CANNOT_RUN) in result.stdout + result.stderr
