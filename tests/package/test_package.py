"""The ZIP as its user takes it: unpacked outside the project, and programs built against that alone."""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PLATFORM = os.environ["CIFRA_PLATFORM"]
RUNNER = [part for part in os.environ["CIFRA_RUNNER"].split(";") if part]
COMPILER = os.environ["CIFRA_COMPILER"]
GREETING = "meet me at noon"
ENCRYPTED = "40Ud1Hmcvw/uV29sje2MKg=="
STRICT = {"CXXFLAGS": "-O1 -Wall -Wextra -Wpedantic -Werror", "CFLAGS": "-O1 -Wall -Wextra -Werror"}
TRIPLES = {"arm64": "aarch64-pc-windows-msvc", "x64": "x86_64-pc-windows-msvc"}

sys.path.insert(0, str(ROOT / "tests/fixtures"))
sys.path.insert(0, str(ROOT / "tests/abi"))


def blocks(document, language):
    """The code blocks of a document in one language."""
    found = re.findall(r"^```(\w*)\n(.*?)^```$", document.read_text(), re.M | re.S)
    return [block for kind, block in found if kind == language]


def shell_commands(document):
    """The commands of a document's shell blocks, each on one line, without comments; PACKAGE and CIFRA are for the caller to set."""
    text = "".join(blocks(document, "sh")).replace("\\\n", " ")
    lines = [re.sub(r"\s+#.*", "", each).strip() for each in text.splitlines()]
    return [line for line in lines if line and not re.match("PACKAGE=|CIFRA=", line)]


def make(folder):
    build = os.environ["CIFRA_BUILD"]
    subprocess.run(["cmake", "--build", build, "--target", "cifra_package"], check=True, capture_output=True)
    run = subprocess.run(
        [sys.executable, ROOT / "packaging/make_package.py", "--build", build, "--output", folder, "--name", PLATFORM,
         "--runner", ";".join(RUNNER)], capture_output=True, text=True)
    assert run.returncode == 0, run.stdout + run.stderr
    return pathlib.Path(run.stdout.strip())


@pytest.fixture(scope="session")
def archive(tmp_path_factory):
    return make(tmp_path_factory.mktemp("zip"))


@pytest.fixture(scope="session")
def package(archive, tmp_path_factory):
    folder = tmp_path_factory.mktemp("user")
    with zipfile.ZipFile(archive) as content:
        content.extractall(folder)
    return folder / archive.stem


@pytest.fixture(scope="session")
def programs(package, tmp_path_factory):
    """The package's own examples, built from the package's copy of them as docs/using.md says."""
    folder = tmp_path_factory.mktemp("examples")
    commands = shell_commands(ROOT / "docs/using.md")[:2]
    for command in commands:
        command = command.replace("=x64", f"={PLATFORM}").replace(" build", f" {folder}")
        if PLATFORM == "x64-gcc":
            command = command.replace("toolchain-clang", "toolchain-gcc").replace("-DCIFRA_ARCH=x64-gcc", "")
        variables = {**os.environ, **STRICT, "PACKAGE": str(package), "CIFRA": str(ROOT)}
        done = subprocess.run(command, shell=True, capture_output=True, text=True, env=variables)
        assert done.returncode == 0, command + "\n" + done.stdout + done.stderr
    return folder


def run(program, *arguments, folder=None):
    """Returns the exit code and the lines of the standard output and of the standard error."""
    done = subprocess.run([*RUNNER, program, *arguments], cwd=folder or program.parent, capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=240)
    return done.returncode, *(stream.decode(errors="replace").splitlines() for stream in (done.stdout, done.stderr))


@pytest.mark.skipif(PLATFORM != "x64", reason="the same script makes the others")
def test_two_runs_give_the_same_bytes(archive, tmp_path):
    assert archive.read_bytes() == make(tmp_path).read_bytes()


