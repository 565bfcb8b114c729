#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Cifra::Test {

// ChildAction registers a function that runs in a child process: this program, started again. It is
// a static object of the test file. The function gets the parent's arguments and returns the
// process's exit code.
class ChildAction {
 public:
  using Arguments = std::vector<std::wstring>;
  using Function = int (*)(const Arguments&);

  ChildAction(const wchar_t* name, Function function);

  // Runs the action named on this program's command line, if there is one, and ends the process.
  static void RunIfAsked();
};

struct ChildResult {
  std::uint32_t exitCode = 0;
  std::string output;  // of both standard streams

  std::vector<std::string> Lines() const;
};

// The exit code with which fatal conditions end the process.
inline constexpr std::uint32_t kFailFast = 0xC0000409;

// Runs an action in a child process and waits for it. `program` is this program or a copy of it.
ChildResult RunChild(const std::wstring& action, const ChildAction::Arguments& arguments = {},
                     const std::filesystem::path& program = {});

}  // namespace Cifra::Test
