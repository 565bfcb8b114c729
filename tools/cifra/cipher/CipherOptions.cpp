#include "cipher/CipherOptions.h"

#include "system/Failure.h"

namespace client {

Key CipherOptions::ReadKeyFor(KeyUse use) const {
  const bool inputIsStandard = bytesFile.empty() ? text.ReadsStandardInput() : bytesFile == "-";
  if (inputIsStandard && key.ReadsStandardInput()) {
    throw Failure(ExitCode::kUsage, "the key and the input cannot both be standard input");
  }
  return ReadKey(key, use);
}

void AddCipherOptions(Command& command, CipherOptions& options, const std::string& text,
                      const std::string& bytes) {
  const AddedTextOptions added = AddTextOptions(command, options.text, text);
  const Command::Option file = command.Text("--file", options.bytesFile, "FILE", bytes);
  command.AtMostOne({file, added.text});
  command.AtMostOne({file, added.file});
  AddOutputOption(command, options.output);
  AddKeyOptions(command, options.key);
}

}  // namespace client
