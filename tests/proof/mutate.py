#!/usr/bin/env python3
"""Changes the library's sources one place at a time and sees whether their tests notice.

mutate.py portable|windows SOURCE-FOLDER WORK-FOLDER --seed N --count N --seconds N

portable: what the native build compiles, run natively. windows: the rest of src, compiled into
Cifra.dll and run by the conformance tests under Wine.

A mutant that does not compile, or from which the compiler makes the very same programs, does not
count; one that makes a test hang is noticed. One that is not noticed is printed as a survivor with
its file, line and change. The sources themselves are never touched: a copy in WORK-FOLDER is.
"""

import argparse
import contextlib
import filecmp
import hashlib
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import sys
import time

# The sources, and the tests that must notice their mutants, the quickest first.
PORTABLE = {
    "Base64CodecTest": [
        "cipher/Base64Alphabet.h", "cipher/Base64Avx2.cpp", "cipher/Base64Avx512Vbmi.cpp",
        "cipher/Base64Codec.cpp", "cipher/Base64Codec.h", "cipher/Base64Ssse3.cpp",
        "cipher/Base64X64.h"],
    "BlowfishEngineTest": [
        "cipher/BlowfishAvx2.cpp", "cipher/BlowfishAvx512.cpp", "cipher/BlowfishBlock.h",
        "cipher/BlowfishBlocks.cpp", "cipher/BlowfishEngine.cpp", "cipher/BlowfishGather.h",
        "cipher/BlowfishGroups.h", "cipher/BlowfishPortable.cpp", "foundation/ByteOrder.h",
        "foundation/Wipe.h"],
    "KernelRulesTest": [
        "cipher/Base64Codec.cpp", "cipher/BlowfishBlocks.cpp", "hash/Md5Blocks.cpp",
        "processor/CpuFeatures.cpp", "processor/Cpuid.h", "processor/KernelChoice.h",
        "processor/KernelRules.h"],
    "Md5EngineTest": [
        "hash/Md5Avx512.cpp", "hash/Md5Blocks.cpp", "hash/Md5Engine.cpp", "hash/Md5Scalar.cpp",
        "hash/Md5Steps.h"],
    "StringTest": ["foundation/string/MemMgr.h", "foundation/string/StringT.h", "foundation/Fatal.h"],
    "CollectionsTest": [
        "foundation/collections/List.h", "foundation/collections/Map.h",
        "foundation/collections/MapKey.h", "foundation/collections/NodeList.h"],
}
LOG = "LogClientTest LogAbsentTest LogLibraryTest FailureTest"
HASH = "HashObjectTest HashFileTest HashFileLogTest FailureTest"
REGISTRY = "ObjectRegistryTest FactoryTest LibraryLifetimeTest FailureTest"
SIGNATURE = ("SignatureObjectTest SignatureWalkTest SignatureTraceTest SignatureExceptionTest"
             " SignatureLeakTest FailureTest")
