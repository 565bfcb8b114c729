#include "support/LibraryUnderTest.h"

#include <cstdio>
#include <cstdlib>

namespace Cifra::Test {

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
