#pragma once

#include <optional>
#include <string>

#include "program/CommandLine.h"
#include "system/Input.h"

namespace client {

// TextOptions says where a command's input comes from: the command line, a file or, without either
// and for "-", standard input.
struct TextOptions {
  std::optional<std::string> text;
  std::string file;

  bool ReadsStandardInput() const;
  Input Open() const;
};

// Adds the argument TEXT and the option --input. Returns the two, for further rules.
struct AddedTextOptions {
  Command::Option text;
  Command::Option file;
};
AddedTextOptions AddTextOptions(Command& command, TextOptions& options, const std::string& what);

// Adds the option --output, whose default is standard output.
void AddOutputOption(Command& command, std::string& path);

}  // namespace client
