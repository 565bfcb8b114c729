#include <windows.h>
// After windows.h:
#include <shellapi.h>

#include <new>
#include <optional>
#include <string>
#include <vector>

#include "cipher/CipherCommands.h"
#include "hash/HashCommand.h"
#include "program/SelfTestCommand.h"
#include "program/VersionCommand.h"
#include "system/Console.h"
#include "system/Failure.h"
#include "system/Handles.h"
#include "system/Interruption.h"
#include "system/Unicode.h"
#include "verify/VerifyCommand.h"

namespace client {
namespace {

// The arguments as UTF-8. They are taken from the system: what the runtime hands to main is in the
// system's code page, and some runtimes expand wildcards in it.
std::vector<std::string> Arguments() {
  int count = 0;
  const LocalMemory<wchar_t*> wide(CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  for (int i = 1; wide && i < count; ++i) {
    const std::optional<std::string> argument = ToUtf8Strictly(wide.get()[i]);
    if (!argument) {
      throw Failure(ExitCode::kUsage, "argument " + std::to_string(i) + " is not Unicode text");
    }
    arguments.push_back(*argument);
  }
  return arguments;
}

ExitCode RunProgram() {
  Program program;
  for (const auto add : {AddEncryptCommand, AddDecryptCommand, AddBase64Command, AddHashCommand,
                         AddVerifyCommand, AddVersionCommand, AddSelfTestCommand}) {
    add(program);
  }
  return program.Run(Arguments());
}

ExitCode RunAndReport() {
  try {
    return RunProgram();
  } catch (const Failure& failure) {
    WriteMessage(failure.Message(), failure.Advice());
    return failure.Code();
  } catch (const std::bad_alloc&) {
    WriteMessage("not enough memory");
  } catch (const std::exception& error) {
    WriteMessage(std::string("internal error: ") + error.what());
  }
  return ExitCode::kInternal;
}

}  // namespace
}  // namespace client

int main() {
  // First of all: nothing but Cifra.dll is loaded from this program's folder, where anybody may
  // have put a library with the name of one of the system's.
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  client::HandleInterruptions();
  try {
    return static_cast<int>(client::RunAndReport());
  } catch (...) {  // the report itself failed
    return static_cast<int>(client::ExitCode::kInternal);
  }
}
