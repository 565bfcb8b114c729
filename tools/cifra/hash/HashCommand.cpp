#include "hash/HashCommand.h"

#include <memory>

#include "hash/ChecksumCheck.h"
#include "hash/HashReport.h"
#include "hash/Hasher.h"
#include "program/CifraLibrary.h"
#include "program/Progress.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Input.h"
#include "system/Paths.h"
#include "system/Problems.h"

namespace client {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string algorithm;
  bool isRecursive = false;
  HashReport::Style style;
  std::string expected;
  bool isCheck = false;
  CheckOptions check;

  const Algorithm* GivenAlgorithm() const {
    return algorithm.empty() ? nullptr : algorithm == kMd5.name ? &kMd5 : &kSha256;
  }
};

void RequireSense(const Options& options) {
  const CheckOptions& check = options.check;
  const bool hasCheckOption = options.style.hidesOk || options.style.hidesText || check.isStrict ||
                              check.warnsOfLines || check.ignoresMissing;
  const bool hasLineOption = options.style.line.isTagged || options.style.line.endsWithZero;
  if (!options.isCheck && hasCheckOption) {
    throw Failure(ExitCode::kUsage,
                  "--quiet, --status, --strict, --warn and --ignore-missing go with --check");
  }
  if (options.isCheck && (options.isRecursive || !options.expected.empty())) {
    throw Failure(ExitCode::kUsage, "--recursive and --expect do not go with --check");
  }
  if (hasLineOption &&
      (options.isCheck || !options.expected.empty() || options.style.format != kTextFormat)) {
    throw Failure(ExitCode::kUsage,
                  "--tag and --zero do not go with --check, --expect and --format");
  }
}

// What the files are to have, in lower case; also settles the algorithm that it belongs to.
std::string ExpectedDigest(const Options& options, const Algorithm*& algorithm) {
  if (options.expected.empty()) {
    return {};
  }
  const std::optional<std::string> digest = HexDigits(options.expected);
  const Algorithm* const fitting = digest ? AlgorithmOfDigits(digest->size()) : nullptr;
  if (!fitting || (options.GivenAlgorithm() && options.GivenAlgorithm() != fitting)) {
    throw Failure(ExitCode::kUsage, "--expect: " + options.expected + " is not a digest" +
                                        (algorithm ? std::string(" of ") + algorithm->tag : "") +
                                        " in hexadecimal digits");
  }
  algorithm = fitting;
  return *digest;
}

ExitCode RunOnFiles(const Options& options) {
  const Algorithm* algorithm = options.GivenAlgorithm();
  const std::string expected = ExpectedDigest(options, algorithm);
  if (!algorithm) {
    algorithm = &kSha256;
  }
  const CifraLibrary library;
  Hasher hasher(library);
  Problems problems;
  std::vector<std::string> names = options.files;
  if (names.empty()) {
    names.emplace_back(options.isRecursive ? "." : "-");
  }
  const std::vector<std::wstring> files = FileList(names, options.isRecursive, problems);
  Progress progress([&files] { return TotalSize(files); });
  HashReport report(options.style);
  for (const std::wstring& file : files) {
    HashOutcome outcome{ShownName(file), algorithm, "", expected, ""};
    try {
      Input input(file);
      outcome.digest = hasher.Digest(*algorithm, input, progress);
      progress.Hide();
    } catch (const Failure& failure) {
      progress.Hide();
      problems.Report(failure);
      outcome.error = failure.what();
    }
    if (!outcome.digest.empty() && !expected.empty() && outcome.digest != expected) {
      problems.Add(ExitCode::kMismatch);
    }
    report.Add(outcome);
  }
  report.End();
  return problems.Result();
}

ExitCode RunOnLists(const Options& options) {
  const CifraLibrary library;
  Hasher hasher(library);
  Problems problems;
  CheckOptions check = options.check;
  check.algorithm = options.GivenAlgorithm();
  check.isSilent = options.style.hidesText;
  std::vector<std::string> names = options.files;
  if (names.empty()) {
    names.emplace_back("-");
  }
  HashReport report(options.style);
  ChecksumCheck checker(check, hasher, report, problems);
  for (const std::wstring& list : FileList(names, false, problems)) {
    try {
      checker.Run(list);
    } catch (const Failure& failure) {
      problems.Report(failure);
    }
  }
  report.End();
  return problems.Result();
}

void AddCheckOptions(Command& command, Options& options) {
  command.Flag("-c,--check", options.isCheck,
               "Read digests and names from each FILE and compare them with the files named");
  command.Flag("--quiet", options.style.hidesOk, "With --check: say nothing of files that are OK");
  command.Flag("--status", options.style.hidesText,
               "With --check: say nothing, the exit code tells");
  command.Flag("--strict", options.check.isStrict,
               "With --check: lines in a wrong form are a failure");
  command.Flag("-w,--warn", options.check.warnsOfLines,
               "With --check: say which lines are in a wrong form");
  command.Flag("--ignore-missing", options.check.ignoresMissing,
               "With --check: pass over files that do not exist");
}

}  // namespace

void AddHashCommand(Program& program) {
  const auto options = std::make_shared<Options>();
  Command command = program.Add("hash", "Compute and check MD5 and SHA-256 digests");
  command.Arguments("FILE", options->files,
                    "Files, or patterns with * and ?; without any, and for -, standard input");
  command.Choice(
      "-a,--algorithm", options->algorithm, {kMd5.name, kSha256.name},
      "The algorithm; without it SHA-256 or, with --check and --expect, the one that the "
      "digest belongs to");
  command.Flag("-r,--recursive", options->isRecursive,
               "For a folder, take all the files below it; without any FILE, the current folder");
  command.Flag("--tag", options->style.line.isTagged, "Write lines that name the algorithm");
  command.Flag("-z,--zero", options->style.line.endsWithZero,
               "End lines with a zero byte and do not escape names");
  command.Text("--expect", options->expected, "DIGEST", "Compare each file's digest with DIGEST");
  AddFormatOption(command, options->style.format);
  AddCheckOptions(command, *options);
  command.Explain(R"(The output is that of md5sum and sha256sum, and so are the lists that --check
reads. Names are written with / between folders and files, so that a list can be
checked on any system. A file that cannot be read does not stop the run.

Exit codes: 0 all well, 1 a digest is not the expected one, 2 wrong usage, 3 a
file cannot be read, 5 a list is in a wrong form (the smallest of several)

Examples:
  cifra hash setup.exe *.dll
  cifra hash -a md5 -r folder > list.md5
  cifra hash --check list.md5
  cifra hash --expect 900150983cd24fb0d6963f7d28e17f72 setup.exe)");
  command.OnRun([options] {
    RequireSense(*options);
    return options->isCheck ? RunOnLists(*options) : RunOnFiles(*options);
  });
}

}  // namespace client
