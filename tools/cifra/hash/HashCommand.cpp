#include "hash/HashCommand.h"

#include <exception>
#include <functional>
#include <memory>

#include "hash/ChecksumCheck.h"
#include "hash/DigestRun.h"
#include "hash/HashReport.h"
#include "program/CifraLibrary.h"
#include "program/JobsOption.h"
#include "program/Progress.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Interruption.h"
#include "system/Problems.h"

namespace client {
namespace {

struct HashOptions {
  std::vector<std::string> files;
  std::string algorithm;
  bool isRecursive = false;
  bool isText = false;
  JobsOption jobs;
  std::string progress = kAutoProgress;
  HashReport::Style style;
  std::string expected;
  bool isCheck = false;
  CheckOptions check;

  const Algorithm* GivenAlgorithm() const {
    return algorithm.empty() ? nullptr : algorithm == kMd5.name ? &kMd5 : &kSha256;
  }
};

void Refuse(const std::string& why) { throw Failure(ExitCode::kUsage, why); }

void RequireSense(const HashOptions& options) {
  const CheckOptions& check = options.check;
  const ChecksumStyle& line = options.style.line;
  const bool hasCheckOption = options.style.hidesOk || options.style.hidesText || check.isStrict ||
                              check.warnsOfLines || check.ignoresMissing;
  const bool isPlain =
      !options.isCheck && options.expected.empty() && options.style.format == kTextFormat;
  if (!options.isCheck && hasCheckOption) {
    Refuse("--quiet, --status, --strict, --warn and --ignore-missing go with --check");
  }
  if (options.isCheck && (options.isRecursive || !options.expected.empty())) {
    Refuse("--recursive and --expect do not go with --check");
  }
  if ((options.style.hidesOk || options.style.hidesText) && options.style.format != kTextFormat) {
    Refuse("--quiet and --status go with --format text");
  }
  if (!isPlain && (line.isTagged || line.endsWithZero || line.isBinary || options.isText)) {
    Refuse("--tag, --zero, --binary and --text do not go with --check, --expect and --format");
  }
  if (line.isTagged && options.isText) {
    Refuse("--tag does not go with --text");
  }
}

// What the files are to have, in lower case; also settles the algorithm that it belongs to.
std::string ExpectedDigest(const HashOptions& options, const Algorithm*& algorithm) {
  if (options.expected.empty()) {
    return {};
  }
  const std::optional<std::string> digest = HexDigits(options.expected);
  const Algorithm* const fitting = digest ? AlgorithmOfDigits(digest->size()) : nullptr;
  if (!fitting || (options.GivenAlgorithm() && options.GivenAlgorithm() != fitting)) {
    Refuse("--expect: " + options.expected + " is not a digest" +
           (algorithm ? std::string(" of ") + algorithm->tag : "") + " in hexadecimal digits");
  }
  algorithm = fitting;
  return *digest;
}

void Judge(const DigestTask& task, const DigestResult& result, HashReport& report,
           Problems& problems) {
  HashOutcome outcome{task.shown, task.algorithm, result.digest, task.expected, ""};
  if (result.failure) {
    problems.Report(*result.failure);
    outcome.error = result.failure->Message();
  } else if (!task.expected.empty() && result.digest != task.expected) {
    problems.Add(ExitCode::kMismatch);
  }
  report.Add(outcome);
}

// Leaves a whole document when the run ends early.
void RunAndEnd(HashReport& report, const std::function<void()>& run) {
  try {
    run();
  } catch (const Failure& failure) {
    if (failure.Code() != ExitCode::kCannotWrite) {
      report.End();
    }
    throw;
  } catch (const std::exception&) {
    report.End();
    throw;
  }
  report.End();
}

ExitCode RunOnFiles(const HashOptions& options) {
  const std::size_t jobs = options.jobs.Or(1);
  const Algorithm* algorithm = options.GivenAlgorithm();
  const std::string expected = ExpectedDigest(options, algorithm);
  if (!algorithm) {
    algorithm = &kSha256;
  }
  const CifraLibrary library;
  Problems problems;
  std::vector<std::string> names = options.files;
  if (names.empty()) {
    names.emplace_back(options.isRecursive ? "." : "-");
  }
  std::vector<ListedFile> files;
  HashReport report(options.style);
  RunAndEnd(report, [&] {
    files = FileList(names, options.isRecursive, problems);
    Progress progress(options.progress, [&files] { return TotalSize(files); });
    const auto next = [&, file = files.begin()]() mutable -> std::optional<DigestTask> {
      if (file == files.end()) {
        return std::nullopt;
      }
      const ListedFile& listed = *file++;
      return DigestTask{listed, algorithm, listed.Shown(), expected, false, std::nullopt};
    };
    DigestFiles(library, progress, jobs, next,
                [&](const DigestTask& task, const DigestResult& result) {
                  const Progress::Pause pause = progress.Hide();
                  Judge(task, result, report, problems);
                });
  });
  if (files.empty() && !expected.empty() && problems.Result() == ExitCode::kSuccess) {
    problems.Report({ExitCode::kCannotRead, "--expect: there is no file to compare"});
  }
  return problems.Result();
}

ExitCode RunOnLists(const HashOptions& options) {
  CheckOptions check = options.check;
  check.algorithm = options.GivenAlgorithm();
  check.isSilent = options.style.hidesText;
  check.jobs = options.jobs.Or(1);
  check.progress = options.progress;
  const CifraLibrary library;
  Problems problems;
  std::vector<std::string> names = options.files;
  if (names.empty()) {
    names.emplace_back("-");
  }
  HashReport report(options.style);
  ChecksumCheck checker(check, library, report, problems);
  RunAndEnd(report, [&] {
    for (const ListedFile& list : FileList(names, false, problems)) {
      try {
        checker.Run(list);
      } catch (const Failure& failure) {
        ThrowIfInterrupted();
        problems.Report(failure);
      }
    }
  });
  return problems.Result();
}

void AddCheckOptions(Command& command, HashOptions& options) {
  command.Flag("-c,--check", options.isCheck,
               "Read digests and names from each FILE and compare them with the files named");
  command.Flag("--quiet", options.style.hidesOk, "With --check: say nothing of files that are OK");
  command.Flag("--status", options.style.hidesText,
               "With --check: say nothing, the exit code tells");
  command.Flag("--strict", options.check.isStrict,
               "With --check: fail if a line is in a wrong form");
  command.Flag("-w,--warn", options.check.warnsOfLines,
               "With --check: say which lines are in a wrong form");
  command.Flag("--ignore-missing", options.check.ignoresMissing,
               "With --check: pass over files that do not exist");
}

}  // namespace

void AddHashCommand(Program& program) {
  const auto options = std::make_shared<HashOptions>();
  Command command = program.Add("hash", "Compute and check MD5 and SHA-256 digests");
  command.Arguments("FILE", options->files,
                    "Files, or patterns with * and ?; without any, and for -, standard input");
  command.Choice(
      "-a,--algorithm", options->algorithm, {kMd5.name, kSha256.name},
      "The algorithm; without it SHA-256 or, with --check and --expect, the one that the "
      "digest belongs to");
  command.Flag("-r,--recursive", options->isRecursive,
               "For a folder, take all the files below it; without any FILE, the current folder");
  AddJobsOption(command, options->jobs, "one");
  command.AtMostOne({command.Flag("-b,--binary", options->style.line.isBinary,
                                  "Mark files as read in binary mode (they always are)"),
                     command.Flag("-t,--text", options->isText,
                                  "Do not mark them (the default; the digest is the same)")});
  command.Flag("--tag", options->style.line.isTagged, "Write lines that name the algorithm");
  command.Flag("-z,--zero", options->style.line.endsWithZero,
               "End lines with a zero byte and do not escape names");
  command.Text("--expect", options->expected, "DIGEST", "Compare each file's digest with DIGEST");
  AddFormatOption(command, options->style.format);
  AddProgressOption(command, options->progress);
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
    const OrderlyEnd orderly(options->style.format != kTextFormat);
    return options->isCheck ? RunOnLists(*options) : RunOnFiles(*options);
  });
}

}  // namespace client
