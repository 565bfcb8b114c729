#include "support/ProgramArguments.h"

#include <windows.h>
#include <shellapi.h>

#include <memory>

namespace Cifra::Test {

std::wstring ProgramArgument(const std::wstring& prefix) {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&LocalFree)> arguments(
      CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  for (int i = 1; i < count; ++i) {
    const std::wstring argument = arguments.get()[i];
    if (argument.starts_with(prefix)) {
      return argument.substr(prefix.size());
    }
  }
  return {};
}

std::filesystem::path ProgramFile() {
  std::wstring path(32767, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

std::filesystem::path FileUnderTest() {
  const std::filesystem::path given = ProgramArgument(L"--dll=");
  return given.empty() ? ProgramFile().parent_path() / L"Cifra.dll"
                       : std::filesystem::absolute(given);
}

}  // namespace Cifra::Test
