#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempDirectory.h"

// Programs that run with a log.dll.
namespace Cifra::Test {

// LogHost is a directory with a copy of this program and, if the test wants them, of the library
// under test and of a log.dll. The program runs the test's actions there, each in a new process:
// the library and its log must not be loaded when an action starts.
class LogHost {
 public:
  LogHost();

  const std::filesystem::path& Directory() const { return directory.Path(); }

  void PutLibrary();
  // Copies the recording log.dll into a directory (by default the program's), complete or without
  // one of its exports.
  void PutLog() { PutLog(Directory()); }
  void PutLog(const std::filesystem::path& where);
  void PutLogWithout(const std::string& missingExport);
  // Copies the log.dll of examples/log.
  void PutExampleLog();

  // Runs an action and returns the lines that it printed on either stream.
  std::vector<std::string> Run(const std::wstring& action,
                               const ChildAction::Arguments& arguments = {}) const;

 private:
  TempDirectory directory;
};

// For actions: the library in the program's directory, and what they print.
std::filesystem::path LibraryInProgramDirectory();
// Prints the log's calls since the last time, one per line.
void PrintLog();
// Prints whether there is a log.dll in the process.
void PrintWhetherLogIsLoaded();

inline constexpr char kLogIsLoaded[] = "log.dll is loaded";
inline constexpr char kLogIsGone[] = "log.dll is gone";

// The client's calls at the beginning and at the end of a log.dll's use.
extern const std::vector<std::string> kLogBegins;
extern const std::vector<std::string> kLogEnds;

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second);

}  // namespace Cifra::Test
