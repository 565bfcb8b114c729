#include "verify/VerifyCommand.h"

#include <algorithm>
#include <memory>

#include "program/CifraLibrary.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Problems.h"
#include "verify/VerifyReport.h"

namespace client {
namespace {

struct Options {
  std::vector<std::string> files;
  bool isRecursive = false;
  bool isOnline = false;
  std::string format = kTextFormat;
};

ExitCode Run(const Options& options) {
  if (options.files.empty()) {
    throw Failure(ExitCode::kUsage, "no FILE given", "See: cifra verify --help");
  }
  if (std::ranges::find(options.files, "-") != options.files.end()) {
    throw Failure(ExitCode::kUsage, "verify needs files and cannot read standard input",
                  "See: cifra verify --help");
  }
  const CifraLibrary library;
  Problems problems;
  const std::vector<ListedFile> files = FileList(options.files, options.isRecursive, problems);
  VerifyReport report(options.format);
  for (const ListedFile& file : files) {
    VerifyOutcome outcome{file.Shown(), {}, ""};
    try {
      outcome.signatures = ReadSignatures(library, file, options.isOnline);
      problems.Add(outcome.Verdict());
    } catch (const Failure& failure) {
      if (failure.Code() != ExitCode::kCannotRead) {
        throw;
      }
      problems.Report(failure);
      outcome.error = failure.what();
    }
    report.Add(outcome);
  }
  report.End();
  return problems.Result();
}

}  // namespace

void AddVerifyCommand(Program& program) {
  const auto options = std::make_shared<Options>();
  Command command = program.Add("verify", "Verify the signatures of files and show who signed");
  command.Arguments("FILE", options->files, "Files, or patterns with * and ?");
  command.Flag("-r,--recursive", options->isRecursive, "For a folder, take all the files below it");
  command.Flag("--online", options->isOnline,
               "When a signature fails with the revocation data that this computer has, verify "
               "once more and fetch such data from the network");
  AddFormatOption(command, options->format);
  command.Explain(
      R"(The verdict on each signature is the system's, for its users and settings. A
file is as good as the worst of its signatures. Each file is verified by an
object of the library made for it alone, because such an object counts a file as
signed once it has seen any trusted one: no file is judged by those before it.

Exit codes: 0 all trusted, 2 wrong usage, 3 a file cannot be opened, 10 damaged,
11 revoked, 12 untrusted root, 13 expired, 14 not trusted for another reason,
15 unsigned, 16 it is not known whether a certificate is revoked (the smallest
of several)

Examples:
  cifra verify setup.exe
  cifra verify --online -r "C:\Program Files\Tools"
  cifra verify --format json *.dll)");
  command.OnRun([options] { return Run(*options); });
}

}  // namespace client
