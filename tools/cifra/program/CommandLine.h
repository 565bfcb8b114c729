#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "system/ExitCode.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace client {

// Command is one command of the program while its arguments and options are being described. Values
// must live until the command line has been parsed. Texts are UTF-8 and reach the command exactly
// as they were typed; all but Argument refuse an empty one. Names are written as in "-o,--output".
class Command {
 public:
  using Option = CLI::Option*;

  // The exit code of the command's run is left in code.
  Command(CLI::App& described, ExitCode& code) : app(described), result(code) {}

  Option Argument(const char* name, std::optional<std::string>& value, const std::string& help);
  Option Arguments(const char* name, std::vector<std::string>& values, const std::string& help);
  Option Text(const char* names, std::string& value, const char* valueName,
              const std::string& help);
  // An option that may be given several times.
  Option Texts(const char* names, std::vector<std::string>& values, const char* valueName,
               const std::string& help);
  // Decimal digits.
  Option Number(const char* names, std::optional<std::uint64_t>& value, const char* valueName,
                const std::string& help);
  // The value is one of the choices.
  Option Choice(const char* names, std::string& value, std::vector<std::string> choices,
                const std::string& help);
  Option Flag(const char* names, bool& value, const std::string& help);
  // Leaves an option out of the help: it is not for users.
  void Hide(Option option);
  // Of these the user may give one.
  void AtMostOne(std::initializer_list<Option> options);
  // What the help says below the options.
  void Explain(const char* text);
  void OnRun(std::function<ExitCode()> run);

 private:
  CLI::App& app;
  ExitCode& result;
};

// Program parses a command line and runs the command that it names.
class Program {
 public:
  Program();
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  Command Add(const char* name, const char* description);
  // Writes the help or the version, or runs a command. Throws Failure kUsage for arguments that
  // make no sense; a Failure of the command passes.
  ExitCode Run(const std::vector<std::string>& arguments);

 private:
  std::unique_ptr<CLI::App> app;
  ExitCode result = ExitCode::kInternal;
};

}  // namespace client
