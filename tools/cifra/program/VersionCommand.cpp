#include "program/VersionCommand.h"

#include <string>

#include "processor/KernelRules.h"
#include "program/CifraLibrary.h"
#include "system/Console.h"
#include "system/Unicode.h"

namespace client {
namespace {

#if defined(__aarch64__) || defined(_M_ARM64)
constexpr char kCpu[] = "ARM64";
#else
constexpr char kCpu[] = "x64";
#endif

void Run() {
  WriteOut(std::string("cifra      ") + CIFRA_VERSION + " (" + kCpu + ")\n");
  const CifraLibrary library;
  const std::string version = library.Version();
  WriteOut("Cifra.dll  " + (version.empty() ? "unknown version" : version) + " (" +
           ToUtf8(library.Path()) + ")\n");
  // By the rules that the library chooses by; it has no export that would tell.
  using namespace Cifra::KernelRules;
  WriteOut(std::string("Kernels    Base64 ") + Chosen(kBase64).name + ", Blowfish " +
           Chosen(kBlowfish).name + ", MD5 " + Chosen(kMd5).name + "\n");
}

}  // namespace

void AddVersionCommand(Program& program) {
  Command command = program.Add("version", "Show the versions of cifra and Cifra.dll");
  command.OnRun([] {
    Run();
    return ExitCode::kSuccess;
  });
}

}  // namespace client
