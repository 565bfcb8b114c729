#ifndef CIFRA_TEST_C_HEADER_TEST_H
#define CIFRA_TEST_C_HEADER_TEST_H

#include "Cifra/Functions.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Encodes text and decodes the result into decoded, a buffer of size bytes. */
int RoundTripFromC(CifraTextCipherFunction encode, CifraTextCipherFunction decode, const char* text,
                   char* decoded, int32_t size);

#ifdef __cplusplus
}
#endif

#endif
