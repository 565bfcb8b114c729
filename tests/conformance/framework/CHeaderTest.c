/* The header of the exported functions as a C program sees it. */
#include "framework/CHeaderTest.h"

int RoundTripFromC(CifraTextCipherFunction encode, CifraTextCipherFunction decode, const char* text,
                   char* decoded, int32_t size) {
  char encoded[256];
  const uint32_t result = encode(text, "a key", encoded, (int32_t)sizeof(encoded));
  if (result != kCifraSuccess) {
    return (int)result;
  }
  return (int)decode(encoded, "a key", decoded, size);
}
