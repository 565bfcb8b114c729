#include "CifraLibrary.h"

#include <cstdio>
#include <cstdlib>

#include "ProgramArguments.h"

namespace Cifra::Test {

CifraLibrary::CifraLibrary() : CifraLibrary(FileUnderTest()) {}

CifraLibrary::CifraLibrary(const std::filesystem::path& file) : module(LoadLibraryW(file.c_str())) {
  if (!module) {
    std::fprintf(stderr, "cannot load %ls: error %lu\n", file.c_str(), GetLastError());
    std::exit(EXIT_FAILURE);
  }
  createObject = Export<KxCreateObjectFunction>("KxCreateObject");
  destroyObject = Export<KxDestroyObjectFunction>("KxDestroyObject");
  blowfishAndBase64Encode = Export<decltype(BlowfishAndBase64Encode)>("BlowfishAndBase64Encode");
  base64AndBlowfishDecode = Export<decltype(Base64AndBlowfishDecode)>("Base64AndBlowfishDecode");
}

std::filesystem::path CifraLibrary::FileUnderTest() {
  const std::filesystem::path given = ProgramArgument(L"--dll=");
  return given.empty() ? ProgramFile().parent_path() / L"Cifra.dll"
                       : std::filesystem::absolute(given);
}

CifraLibrary& Library() {
  static CifraLibrary library;
  return library;
}

}  // namespace Cifra::Test
