#pragma once

#include <windows.h>

#include <exception>
#include <string>
#include <utility>

#include "system/ExitCode.h"
#include "system/Unicode.h"

namespace client {

// Failure ends what a command is doing: the message for the user (UTF-8, without the program's name
// and a line end), the exit code that goes with it and, for a second line, where to find help.
class Failure : public std::exception {
 public:
  Failure(ExitCode exitCode, std::string text, std::string help = {})
      : code(exitCode), message(std::move(text)), advice(std::move(help)) {}

  // A failed call of the system about something that the user knows by name.
  static Failure OfSystem(ExitCode code, const std::string& name, const std::string& what,
                          DWORD error = GetLastError()) {
    return {code, name + ": " + what + ": " + SystemMessage(error)};
  }

  ExitCode Code() const { return code; }
  // The whole message; what() ends at a zero character.
  const std::string& Message() const { return message; }
  const char* what() const noexcept override { return message.c_str(); }
  const std::string& Advice() const { return advice; }

 private:
  ExitCode code;
  std::string message;
  std::string advice;
};

}  // namespace client
