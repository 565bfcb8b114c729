#!/usr/bin/env python3
"""Makes the ZIP of one build: what is installed, the documents, a list of the parts (SPDX 2.3) and
SHA256SUMS, which the build's own client writes. The same build gives the same bytes."""

import argparse
import datetime
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENTS = ["README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md", "LICENSE",
             "THIRD-PARTY-NOTICES.md"]
SBOM = "sbom.spdx.json"
SUMS = "SHA256SUMS"


def cache_of(build):
    """The variables of a configured build tree."""
    lines = (build / "CMakeCache.txt").read_text().splitlines()
    return dict(match.groups() for line in lines if (match := re.match(r"([^#/:]+):[A-Z]+=(.*)", line)))


def source_date():
    """When the sources were last changed, in seconds since 1970."""
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    run = subprocess.run(["git", "-C", ROOT, "log", "-1", "--format=%ct"], capture_output=True, text=True)
    if run.returncode != 0:
        sys.exit("not a Git working tree: set SOURCE_DATE_EPOCH to the date of these sources")
    return int(run.stdout)


def macros_of(build):
    """What the build's own compiler says of the libraries that it links in."""
    commands = json.loads((build / "compile_commands.json").read_text())
    entry = next(each for each in commands if each["file"].endswith((".cpp", ".cxx")))
    compiler = next(word for word in entry["command"].split() if re.search(r"(clang|g)\+\+(-posix)?$", word))
    source = "#include <cstddef>\n#include <_mingw.h>\n#include <CLI/Version.hpp>\n#include <nlohmann/json.hpp>\n"
    output = subprocess.run([compiler, "-std=c++20", "-E", "-dM", "-x", "c++", "-I", build / "tools/cifra/borrowed", "-"],
                            input=source, check=True, capture_output=True, text=True).stdout
    return dict(line.split(" ", 2)[1:] for line in output.splitlines() if line.count(" ") >= 2)


def components(build):
    """The parts that are linked in: name, version, licence, and where they come from."""
    macros = macros_of(build)
    json_version = ".".join(macros[f"NLOHMANN_JSON_VERSION_{part}"] for part in ("MAJOR", "MINOR", "PATCH"))
    parts = [
        ("CLI11", macros["CLI11_VERSION"].strip('"'), "BSD-3-Clause", "https://github.com/CLIUtils/CLI11"),
        ("nlohmann-json", json_version, "MIT", "https://github.com/nlohmann/json"),
        ("mingw-w64 runtime", ".".join(macros[f"__MINGW64_VERSION_{part}"] for part in ("MAJOR", "MINOR", "BUGFIX")),
         "ZPL-2.1 AND LicenseRef-mingw-w64", "https://www.mingw-w64.org"),
    ]
    if "_LIBCPP_VERSION" in macros:
        number = int(macros["_LIBCPP_VERSION"])
        version = f"{number // 10000}.{number // 100 % 100}.{number % 100}"
        parts += [(name, version, "Apache-2.0 WITH LLVM-exception", "https://llvm.org")
                  for name in ("libc++", "libc++abi", "libunwind", "compiler-rt builtins")]
    else:
        version = ".".join(macros[name] for name in ("__GNUC__", "__GNUC_MINOR__", "__GNUC_PATCHLEVEL__"))
        parts += [(name, version, "GPL-3.0-or-later WITH GCC-exception-3.1", "https://gcc.gnu.org")
                  for name in ("libstdc++", "libgcc")]
        parts.append(("winpthreads", parts[2][1], "MIT AND BSD-3-Clause", "https://www.mingw-w64.org"))
    return parts


def files_of(stage):
    return sorted((path for path in stage.rglob("*") if path.is_file()), key=lambda path: path.relative_to(stage).as_posix())


