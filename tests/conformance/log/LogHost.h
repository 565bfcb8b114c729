#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempDirectory.h"

// Programs to which a log.dll is given.
namespace Cifra::Test {

// LogHost is a directory with a copy of this program, of the library under test and, as a test puts
// it there, of a log.dll. The program then runs actions of this test in it. A library and its log
// are loaded and unloaded many times in a process: each action starts where none has been.
class LogHost {
 public:
  LogHost();

  const std::filesystem::path& Directory() const { return directory.Path(); }

  // Puts the recording log.dll into a directory (by default: beside the library), complete or
  // without one of its exports.
  void PutLog() { PutLog(Directory()); }
  void PutLog(const std::filesystem::path& where);
  void PutLogWithout(const std::string& missingExport);
  // Puts the log.dll that users get.
  void PutExampleLog();

  // Runs an action and gives the lines that it printed, on either stream.
  std::vector<std::string> Run(const std::wstring& action,
                               const ChildAction::Arguments& arguments = {}) const;

 private:
  TempDirectory directory;
};

// For actions: the library beside the program, and the names under which things are printed.
std::filesystem::path LibraryBesideProgram();
// Prints the log's calls since it was last done, a line each.
void PrintLog();
// Prints whether there is a log.dll in the process.
void PrintWhetherLogIsLoaded();

inline constexpr char kLogIsLoaded[] = "log.dll is loaded";
inline constexpr char kLogIsGone[] = "log.dll is gone";

// What the client does at the beginning and at the end of a log.dll's life.
extern const std::vector<std::string> kLogBegins;
extern const std::vector<std::string> kLogEnds;

std::vector<std::string> operator+(std::vector<std::string> first,
                                   const std::vector<std::string>& second);

}  // namespace Cifra::Test
