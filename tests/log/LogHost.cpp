#include "log/LogHost.h"

#include <windows.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "LogRecord.h"
#include "support/ProgramArguments.h"

namespace Cifra::Test {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kProgram[] = L"host.exe";
constexpr wchar_t kLibrary[] = L"Cifra.dll";
constexpr wchar_t kLog[] = L"log.dll";

fs::path StandIns() { return ProgramFile().parent_path() / L"standins"; }

void Copy(const fs::path& from, const fs::path& to) {
  fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

}  // namespace

LogHost::LogHost() { Copy(ProgramFile(), directory / kProgram); }

void LogHost::PutLibrary() { Copy(FileUnderTest(), directory / kLibrary); }

void LogHost::PutLog(const fs::path& where) {
  fs::create_directories(where);
  Copy(StandIns() / L"log" / kLog, where / kLog);
}

void LogHost::PutLogWithout(const std::string& missingExport) {
  Copy(StandIns() / ("log-without-" + missingExport) / kLog, directory / kLog);
}

void LogHost::PutExampleLog() {
  Copy(ProgramFile().parent_path() / L"examples" / kLog, directory / kLog);
}

std::vector<std::string> LogHost::Run(const std::wstring& action,
                                      const ChildAction::Arguments& arguments) const {
  const ChildResult child = RunChild(action, arguments, directory / kProgram);
  EXPECT_EQ(0u, child.exitCode);
  return child.Lines();
}

fs::path LibraryInProgramDirectory() { return ProgramFile().parent_path() / kLibrary; }

void PrintLog() {
  for (const std::string& line : TakeLogLines()) {
    std::printf("%s\n", line.c_str());
  }
  std::fflush(stdout);
}

void PrintWhetherLogIsLoaded() {
  std::printf("%s\n", GetModuleHandleW(kLog) ? kLogIsLoaded : kLogIsGone);
}

const std::vector<std::string> kLogBegins = {"LogInit"};
const std::vector<std::string> kLogEnds = {"LogDeinit", "LogUninitDeskMetrics",
                                           "LogRemoveModule logging::CLogDLL::~CLogDLL"};

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace Cifra::Test
