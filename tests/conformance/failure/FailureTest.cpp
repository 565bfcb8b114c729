#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <thread>

#include "FailingImports.h"
#include "FatalTrap.h"
#include "Ledger.h"
#include "LogRecord.h"
#include "Operations.h"
#include "support/ChildProcess.h"
#include "support/ImportPatch.h"

// Every call that the library makes of its platform fails in turn, in every operation, once and
// from then on.
namespace {

using Cifra::Test::ChildAction;
using Cifra::Test::FailingImports;
using Cifra::Test::ImportPatch;
using Cifra::Test::Ledger;
using Cifra::Test::Operation;

// A run of an operation, as the child prints it: "OPERATION|N|IMPORT|RESULT|LEFT". IMPORT is empty
// when all calls had been made before the n-th. After the last operation come the imports that can
// fail and the line kEnd.
constexpr char kEnd[] = "end";
constexpr char kCanFail[] = "can fail";
constexpr char kBadAlloc[] = "bad_alloc";
constexpr char kSilentEnd[] = "silent end";
constexpr char kAsUsual[] = "as usual";

// Every call fails on one build; on the others every Step-th, unless CIFRA_FAILURE_STEP=1 is set.
int Step() {
#ifdef CIFRA_LONG_RUNS
  return 1;
#else
  constexpr int kStep = 5;
  const char* given = std::getenv("CIFRA_FAILURE_STEP");
  return given ? std::atoi(given) : kStep;
#endif
}

// Blocks that the library allocated and the program frees.
void (*freeOfRuntime)(void*) = &std::free;
void FreeInProgram(void* block) {
  if (block) {
    Ledger::CrossOff(Cifra::Test::Holding::kMemory, block);
  }
  freeOfRuntime(block);
}

// Ends the process where an operation hangs.
std::atomic<int> progress{0};
void WatchProgress() {
  constexpr DWORD kPatience = 60'000;  // milliseconds
  for (int seen = -1; seen != progress; Sleep(kPatience)) {
    seen = progress;
  }
  std::printf("|hangs");
  std::fflush(stdout);
  TerminateProcess(GetCurrentProcess(), EXIT_FAILURE);
}

std::string Run(const Operation::Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return kBadAlloc;
  } catch (const std::exception& other) {
    return other.what();
  }
}

// What a loaded library does once: its runtime keeps a record of the thread at the first exception,
// and the log's client registers a hook at its first use.
void WarmUp() {
  const Cifra::Object<Cifra::IMd5> md5(Cifra::Test::Library());
  const Cifra::Object<Cifra::IBase64> base64(Cifra::Test::Library());
  std::string refused;
  Run([&] {
    base64->Encode(nullptr, ~std::uint64_t{0}, refused, false);
    return std::string();
  });
}

// The library under test with everything between it and the platform.
struct Apparatus {
  FailingImports imports{Cifra::Test::Library().Module()};
  Cifra::Test::FatalTrap trap{Cifra::Test::Library().Module()};
};

struct Outcome {
  std::string result = kSilentEnd;
  std::string left;
  const char* failedImport = nullptr;
};

// Loads the library anew after its fatal path, whatever it still holds.
void Reload(std::unique_ptr<Apparatus>& apparatus) {
  apparatus.reset();
  Cifra::Library& library = Cifra::Test::Library();
  const HMODULE module = library.Module();
  library.Unload();
  while (GetModuleHandleW(L"Cifra.dll") == module) {
    FreeLibrary(module);
  }
  while (const HMODULE log = GetModuleHandleW(L"log.dll")) {
    FreeLibrary(log);
  }
  library = Cifra::Test::LoadCifra();
  WarmUp();
  Ledger::Clear();
  apparatus = std::make_unique<Apparatus>();
}

Outcome RunWithFailure(const Operation& operation, std::unique_ptr<Apparatus>& apparatus, int n,
                       bool forGood) {
  const Ledger::Mark before = Ledger::Now();
  Outcome outcome;
  auto body = std::make_unique<Operation::Body>(operation.prepare());
  FailingImports::Arm(n, forGood);
  const bool survives = Cifra::Test::FatalTrap::Survives([&] { outcome.result = Run(*body); });
  outcome.failedImport = FailingImports::Disarm();
  if (survives) {
    body.reset();
    outcome.left = Ledger::Difference(before);
    outcome.left += GetModuleHandleW(L"log.dll") ? " log.dll" : "";
  } else {
    static_cast<void>(body.release());  // its objects are gone with their library
    Reload(apparatus);
  }
  Cifra::Test::TakeLogEntries();
  return outcome;
}

