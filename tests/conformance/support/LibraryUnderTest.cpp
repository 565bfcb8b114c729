#include "LibraryUnderTest.h"

#include <cstdio>
#include <cstdlib>

#include "ProgramArguments.h"

namespace Cifra::Test {

std::filesystem::path FileUnderTest() {
  const std::filesystem::path given = ProgramArgument(L"--dll=");
  return given.empty() ? ProgramFile().parent_path() / L"Cifra.dll"
                       : std::filesystem::absolute(given);
}

Cifra::Library LoadCifra(const std::filesystem::path& file) {
  constexpr DWORD kOrdinarySearch = 0;
  Cifra::Library library(file.wstring(), kOrdinarySearch);
  if (!library) {
    std::fprintf(stderr, "cannot load %ls: error %lu\n", file.c_str(), library.Error());
    std::exit(EXIT_FAILURE);
  }
  return library;
}

Cifra::Library& Library() {
  static Cifra::Library library = LoadCifra();
  return library;
}

}  // namespace Cifra::Test