def spdx_id(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", text)


def sbom(stage, name, version, build, date):
    described = {
        "SPDXID": "SPDXRef-Cifra", "name": "Cifra", "versionInfo": version, "downloadLocation": "NOASSERTION",
        "licenseConcluded": "Apache-2.0", "licenseDeclared": "Apache-2.0", "copyrightText": "NOASSERTION",
        "filesAnalyzed": True,
    }
    files, relations = [], [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                             "relatedSpdxElement": "SPDXRef-Cifra"}]
    for number, path in enumerate(files_of(stage)):
        content = path.read_bytes()
        files.append({
            "SPDXID": f"SPDXRef-File-{number}", "fileName": "./" + path.relative_to(stage).as_posix(),
            "checksums": [{"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
                          {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()}],
            "licenseConcluded": "NOASSERTION", "licenseInfoInFiles": ["NOASSERTION"], "copyrightText": "NOASSERTION",
        })
        relations.append({"spdxElementId": "SPDXRef-Cifra", "relationshipType": "CONTAINS",
                          "relatedSpdxElement": f"SPDXRef-File-{number}"})
    all_sha1 = "".join(sorted(each["checksums"][0]["checksumValue"] for each in files))
    described["packageVerificationCode"] = {"packageVerificationCodeValue": hashlib.sha1(all_sha1.encode()).hexdigest()}
    packages = [described]
    for part, part_version, licence, home in components(build):
        packages.append({
            "SPDXID": spdx_id(part), "name": part, "versionInfo": part_version, "downloadLocation": home,
            "licenseConcluded": licence, "licenseDeclared": licence, "copyrightText": "NOASSERTION",
            "filesAnalyzed": False,
        })
        relations.append({"spdxElementId": "SPDXRef-Cifra", "relationshipType": "STATIC_LINK",
                          "relatedSpdxElement": spdx_id(part)})
    created = datetime.datetime.fromtimestamp(date, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    content = hashlib.sha256(all_sha1.encode()).hexdigest()
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": name,
        "documentNamespace": f"urn:cifra:{name}:{content}",
        "creationInfo": {"created": created, "creators": ["Tool: packaging/make_package.py"]},
        "hasExtractedLicensingInfos": [{
            "licenseId": "LicenseRef-mingw-w64", "name": "Licences of single files of the mingw-w64 runtime",
            "extractedText": "See THIRD-PARTY-NOTICES.md.",
        }],
        "packages": packages, "files": files, "relationships": relations,
    }
    (stage / SBOM).write_text(json.dumps(document, indent=1) + "\n")


def sums(stage, runner):
    """Has the packaged client write SHA256SUMS, and checks it against Python's own digests."""
    names = [path.relative_to(stage).as_posix() for path in files_of(stage)]
    run = subprocess.run([*runner, stage / "bin/cifra.exe", "hash", "-a", "sha256", *names], cwd=stage,
                         capture_output=True, stdin=subprocess.DEVNULL)
    if run.returncode != 0:
        sys.exit(f"cifra hash ended with {run.returncode}: {run.stderr.decode(errors='replace')}")
    text = run.stdout.decode().replace("\r\n", "\n")
    listed = dict(reversed(re.split(r" [ *]", line, 1)) for line in text.splitlines())
    expected = {name: hashlib.sha256((stage / name).read_bytes()).hexdigest() for name in names}
    if listed != expected:
        sys.exit("cifra hash does not give the digests of the files")
    (stage / SUMS).write_bytes(text.encode())


def write_zip(stage, target, date):
    moment = datetime.datetime.fromtimestamp(date, datetime.timezone.utc).timetuple()[:6]
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for path in files_of(stage):
            entry = zipfile.ZipInfo(f"{stage.name}/{path.relative_to(stage).as_posix()}", moment)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, path.read_bytes())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True, help="a build tree whose target cifra_package is built")
    parser.add_argument("--output", type=pathlib.Path, required=True, help="the folder for the ZIP")
    parser.add_argument("--name", required=True, help="the platform's name in the ZIP's name, such as arm64")
    parser.add_argument("--runner", default="", help="what runs the build's programs, separated by semicolons")
    arguments = parser.parse_args()
    version = cache_of(arguments.build)["CMAKE_PROJECT_VERSION"]
    date = source_date()
    stage = arguments.output.resolve() / f"cifra-{version}-windows-{arguments.name}"
    shutil.rmtree(stage, ignore_errors=True)
    subprocess.run(["cmake", "--install", arguments.build, "--prefix", stage], check=True, stdout=subprocess.DEVNULL)
    for name in DOCUMENTS:
        shutil.copy(ROOT / name, stage)
    shutil.copytree(ROOT / "docs", stage / "docs")
    readme = (stage / "README.md").read_text().replace("](examples)", "](share/cifra/examples)")
    (stage / "README.md").write_text(readme)
    sbom(stage, stage.name, version, arguments.build, date)
    sums(stage, [part for part in arguments.runner.split(";") if part])
    target = stage.with_name(stage.name + ".zip")
    write_zip(stage, target, date)
    shutil.rmtree(stage)
    print(target)


if __name__ == "__main__":
    main()