WINDOWS = {
    "cipher/Base64ObjectImplementation.cpp": "Base64ObjectTest PlaintextWipeTest FailureTest",
    "cipher/BlowfishAndBase64ObjectImplementation.cpp":
        "BlowfishAndBase64ObjectTest CipherFunctionsTest PlaintextWipeTest FailureTest",
    "cipher/BlowfishObjectImplementation.cpp": "BlowfishObjectTest PlaintextWipeTest FailureTest",
    "cipher/CipherFunctions.cpp": "CipherFunctionsTest PlaintextWipeTest FailureTest",
    "foundation/BoundedCopy.h": "CipherFunctionsTest BlowfishAndBase64ObjectTest FailureTest",
    "foundation/FileHandle.h": "HashFileTest SignatureObjectTest FailureTest",
    "foundation/ModuleHandle.h": "ModuleLoaderTest ObjectTest LogLibraryTest FailureTest",
    "foundation/SharedInstance.h": "SharedInstanceTest ObjectRegistryTest LogClientTest FailureTest",
    "foundation/Wiped.h": "PlaintextWipeTest",
    "foundation/logging/CLogDLL.cpp": LOG,
    "foundation/logging/CLogDLL.h": LOG,
    "foundation/logging/CTraceScope.cpp": "LogClientTest SignatureTraceTest FailureTest",
    "foundation/string/HexText.h": "HashObjectTest SignatureFormatTest FailureTest",
    "foundation/string/Utf8.cpp": "Utf8Test CipherFunctionsTest FailureTest",
    "framework/DllMain.cpp": "LibraryLifetimeTest",
    "framework/ExportedObject.h": "ExportedObjectTest ObjectTest ModuleLoaderTest FailureTest",
    "framework/ExportedObjectDeclaration.h": REGISTRY,
    "framework/Factory.cpp": REGISTRY,
    "framework/ModuleLoader.cpp": "ModuleLoaderTest FailureTest",
    "framework/ObjectRegistry.cpp": REGISTRY,
    "framework/ObjectRegistry.h": REGISTRY,
    "framework/QueryInterfaceOf.h": "FactoryTest",
    "hash/CngHandles.h": "Sha256CngTest FailureTest",
    "hash/HashObject.h": HASH + " PlaintextWipeTest",
    "hash/Md5Functions.cpp": "Md5FunctionsTest PlaintextWipeTest FailureTest",
    "hash/Md5ObjectImplementation.cpp": "Md5ObjectTest LogLibraryTest PlaintextWipeTest " + HASH,
    "hash/Sha256ObjectImplementation.cpp":
        "Sha256ObjectTest Sha256CngTest LogLibraryTest " + HASH,
    "signature/CertificateText.cpp": "SignatureFormatTest SignatureNameTest " + SIGNATURE,
    "signature/DigitalSignatureObjectImplementation.cpp": SIGNATURE,
    "signature/DigitalSignaturePlugin.h": SIGNATURE,
    "signature/DistinguishedNameBuilder.cpp": "SignatureNameTest SignatureTraceTest FailureTest",
    "signature/SignatureTime.cpp": "SignatureTimeTest SignatureTraceTest",
    "signature/TrustRequest.cpp": SIGNATURE,
    "signature/TrustRequest.h": SIGNATURE,
}
PARTS = {
    "portable": ("host", {name: [test for test, names in PORTABLE.items() if name in names]
                          for name in dict.fromkeys(sum(PORTABLE.values(), []))}),
    "windows": ("x64", {name: list(dict.fromkeys(tests.split())) for name, tests in WINDOWS.items()}),
}

OPERATORS = [
    # relations
    (r"(?<=[ ])==(?=[ ])", ["!="]),
    (r"(?<=[ ])!=(?=[ ])", ["=="]),
    (r"(?<=[ ])<(?=[ ])", ["<=", ">"]),
    (r"(?<=[ ])>(?=[ ])", [">=", "<"]),
    (r"(?<=[ ])<=(?=[ ])", ["<"]),
    (r"(?<=[ ])>=(?=[ ])", [">"]),
    # arithmetic
    (r"(?<=[ ])\+(?=[ ])", ["-"]),
    (r"(?<=[ ])-(?=[ ])", ["+"]),
    (r"(?<=[ ])\*(?=[ ])", ["/"]),
    (r"(?<=[ ])<<(?=[ ])", [">>"]),
    (r"(?<=[ ])>>(?=[ ])", ["<<"]),
    (r"\+\+", ["--"]),
    (r"--(?=\w)", ["++"]),
    (r"\+=", ["-="]),
    (r"-=", ["+="]),
    # constants
    (r"\btrue\b", ["false"]),
    (r"\bfalse\b", ["true"]),
    (r"(?<![\w.'\"])\d+(?![\w.'\"])", ["+1"]),
    (r"(?<![\w.'\"])0x[0-9A-Fa-f]+(?![\w.'\"])", ["+1"]),
    # conditions
    (r"(?<=[ ])&&(?=[ ])", ["||"]),
    (r"(?<=[ ])\|\|(?=[ ])", ["&&"]),
    (r"\bif \((?!constexpr)", ["if (!("]),
    (r"(?<=[ (])!(?=[\w*(])", [""]),
    # calls, and guards that do their work at the end of their scope
    (r"^\s+[\w:.>\-]+\([^;{}=]*\);$", ["dropped"]),
    (r"^\s+const [\w:<>]+ (guard|trace|lock)\b[^;=]*;$", ["dropped"]),
    # results
    (r"\breturn (?!;)[^;{}]+;", ["return {};"]),
]
SKIPPED = re.compile(
    r"^\s*(//|#|static_assert|template|using|namespace|\*|0x|_Static)|\bconstexpr (char|wchar_t) k|asm")


