#include "verify/VerifyCommand.h"

#include <algorithm>
#include <memory>
#include <set>
#include <sstream>

#include "program/CifraLibrary.h"
#include "program/JobsOption.h"
#include "program/Progress.h"
#include "program/Report.h"
#include "system/Failure.h"
#include "system/FileList.h"
#include "system/Interruption.h"
#include "system/OrderedWork.h"
#include "system/Problems.h"
#include "verify/Policy.h"
#include "verify/TimeText.h"
#include "verify/VerifyReport.h"
#include "verify/Worker.h"
#include "verify/WorkerProcess.h"

namespace client {
namespace {

struct VerifyOptions {
  std::vector<std::string> files;
  bool isRecursive = false;
  bool takesAll = false;
  std::string only;
  std::vector<std::string> signers;
  Policy policy;
  WorkerOptions worker;
  bool usesNoCatalog = false;
  bool isWorker = false;
  JobsOption jobs;
  std::size_t workers = 1;  // as jobs says
  std::string progress = kAutoProgress;
  std::string format = kTextFormat;
};

[[noreturn]] void FailUsage(const std::string& what) { throw Failure(ExitCode::kUsage, what); }

std::set<Verdict> WantedVerdicts(const std::string& list) {
  std::set<Verdict> wanted;
  std::istringstream names(list);
  for (std::string name; std::getline(names, name, ',');) {
    const std::optional<Verdict> verdict = VerdictNamed(name);
    if (!verdict) {
      FailUsage("--only: there is no verdict " + name);
    }
    wanted.insert(*verdict);
  }
  return wanted;
}

void Check(VerifyOptions& options) {
  if (options.files.empty()) {
    FailUsage("no FILE given");
  }
  if (std::ranges::find(options.files, "-") != options.files.end()) {
    FailUsage("verify needs files and cannot read standard input");
  }
  constexpr std::uint64_t kMostSeconds = 1'000'000;
  if (const std::uint64_t seconds = options.worker.timeout.value_or(1);
      seconds < 1 || seconds > kMostSeconds) {
    FailUsage("--timeout: " + std::to_string(seconds) + " is not between 1 and " +
              std::to_string(kMostSeconds));
  }
  options.workers = options.jobs.Or(ProcessorCount());
  for (const std::string& signer : options.signers) {
    if (!options.policy.AddSigner(signer)) {
      FailUsage("--signer: " + signer + " is no SHA-256 or SHA-1 thumbprint");
    }
  }
}

std::string Now() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return TimeText(now);
}

class Run {
 public:
  explicit Run(const VerifyOptions& given)
      : options(given), report(given.format, WantedVerdicts(given.only)) {}

  ExitCode Go() {
    const std::unique_ptr<CifraLibrary> library = Begin();
    VerifyAll(FileList(options.files, options.isRecursive, problems));
    report.End(nullptr);
    const bool isAllFound = problems.Result() == ExitCode::kSuccess;
    return ExitCodeOf(
        GraverOf(report.Counts().Gravest(), isAllFound ? Verdict::kTrusted : Verdict::kCannotOpen));
  }

  // Leaves a whole document when the run ends early.
  ExitCode GoAndClose() {
    try {
      return Go();
    } catch (const Failure& failure) {
      Close(failure.Code(), failure.Message());
      throw;
    } catch (const std::exception& error) {
      Close(ExitCode::kInternal, error.what());
      throw;
    }
  }

 private:
  std::unique_ptr<CifraLibrary> Begin() {
    RunFacts facts{.time = Now(),
                   .dllVersion = "",
                   .dllPath = "",
                   .isOnline = options.worker.reading.isOnline,
                   .usesCatalogs = options.worker.usesCatalogs,
                   .policy = options.policy};
    std::unique_ptr<CifraLibrary> library;
    try {
      library = std::make_unique<CifraLibrary>();
    } catch (const Failure&) {
      report.Begin(facts);
      throw;
    }
    facts.dllVersion = library->Version();
    facts.dllPath = ToUtf8(library->Path());
    report.Begin(facts);
    return library;
  }

  void VerifyAll(const std::vector<ListedFile>& files) {
    Progress progress(options.progress, [&files] { return TotalSize(files); });
    const auto next = [&, file = files.begin()]() mutable -> std::optional<Job> {
      ThrowIfInterrupted();
      if (file == files.end()) {
        return std::nullopt;
      }
      const ListedFile& listed = *file++;
      return Job{listed, listed.isFound && options.isRecursive && !options.takesAll};
    };
    const auto makeWorker = [this] {
      return [verifier = std::make_shared<FileVerifier>(options.worker)](const Job& job) {
        return verifier->Verify(job);
      };
    };
    OrderedWork<Job, Record>::Run(options.workers, next, makeWorker,
                                  [&](const Job& job, const Record& record) {
                                    progress.Add(SizeOf(job.file));
                                    const Progress::Pause pause = progress.Hide();
                                    Take(job.file, record);
                                  });
  }

