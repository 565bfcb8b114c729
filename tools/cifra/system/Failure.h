#pragma once

#include <windows.h>

#include <exception>
#include <string>
#include <utility>

#include "system/ExitCode.h"
#include "system/Unicode.h"

namespace client {

// Failure ends what a command is doing: the message for the user (UTF-8, without the program's name
// and a line end) and the exit code that goes with it.
class Failure : public std::exception {
 public:
  Failure(ExitCode exitCode, std::string text) : code(exitCode), message(std::move(text)) {}

  // A failed call of the system about something that the user knows by name.
  static Failure OfSystem(ExitCode code, const std::string& name, const std::string& what,
                          DWORD error = GetLastError()) {
    return {code, name + ": " + what + ": " + SystemMessage(error)};
  }

  ExitCode Code() const { return code; }
  const char* what() const noexcept override { return message.c_str(); }

 private:
  ExitCode code;
  std::string message;
};

}  // namespace client