def mutants_of(text):
    for number, line in enumerate(text.split("\n")):
        if SKIPPED.search(line):
            continue
        code = line.split("//")[0].rstrip()
        for pattern, replacements in OPERATORS:
            for match in re.finditer(pattern, code):
                for replacement in replacements:
                    changed = mutated(code, match, replacement)
                    if changed is not None and changed != code:
                        yield number, changed


def mutated(code, match, replacement):
    begin, end = match.span()
    if replacement == "+1":
        replacement = str(int(match[0], 0) + 1) if match[0] in ("0", "1") or match[0][0] != "0" else \
            hex(int(match[0], 16) + 1)
    elif replacement == "dropped":
        return code[: len(code) - len(code.lstrip())] + ";"
    elif replacement == "if (!(":
        depth = 1
        for place in range(end, len(code)):
            depth += {"(": 1, ")": -1}.get(code[place], 0)
            if depth == 0:
                return code[:begin] + replacement + code[end:place] + ")" + code[place:]
        return None
    return code[:begin] + replacement + code[end:]


class Bench:
    """A copy of the project, configured once, in which one file differs at a time."""

    def __init__(self, source, work, preset):
        self.folder = work / "source"
        files = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                               cwd=source, capture_output=True, check=True).stdout.decode()
        for name in filter(None, files.split("\0")):
            copy = self.folder / name
            # What is built from an earlier run stays.
            if (source / name).is_file() and not (
                copy.is_file() and filecmp.cmp(source / name, copy, shallow=False)
            ):
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source / name, copy)
        self.build = self.folder / "build" / preset
        self.wine = preset == "x64"
        # A test program ends at its first failure.
        self.environment = {**os.environ, "GTEST_FAIL_FAST": "1"}
        if self.wine:
            # Programs that hang are ended with their server, which must be nobody else's.
            self.environment["CIFRA_WINE_STATE"] = str(work / "wine")
        self.usual = {}
        # The file that the mutant before was in is compiled anew for the next one: a cache has it.
        launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
        self.run(["cmake", "--preset", preset, "-DCMAKE_BUILD_TYPE=Debug",
                  "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCIFRA_WARNINGS_AS_ERRORS=OFF",
                  "-DCIFRA_BUILD_TOOLS=OFF", *launcher], 600, check=True)

    def run(self, command, seconds, check=False):
        # A process group of its own, of which nothing is left running: a test that is ended for its
        # time may have children. Not under Wine, whose server is shared and ended by itself.
        with subprocess.Popen(command, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              process_group=None if self.wine else 0) as process:
            try:
                output = process.communicate(timeout=seconds)[0]
            except subprocess.TimeoutExpired:
                process.kill()
                if check:
                    sys.exit(f"{' '.join(command)} takes more than {seconds} s")
                return False
            finally:
                if not self.wine:
                    with contextlib.suppress(ProcessLookupError):
                        os.killpg(process.pid, signal.SIGKILL)
        if check and process.returncode:
            sys.exit(f"{' '.join(command)} failed:\n{output.decode(errors='replace')[-5000:]}")
        return process.returncode == 0

    def compiles(self, tests, check=False):
        return self.run(["cmake", "--build", str(self.build), "--parallel", "1", "--target", *tests],
                        3600 if check else 600, check)

    def passes(self, test, check=False):
        # A mutant that takes ten times as long hangs.
        limit = 1200 if check else max(20, round(10 * self.usual[test]))
        fixtures = [] if check else ["--fixture-exclude-any", "."]
        begin = time.monotonic()
        passed = self.run(["ctest", "--test-dir", str(self.build), "--timeout", str(limit), *fixtures,
                           "--no-tests=error", "--output-on-failure", "--tests-regex", f"^{test}$"],
                          limit + 60, check)
        took = time.monotonic() - begin
        if check:
            self.usual[test] = took
        elif self.wine and took > limit:
            self.run([str(self.folder / "scripts" / "run-x64"), "--stop"], 60)
        return passed

    def programs(self, test):
        """What the test runs, without what names the sources."""
        digest = hashlib.sha256()
        files = [file for file in sorted(self.build.glob(f"bin/**/{test}*"))
                 if file.suffix in ("", ".exe") and file.is_file()]
        # The library beside it: that of another folder may be an earlier mutant's.
        files += [file.with_name("Cifra.dll") for file in files if file.with_name("Cifra.dll").is_file()]
        for file in files:
            bare = self.build / "bare"
            self.run(["llvm-strip-19", "--strip-all", "-o", str(bare), str(file)], 60, check=True)
            digest.update(bare.read_bytes())
        return digest.hexdigest()