void FailInTurn(const Operation& operation, std::unique_ptr<Apparatus>& apparatus, bool forGood,
                int first) {
  RunWithFailure(operation, apparatus, 0, false);  // what is made once
  const std::string usual = RunWithFailure(operation, apparatus, 0, false).result;
  const char* const name = operation.name.c_str();
  std::set<std::string> recovered;
  for (int n = first;; n += Step(), ++progress) {
    std::printf("%s|%d|", name, n);
    const Outcome outcome = RunWithFailure(operation, apparatus, n, forGood);
    std::printf("|%s|%s\n", outcome.result == usual ? kAsUsual : outcome.result.c_str(),
                outcome.left.c_str());
    if (!outcome.failedImport) {
      return;
    }
    if (Step() != 1 && !recovered.insert(outcome.failedImport).second) {
      continue;  // seen once for each import
    }
    const Outcome after = RunWithFailure(operation, apparatus, 0, false);
    if (after.result != usual || !after.left.empty()) {
      std::printf("%s|%d|afterwards|%s|%s\n", name, n, after.result.c_str(), after.left.c_str());
    }
  }
}

// Lets every call of every operation fail in turn: once, or for good.
const ChildAction kFailEverything(L"FailEverything", [](const ChildAction::Arguments& arguments) {
  const auto& operations = Cifra::Test::Operations();
  WarmUp();
  const ImportPatch freeing(GetModuleHandleW(nullptr), "free", &FreeInProgram);
  freeOfRuntime = &freeing.Original<void(void*)>();
  auto apparatus = std::make_unique<Apparatus>();
  std::thread(WatchProgress).detach();
  for (std::size_t i = 0; i < operations.size(); ++i) {
    const int first = 1 + static_cast<int>(i) % Step();
    FailInTurn(operations[i], apparatus, arguments[0] == L"for good", first);
  }
  for (const std::string& name : apparatus->imports.CalledWithoutRule()) {
    std::printf("any|0|%s|is called, but no rule tells whether it can fail|\n", name.c_str());
  }
  for (const std::string& name : apparatus->imports.WhatCanFail()) {
    std::printf("%s|%s\n", kCanFail, name.c_str());
  }
  apparatus.reset();
  std::printf("%s\n", kEnd);
  std::fflush(stdout);
  return Ledger::ForeignReleases();
});

// Runs one operation with one failure in a process as it is without a trap.
const ChildAction kFailOnce(L"FailOnce", [](const ChildAction::Arguments& arguments) {
  const Operation& operation = Cifra::Test::Operations()[std::stoul(arguments[0])];
  const FailingImports imports(Cifra::Test::Library().Module());
  Run(operation.prepare());
  const Operation::Body body = operation.prepare();
  FailingImports::Arm(std::stoi(arguments[1]), false);
  Run(body);
  return 0;
});

struct Report {
  std::string operation;
  int n = 0;
  std::string import;
  std::string result;
  std::string left;
};

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char character : line) {
    if (character == '|') {
      fields.emplace_back();
    } else {
      fields.back() += character;
    }
  }
  return fields;
}

bool Matches(const std::string& result, const std::string& pattern) {
  return pattern.ends_with('*') ? result.starts_with(pattern.substr(0, pattern.size() - 1))
                                : result == pattern;
}

bool IsHeap(const std::string& import) {
  return import == "malloc" || import == "calloc" || import == "realloc";
}

bool IsDocumented(const Operation& operation, const Report& report) {
  const bool isCopy = report.import == "strcpy_s" || report.import == "wcscpy_s";
  if (report.result == kSilentEnd) {
    return operation.mayEndProcess && (IsHeap(report.import) || isCopy);
  }
  return report.result == kAsUsual || (report.result == kBadAlloc && IsHeap(report.import)) ||
         std::any_of(operation.allowed.begin(), operation.allowed.end(), [&](const auto& pattern) {
           return Matches(report.import + " " + report.result, pattern);
         });
}