def test_the_sums_and_the_list_of_parts_name_every_file(package):
    files = {path.relative_to(package).as_posix(): hashlib.sha256(path.read_bytes()).hexdigest()
             for path in package.rglob("*") if path.is_file()}
    sums = dict(reversed(line.split("  ")) for line in (package / "SHA256SUMS").read_text().splitlines())
    assert sums == {name: digest for name, digest in files.items() if name != "SHA256SUMS"}
    document = json.loads((package / "sbom.spdx.json").read_text())
    listed = {each["fileName"][2:]: each["checksums"][1]["checksumValue"] for each in document["files"]}
    assert listed == {name: digest for name, digest in sums.items() if name != "sbom.spdx.json"}
    assert all(each["versionInfo"] and each["licenseDeclared"] for each in document["packages"])


def test_no_two_names_differ_in_letter_case_alone(package):
    names = [path.relative_to(package).as_posix().lower() for path in package.rglob("*")]
    assert len(set(names)) == len(names)
    wanted = ["bin/cifra.dll", "bin/cifra.exe", "lib/cifra.def", "lib/cifra.lib", "lib/libcifra.a",
              "share/cifra/log/log.dll", "license", "third-party-notices.md"]
    wanted += [] if PLATFORM == "x64-gcc" else ["bin/cifra.pdb", "bin/cifra-client.pdb"]
    assert [name for name in wanted if name not in names] == []


# docs/conventions.md quotes the library's own code, which the test of the documents looks for.
@pytest.mark.parametrize("document", ["README.md", *sorted(f"docs/{path.name}" for path in (ROOT / "docs").glob("*.md")
                                                           if path.name != "conventions.md")])
def test_the_documents_samples_compile_against_the_package(package, tmp_path, document):
    for sample in blocks(ROOT / document, "cpp"):
        (tmp_path / "sample.cpp").write_text(sample)
        done = subprocess.run([COMPILER, "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I",
                               package / "include/cifra", tmp_path / "sample.cpp"], capture_output=True, text=True)
        assert done.returncode == 0, sample + done.stderr


@pytest.mark.skipif(PLATFORM != "x64", reason="what it shows is the same on the others")
def test_a_program_of_ones_own_builds_as_the_page_says(package, tmp_path):
    shutil.copy(package / "share/cifra/examples/EncryptText.cpp", tmp_path / "program.cpp")
    [project] = blocks(ROOT / "docs/using.md", "cmake")
    (tmp_path / "CMakeLists.txt").write_text(f"cmake_minimum_required(VERSION 3.16)\nproject(P CXX)\n{project}")
    script = "\n".join(shell_commands(ROOT / "docs/using.md")[5:])
    script += (f"\ncmake -G Ninja -S . -B build -DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/toolchain-clang-mingw.cmake"
               f" -DCIFRA_ARCH=x64 -DCifra_ROOT={package} && cmake --build build\n")
    path = f"{os.environ['CIFRA_TOOLCHAIN']}/bin:{os.environ['PATH']}"
    done = subprocess.run(["bash", "-e", "-c", script], cwd=tmp_path, capture_output=True, text=True,
                          env={**os.environ, "PATH": path, "PACKAGE": str(package)})
    assert done.returncode == 0, done.stdout + done.stderr
    shutil.copy(package / "bin/Cifra.dll", tmp_path)
    shutil.copy(tmp_path / "build/program.exe", tmp_path)
    assert run(tmp_path / "a.exe") == run(tmp_path / "program.exe") == (0, [ENCRYPTED, GREETING], [])


@pytest.mark.skipif(PLATFORM != "x64", reason="the page's commands are for x64")
def test_the_commands_of_the_page_give_what_it_shows(programs):
    answers = []
    for command in shell_commands(ROOT / "docs/using.md")[2:5]:
        command = command.replace(" build/", f" {programs}/")
        answers.append(subprocess.run(command, shell=True, capture_output=True, text=True,
                                      env={**os.environ, "CIFRA": str(ROOT)}).stdout)
    assert answers[0] == blocks(ROOT / "docs/using.md", "")[0]
    assert answers[1] == hashlib.sha256((programs / "EncryptText.exe").read_bytes()).hexdigest() + "\n"
    assert re.search(r"`(0x\w+)`, not signed", (ROOT / "docs/using.md").read_text())[1] in answers[2]


