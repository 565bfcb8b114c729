#include "program/TextOptions.h"

#include "system/Paths.h"

namespace client {

bool TextOptions::ReadsStandardInput() const {
  return file.empty() ? text.value_or("-") == "-" : file == "-";
}

Input TextOptions::Open() const {
  if (ReadsStandardInput()) {
    return Input(kStandardStream);
  }
  return file.empty() ? Input::OfText(*text) : Input(FromArgument(file));
}

AddedTextOptions AddTextOptions(Command& command, TextOptions& options, const std::string& what) {
  const Command::Option text = command.Argument(
      "TEXT", options.text, what + "; without it, or when it is -, standard input is read");
  const Command::Option file =
      command.Text("-i,--input", options.file, "FILE", "Read the text from FILE");
  command.AtMostOne({text, file});
  return {text, file};
}

void AddOutputOption(Command& command, std::string& path) {
  command.Text("-o,--output", path, "FILE",
               "Write to FILE instead of standard output. FILE is written completely or, when "
               "something fails, not at all");
}

}  // namespace client