std::string Describe(const Report& report) {
  return report.operation + ", failure " + std::to_string(report.n) + " (" + report.import +
         "): " + report.result + (report.left.empty() ? "" : ", left: ") + report.left;
}

struct Reports {
  std::vector<Report> all;
  std::set<std::string> canFail;  // the imports
};

// Lets everything fail, "once" or "for good".
Reports FailEverything(const std::wstring& how) {
  Reports reports;
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"FailEverything", {how});
  std::vector<std::string> lines = child.Lines();
  if (lines.empty() || lines.back() != kEnd) {
    ADD_FAILURE() << "exit code " << std::hex << child.exitCode << " after "
                  << (lines.empty() ? "nothing" : lines.back());
    return reports;
  }
  EXPECT_EQ(0u, child.exitCode) << "handles were given back that the library did not hold";
  lines.pop_back();
  for (const std::string& line : lines) {
    const std::vector<std::string> fields = Fields(line);
    if (fields[0] == kCanFail) {
      reports.canFail.insert(fields[1]);
    } else if (fields.size() == 5) {
      reports.all.push_back({fields[0], std::stoi(fields[1]), fields[2], fields[3], fields[4]});
    } else {
      ADD_FAILURE() << line;
    }
  }
  return reports;
}

const Reports& FailuresOnce() {
  static const Reports reports = FailEverything(L"once");
  return reports;
}

void ExpectOnlyDocumentedResults(const Reports& reports) {
  std::map<std::string, const Operation*> operations;
  for (const Operation& operation : Cifra::Test::Operations()) {
    operations[operation.name] = &operation;
  }
  for (const Report& report : reports.all) {
    const auto operation = operations.find(report.operation);
    EXPECT_TRUE(operation != operations.end() && IsDocumented(*operation->second, report))
        << Describe(report);
    EXPECT_EQ("", report.left) << Describe(report);
  }
}

void PrintSummary(const Reports& reports) {
  std::map<std::string, int> results;
  for (const Report& report : reports.all) {
    if (!report.import.empty()) {
      ++results[report.result == kAsUsual || report.result == kSilentEnd ||
                        report.result == kBadAlloc
                    ? report.result
                    : "another documented result"];
    }
  }
  std::printf("%zu operations", Cifra::Test::Operations().size());
  for (const auto& [result, count] : results) {
    std::printf(", %s: %d", result.c_str(), count);
  }
  std::printf("\n");
}

TEST(Failure, OfEachCallOnce_EndsAsDocumentedAndLeavesNothing) {
  const Reports& reports = FailuresOnce();
  ExpectOnlyDocumentedResults(reports);
  PrintSummary(reports);
  if (Step() != 1) {
    return;
  }
  std::set<std::string> failed;
  for (const Report& report : reports.all) {
    failed.insert(report.import);
  }
  for (const std::string& import : reports.canFail) {
    // The library never needs these two; what allocates in their place is malloc.
    EXPECT_TRUE(failed.contains(import) || import == "calloc" || import == "realloc") << import;
  }
}

#ifdef CIFRA_LONG_RUNS
TEST(Failure, OfEachImportForGood_EndsAsDocumentedAndLeavesNothing) {
  const Reports reports = FailEverything(L"for good");
  ExpectOnlyDocumentedResults(reports);
  PrintSummary(reports);
}
#endif

TEST(Failure, ThatIsFatal_EndsTheProcessInSilence) {
  const Reports& reports = FailuresOnce();
  int processes = 0;
  for (std::size_t i = 0; i < Cifra::Test::Operations().size(); ++i) {
    const std::string& name = Cifra::Test::Operations()[i].name;
    const auto fatal =
        std::find_if(reports.all.begin(), reports.all.end(), [&](const Report& report) {
          return report.operation == name && report.result == kSilentEnd;
        });
    if (fatal != reports.all.end()) {
      const auto child =
          Cifra::Test::RunChild(L"FailOnce", {std::to_wstring(i), std::to_wstring(fatal->n)});
      EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << Describe(*fatal);
      EXPECT_EQ(fatal->import, child.output);  // what the failing import printed itself
      ++processes;
    }
  }
  EXPECT_NE(0, processes);
}

}  // namespace