@pytest.mark.skipif(PLATFORM != "x64", reason="the commands are the same for each processor")
def test_the_commands_for_windows_build_and_install_the_library(tmp_path):
    [commands] = blocks(ROOT / "docs/building.md", "bat")
    here = f"-S {ROOT} -DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/toolchain-clang-mingw.cmake -DCIFRA_ARCH=x64"
    # Built only to see that it can be.
    here += " -DCMAKE_CXX_FLAGS_RELWITHDEBINFO='-O0 -gcodeview' -DCMAKE_UNITY_BUILD=ON"
    done = subprocess.run(["bash", "-e", "-c", commands.replace("-S .", here)], cwd=tmp_path, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout + done.stderr
    assert (tmp_path / "package/bin/Cifra.dll").is_file() and (tmp_path / "package/lib/cmake/Cifra/CifraConfig.cmake").is_file()


@pytest.mark.parametrize("page", ["README.md", "docs/using.md", "docs/abi.md", "docs/cli.md", "docs/logging.md"])
def test_the_pages_for_users_have_no_link_out_of_the_package(package, page):
    text = (package / page).read_text()
    targets = [target.partition("#")[0] for target in re.findall(r"\]\(([^)\s]+)\)", text) if "://" not in target]
    assert [target for target in targets if target and not ((package / page).parent / target).exists()] == []


def test_a_linked_program_encrypts_a_text(programs):
    assert run(programs / "EncryptText.exe") == (0, [ENCRYPTED, GREETING], [])


def test_a_program_that_loads_the_library_digests_a_file(programs):
    file = programs / "EncryptText.exe"
    digest = hashlib.sha256(file.read_bytes()).hexdigest()
    assert run(programs / "DigestFile.exe", file.name) == (0, [digest], [])
    code, output, error = run(programs / "DigestFile.exe", "no such file")
    assert (code, output) == (1, []) and "cannot open the file" in error[0]


def test_a_program_without_the_library_says_so(programs, tmp_path):
    shutil.copy(programs / "DigestFile.exe", tmp_path)
    assert run(tmp_path / "DigestFile.exe", "x") == (1, [], ["cannot load Cifra.dll: error 126"])


def test_a_program_in_c_uses_the_functions_and_an_object(programs):
    digest = hashlib.md5(GREETING.encode()).hexdigest()
    assert run(programs / "UseFromC.exe", GREETING) == (0, [ENCRYPTED, GREETING, digest, digest, digest], [])


def test_the_log_shows_what_the_library_does(programs, package):
    log = "Z:" + str(package / "share/cifra/log/log.dll").replace("/", "\\")
    code, output, error = run(programs / "WatchLog.exe", log, "EncryptText.exe")
    digest = hashlib.md5((programs / "EncryptText.exe").read_bytes()).hexdigest().upper()
    assert (code, output) == (0, [f"result 0, MD5 {digest}"])
    # A line as docs/logging.md shows it, but for what differs from run to run.
    [line] = blocks(ROOT / "docs/logging.md", "")
    like = re.sub(r"\d+", r"\\d+", re.escape(line.strip()).replace(re.escape(r"C:\a.txt"), "EncryptText\\.exe"))
    assert re.fullmatch(like.replace("Md\\d+", "Md5"), error[0].strip())


def test_the_signer_of_a_file_is_shown_and_pinned(programs, tmp_path):
    import make_signed_files
    shop = make_signed_files.Workshop(tmp_path)
    shop.certificate("authority", ["CN = Test Authority"], "01", role="authority")
    shop.certificate("plain", ["CN = Plain Signer"], "1234", "authority")
    shop.sign("signed.exe", "plain")
    for name in "VerifyFile.exe", "PinSigner.exe", "Cifra.dll":
        shutil.copy(programs / name, tmp_path)
    # Under Wine nothing takes names apart.
    shutil.copy(os.environ["CIFRA_STANDIN_NAMES"], tmp_path)
    assert run(tmp_path / "VerifyFile.exe", "signed.exe") == (0, [
        "WinVerifyTrust: 0x00000000", "  has a certificate", "signer with the serial number 1234",
        "  subject CN=Plain Signer", "  issuer CN=Test Authority", "trusted"], [])
    assert run(tmp_path / "VerifyFile.exe", "unsigned.exe") == (1, ["WinVerifyTrust: 0x800B0100", "not trusted"], [])
    assert run(tmp_path / "PinSigner.exe", "signed.exe", "Test Authority", "1234") == (0, ["accepted"], [])
    refused = ["refused: 1 trusted signatures, none of this certificate"]
    assert run(tmp_path / "PinSigner.exe", "signed.exe", "Test Authority", "1235") == (1, refused, [])
    assert run(tmp_path / "PinSigner.exe", "signed.exe", "Other Authority", "1234") == (1, refused, [])


def test_pkg_config_gives_what_a_static_link_needs(programs, package):
    options = subprocess.run(["pkg-config", "--cflags", "--libs", "cifra"], check=True, capture_output=True, text=True,
                             env={**os.environ, "PKG_CONFIG_PATH": str(package / "lib/pkgconfig")}).stdout.split()
    target = programs / "ByPkgConfig.exe"
    done = subprocess.run([COMPILER, "-std=c++17", "-static", package / "share/cifra/examples/EncryptText.cpp", *options,
                           "-o", target], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    assert run(target) == (0, [ENCRYPTED, GREETING], [])


@pytest.mark.skipif(PLATFORM not in TRIPLES, reason="needs the toolchain's libraries of the Universal C Runtime")
def test_a_program_of_microsofts_compiler_links_and_runs(programs, package):
    import microsoft_mode
    arguments = type("Arguments", (), {"clang": "clang-19", "wine_headers": pathlib.Path("/usr/include/wine/wine")})
    options = microsoft_mode.compiler(arguments, "c++17")[:-4]  # without the project's own folders
    libraries = pathlib.Path(os.environ["CIFRA_TOOLCHAIN"]) / TRIPLES[PLATFORM].replace("pc-windows-msvc", "w64-mingw32") / "lib"
    source, thing = ROOT / "tests/package/MicrosoftCaller.cpp", programs / "MicrosoftCaller.obj"
    target = programs / "MicrosoftCaller.exe"
    for command in (
            [*options, f"--target={TRIPLES[PLATFORM]}", "-O1", "-fno-exceptions", "-fno-rtti", "-fno-threadsafe-statics",
             "-mno-stack-arg-probe", "-I", package / "include/cifra", "-c", source, "-o", thing],
            ["lld-link-19", "/nologo", "/subsystem:console", "/entry:start", "/nodefaultlib", thing,
             package / "lib/Cifra.lib", libraries / "libkernel32.a", libraries / "libucrt.a", f"/out:{target}"]):
        done = subprocess.run(command, capture_output=True, text=True)
        assert done.returncode == 0, done.stdout + done.stderr
    assert run(target) == (0, [], [])


def refusal(package, tmp_path, **variables):
    """What CMake answers to a project for another target that asks for the package."""
    script = tmp_path / "find.cmake"
    script.write_text("find_package(Cifra 1.0 REQUIRED)\n")
    done = subprocess.run(["cmake", *[f"-D{name}={value}" for name, value in variables.items()],
                           f"-DCMAKE_PREFIX_PATH={package}", "-P", script], capture_output=True, text=True)
    assert done.returncode != 0
    return " ".join(done.stderr.split())


def test_a_project_for_another_target_is_refused_with_the_reason(package, tmp_path):
    assert "is for Windows, and the project is built for Linux" in refusal(
        package, tmp_path, CMAKE_SYSTEM_NAME="Linux", CMAKE_SYSTEM_PROCESSOR="x86_64")
    other = "AMD64" if PLATFORM == "arm64" else "ARM64"
    expected = f"and the project is built for {other}"
    assert expected in refusal(package, tmp_path, WIN32=1, CMAKE_SYSTEM_PROCESSOR=other)
    # Microsoft's generators build for a processor that is not the system's.
    assert expected in refusal(package, tmp_path, WIN32=1, CMAKE_SYSTEM_PROCESSOR="AMD64",
                               CMAKE_CXX_COMPILER_ARCHITECTURE_ID=other.replace("AMD64", "x64"))


def test_old_cmake_finds_the_headers_and_nobody_inherits_link_options(package):
    targets = (package / "lib/cmake/Cifra/CifraTargets.cmake").read_text()
    assert targets.count('INTERFACE_INCLUDE_DIRECTORIES "${_IMPORT_PREFIX}/include/cifra"') == 2
    assert "INTERFACE_LINK_OPTIONS" not in targets
