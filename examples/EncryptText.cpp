// Encrypts a text with Blowfish, writes it as Base64, and turns it back.
#include <Cifra/Cifra.h>

#include <cstdio>

int main() {
  char encrypted[1100];
  std::uint32_t result = BlowfishAndBase64Encode("meet me at noon", "a key of up to 56 bytes",
                                                 encrypted, sizeof(encrypted));
  if (result != kCifraSuccess) {
    std::fprintf(stderr, "cannot encrypt: error %u\n", static_cast<unsigned>(result));
    return 1;
  }
  std::printf("%s\n", encrypted);

  char text[1100];
  result = Base64AndBlowfishDecode(encrypted, "a key of up to 56 bytes", text, sizeof(text));
  if (result != kCifraSuccess) {
    std::fprintf(stderr, "cannot decrypt: error %u\n", static_cast<unsigned>(result));
    return 1;
  }
  std::printf("%s\n", text);
  return 0;
}
