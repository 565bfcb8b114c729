/* Stands in for Cifra.dll where the examples of other languages run natively: the functions of the
 * public header, which tell on the standard error what they were given. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "Cifra/Functions.h"

static uint32_t Answer(const char* answer, char* output) {
  const char* result = getenv("CIFRA_STANDIN_RESULT");
  if (result) {
    return (uint32_t)atoi(result);
  }
  strcpy(output, answer);
  return kCifraSuccess;
}

uint32_t BlowfishAndBase64Encode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize) {
  fprintf(stderr, "%s(%s|%s|%d)\n", __func__, text, key, (int)destinationSize);
  return Answer("ciphertext", destination);
}

uint32_t Base64AndBlowfishDecode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize) {
  fprintf(stderr, "%s(%s|%s|%d)\n", __func__, text, key, (int)destinationSize);
  return Answer("K\xC3\xB6ln", destination);
}

uint32_t CalculateTextMd5(const char* text, char* output) {
  fprintf(stderr, "%s(%s)\n", __func__, text);
  return Answer("md5", output);
}

uint32_t CalculateWideCharTextMd5(const wchar_t* text, char* output) {
  fprintf(stderr, "%s(", __func__);
  for (; *text; ++text) {
    fprintf(stderr, "%04X", (unsigned)*text);
  }
  fprintf(stderr, ")\n");
  return Answer("md5 of wide text", output);
}