def candidates(bench, tests_of):
    found = []
    for name, tests in tests_of.items():
        path = bench.folder / "src" / name
        found += [(tests, path, *mutant) for mutant in mutants_of(path.read_text())]
    return found


def try_mutant(bench, tests, path, number, changed, unchanged):
    """None where it is none, else whether the tests noticed."""
    original = path.read_text()
    lines = original.split("\n")
    was, lines[number] = lines[number], changed
    place = f"{path.relative_to(bench.folder)}:{number + 1}"
    try:
        path.write_text("\n".join(lines))
        is_another = False
        for test in tests:
            if not bench.compiles([test]):
                return None
            if bench.programs(test) == unchanged[test]:
                continue
            is_another = True
            if not bench.passes(test):
                print(f"killed by {test}: {place}\n  + {changed.strip()}", flush=True)
                return True
        if not is_another:
            return None
        print(f"survivor: {place} ({' '.join(tests)})\n"
              f"  - {was.strip()}\n  + {changed.strip()}", flush=True)
        return False
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("part", choices=PARTS)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("work", type=pathlib.Path)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seconds", type=float, default=600, help="of trying, once all is built")
    parser.add_argument("--files", nargs="*", help="only the sources whose names contain one of these")
    parser.add_argument("--least", type=float, default=0,
                        help="percentage that must be noticed, where more than one is not")
    arguments = parser.parse_args()

    # Whoever ends this program gets the unchanged sources back all the same.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended"))
    preset, tests_of = PARTS[arguments.part]
    if arguments.files:
        tests_of = {name: tests for name, tests in tests_of.items()
                    if any(part in name for part in arguments.files)}
    bench = Bench(arguments.source.resolve(), arguments.work.resolve(), preset)
    used = list(dict.fromkeys(test for tests in tests_of.values() for test in tests))
    bench.compiles(used, check=True)
    for test in used:
        bench.passes(test, check=True)
    unchanged = {test: bench.programs(test) for test in used}
    mutants = candidates(bench, tests_of)
    total = len(mutants)
    random.Random(arguments.seed).shuffle(mutants)
    killed = survived = none = 0
    end = time.monotonic() + arguments.seconds
    for mutant in mutants:
        if killed + survived >= arguments.count or time.monotonic() > end:
            break
        noticed = try_mutant(bench, *mutant, unchanged)
        none += noticed is None
        killed += noticed is True
        survived += noticed is False
    tried = killed + survived
    share = 100 * killed / max(tried, 1)
    print(f"mutants: {total} possible, {tried} tried, {none} did not compile or changed nothing,"
          f" {killed} killed ({share:.1f} %), {survived} survived")
    # Of a few that are tried, one may well have no effect.
    sys.exit(tried == 0 or (survived > 1 and share < arguments.least))


if __name__ == "__main__":
    main()