  void Take(const ListedFile& file, const Record& record) {
    if (record.is_null()) {
      report.PassOver();
      return;
    }
    Record named{{"file", file.Shown()}};
    named.update(record);
    if (VerdictOf(named) == Verdict::kCannotOpen) {
      problems.Report({ExitCode::kCannotRead, TextOf(named.at("meaning"))});
    }
    options.policy.ApplyTo(named);
    report.Add(named);
  }

  void Close(ExitCode code, const std::string& message) {
    const RunFailure failure{code, message};
    if (code != ExitCode::kCannotWrite) {
      report.End(&failure);
    }
  }

  const VerifyOptions& options;
  Problems problems;
  VerifyReport report;
};

ExitCode RunVerify(VerifyOptions options) {
  options.worker.usesCatalogs = !options.usesNoCatalog;
  if (options.isWorker) {
    return RunWorker(options.worker);
  }
  Check(options);
  const OrderlyEnd orderly;
  return Run(options).GoAndClose();
}

}  // namespace

void AddVerifyCommand(Program& program) {
  const auto options = std::make_shared<VerifyOptions>();
  Command command = program.Add("verify", "Verify the signatures of files and show who signed");
  command.Arguments("FILE", options->files, "Files, or patterns with * and ?");
  command.Flag("-r,--recursive", options->isRecursive,
               "For a folder, take the files below it that can hold a signature");
  command.Flag("--all", options->takesAll, "With -r, take files of every kind");
  command.Text("--only", options->only, "VERDICTS",
               "Show only files of these verdicts, with commas between them");
  command.Flag("--online", options->worker.reading.isOnline,
               "When a signature fails with the revocation data that this computer has, verify "
               "once more and fetch such data from the network");
  command.Flag("--no-catalog", options->usesNoCatalog,
               "Do not look unsigned files up in this computer's catalogs");
  command.Flag("--chain", options->worker.reading.wantsChain,
               "Show the certificates up to the root, as this computer has them");
  command.Texts("--signer", options->signers, "THUMBPRINT",
                "Demand that one of these certificates signed, by SHA-256 or SHA-1");
  command.Flag("--require-timestamp", options->policy.needsTimestamp,
               "Demand a verified time stamp");
  command.Choice("--min-digest", options->policy.minDigest, {"sha1", "sha256", "sha384", "sha512"},
                 "Demand a digest at least as strong");
  command.Number("--timeout", options->worker.timeout, "SECONDS",
                 "Give up a file that is not verified by then; without it, wait for each");
  AddJobsOption(command, options->jobs, "as many as there are processors");
  AddProgressOption(command, options->progress);
  command.Hide(command.Flag("--worker", options->isWorker, ""));
  AddFormatOption(command, options->format, {kTextFormat, kJsonFormat, kCsvFormat, kHtmlFormat});
  command.Explain(
      R"(The verdict on each signature is the system's, for its users and settings. A
file is as good as the worst of its signatures. Each file is verified by an
object of the library made for it alone, because such an object counts a file as
signed once it has seen any trusted one: no file is judged by those before it.

It says who vouches for the bytes, not that a file is harmless. Unless --online
is given, only the revocation data that this computer has counts, and --online
verifies once more only what failed. Unsigned files are looked up in this
computer's catalogs. A file that makes the platform crash is "crashed".

Verdicts: trusted, unsigned, not-signable, damaged, crashed, revoked,
distrusted, untrusted-root, expired, not-trusted, revocation-unknown,
wrong-signer, weak-digest, no-time-stamp, cannot-open, timed-out

Exit codes: 0 all trusted, 2 wrong usage, 3 a file cannot be opened, 10 damaged,
11 revoked or distrusted, 12 untrusted root, 13 expired, 14 not trusted for
another reason, 15 unsigned, 16 it is not known whether a certificate is
revoked, 17 crashed, 18 wrong signer, 19 no time stamp, 20 weak digest, 21 not
signable, 22 timed out. Of several the gravest: 10, 17, 22, 11, 12, 13, 14, 18,
20, 19, 15, 16, 3, 21. 130 interrupted: the output is whole as far as it goes

Examples:
  cifra verify setup.exe
  cifra verify --online -r "C:\Program Files\Tools"
  cifra verify --signer 25b6...e017 --require-timestamp setup.exe
  cifra verify -r --format html . > page.html)");
  command.OnRun([options] { return RunVerify(*options); });
}

}  // namespace client
