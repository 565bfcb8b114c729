#include "program/VersionCommand.h"

#include <string>

#include "program/CifraLibrary.h"
#include "program/Processor.h"
#include "system/Console.h"
#include "system/Unicode.h"

namespace client {
namespace {

void WriteVersions() {
  WriteOut(std::string("cifra      ") + CIFRA_VERSION + " (" + kCpu + ")\n");
  const CifraLibrary library;
  const std::string version = library.Version();
  WriteOut("Cifra.dll  " + (version.empty() ? "unknown version" : version) + " (" +
           ToUtf8(library.Path()) + ")\n" + "Kernels    " + ChosenKernels() + "\n");
}

}  // namespace

void AddVersionCommand(Program& program) {
  Command command = program.Add("version", "Show the versions of cifra and Cifra.dll");
  command.OnRun([] {
    WriteVersions();
    return ExitCode::kSuccess;
  });
}

}  // namespace client
