// Shows what the library does, with the log.dll of the package:  WatchLog LOG_DLL FILE
// The library writes to a log.dll that is in the process already, and else to the one beside it.
#include <Cifra/Cifra.h>
#include <Cifra/Library.h>

#include <cstdio>

int wmain(int count, wchar_t** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: WatchLog LOG_DLL FILE\n");
    return 2;
  }
  if (!LoadLibraryW(arguments[1])) {
    std::fprintf(stderr, "cannot load the log: error %lu\n", GetLastError());
    return 1;
  }
  const Cifra::Library library = Cifra::Library::BesideProgram();
  const Cifra::Object<Cifra::IMd5> hash(library);
  if (!hash) {
    std::fprintf(stderr, "no Cifra.dll: error %lu\n", library.Error());
    return 1;
  }
  kx::StringT<wchar_t> digest;
  const std::uint32_t result = hash->HashFile(arguments[2], digest);
  std::printf("result %u, MD5 %ls\n", static_cast<unsigned>(result), digest.CStr());
  return result == kCifraSuccess ? 0 : 1;
}
