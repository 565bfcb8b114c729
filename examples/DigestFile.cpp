// Prints the SHA-256 digest of a file, with every result checked:  DigestFile FILE
#include <Cifra/Cifra.h>
#include <Cifra/Library.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

int Fail(const char* what, long code) {
  std::fprintf(stderr, "%s: error %ld\n", what, code);
  return 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: DigestFile FILE\n");
    return 2;
  }
  const Cifra::Library library = Cifra::Library::BesideProgram();
  if (!library) {
    return Fail("cannot load Cifra.dll", static_cast<long>(library.Error()));
  }
  const Cifra::Object<Cifra::ISha256> hash(library);
  if (!hash) {
    return Fail("Cifra.dll has no SHA-256 object", static_cast<long>(hash.Result()));
  }
  const std::unique_ptr<std::FILE, FileCloser> file(_wfopen(arguments[1], L"rb"));
  if (!file) {
    return Fail("cannot open the file", errno);
  }

  // HashFile would do this in one call, but does not report a failure of the platform's hashing.
  std::vector<std::uint8_t> piece(1 << 16);
  std::size_t length = 0;
  while ((length = std::fread(piece.data(), 1, piece.size(), file.get())) > 0) {
    if (const auto status = hash->Update(piece.data(), static_cast<std::uint32_t>(length))) {
      return Fail("cannot hash", status);
    }
  }
  if (std::ferror(file.get())) {
    return Fail("cannot read the file", errno);
  }
  std::uint8_t digest[Cifra::ISha256::kDigestBytes];
  if (const auto status = hash->Final(digest)) {
    return Fail("cannot hash", status);
  }
  for (const std::uint8_t byte : digest) {
    std::printf("%02x", byte);
  }
  std::printf("\n");
  return 0;
}
