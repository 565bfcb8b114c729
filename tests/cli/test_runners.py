"""What the scripts that run Windows programs say when they cannot."""

import os
import pathlib
import re
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


def run_here(*arguments):
    return subprocess.run([os.environ["CIFRA_RUNNER"], *arguments], capture_output=True, text=True, timeout=240,
                          check=False)


def test_a_program_that_is_not_there_is_the_runners_failure(tmp_path):
    result = run_here(tmp_path / "none.exe")
    assert (result.returncode, result.stdout) == (CANNOT_RUN, "")
    assert result.stderr.endswith("none.exe: no such program\n")


def test_a_missing_dll_is_explained(tmp_path):
    whole = pathlib.Path(os.environ["CIFRA_PROGRAM"]).read_bytes()
    content, count = re.subn(rb"KERNEL32\.dll\0", b"KERNELXX.dll\0", whole)
    assert count == 1
    program = tmp_path / "program.exe"
    program.write_bytes(content)
    result = run_here(program)
    assert (result.returncode, result.stdout) == (53, "")
    assert "0xC0000135, a DLL that is missing" in result.stderr


def test_fail_fast_is_explained_and_other_codes_pass_in_silence():
    results = [run_here("cmd.exe", "/c", "exit", code) for code in ("9", "121")]
    assert [result.returncode for result in results] == [9, 121]
    assert "0xC0000409" in results[0].stderr and results[1].stderr == ""
