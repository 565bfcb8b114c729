#ifndef CIFRA_FUNCTIONS_H
#define CIFRA_FUNCTIONS_H

/* One-shot functions of Cifra.dll, exported by these names. This header is valid C and C++.
 * Narrow text is UTF-8. All texts are terminated by a zero character; sizes are in bytes and
 * include the terminator. Any thread may call these functions. Without memory they throw
 * std::bad_alloc, which a caller in C cannot catch, or end the process. */

#include <stddef.h>
#include <stdint.h>

#include "Cifra/ResultCodes.h"

#ifdef __cplusplus
extern "C" {
#endif

/* BlowfishAndBase64Encode enciphers text with Blowfish in electronic-codebook mode, the last block
 * padded with zero bytes, and writes the ciphertext to destination as padded Base64.
 *
 * text             UTF-8; null is the empty text. Its ciphertext must have fewer than 1024 Base64
 *                  characters (up to 760 bytes of UTF-8); more ends the process.
 * key              1 to 56 bytes, up to the terminator
 * destination      the caller's buffer
 * destinationSize  its size in bytes: at least the length of the result and 1 for the terminator.
 *                  A size that is exactly the length of the result ends the process.
 *
 * Returns kCifraSuccess;
 * kCifraInvalidParameter for a null, empty or over-long key, and for a null destination whose size
 * is not below the length of the result;
 * kCifraInsufficientBuffer when destinationSize is below the length of the result;
 * kCifraNotFound when the library's own file, or the object in it, cannot be obtained.
 * The destination is written only on success. */
uint32_t BlowfishAndBase64Encode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize);

/* Base64AndBlowfishDecode turns the result of BlowfishAndBase64Encode back into text: arguments,
 * sizes and result codes are the same.
 *
 * A text that is not Base64 gives kCifraSuccess and an empty destination. A result of more than
 * 1023 UTF-16 units is cut to 1023. A wrong key gives an unpredictable text, not an error. */
uint32_t Base64AndBlowfishDecode(const char* text, const char* key, char* destination,
                                 int32_t destinationSize);

/* CalculateTextMd5 writes the MD5 digest (RFC 1321) of a text as 32 lower-case hexadecimal digits
 * and a terminator.
 *
 * text    its bytes up to the terminator are hashed, their count taken modulo 2^32. Null is the
 *         empty text.
 * output  the caller's buffer of at least 33 bytes; no more are written
 *
 * Returns kCifraSuccess; kCifraNotFound, with an empty output, when the library's own file, or the
 * object in it, cannot be obtained. */
uint32_t CalculateTextMd5(const char* text, char* output);

/* CalculateWideCharTextMd5 does the same for UTF-16 text, of which it hashes the UTF-8 form. Text
 * that the platform refuses to convert is hashed as the empty text. */
uint32_t CalculateWideCharTextMd5(const wchar_t* text, char* output);

/* The functions' types, for callers that resolve them with GetProcAddress. */
typedef uint32_t (*CifraTextCipherFunction)(const char* text, const char* key, char* destination,
                                            int32_t destinationSize);
typedef uint32_t (*CifraTextMd5Function)(const char* text, char* output);
typedef uint32_t (*CifraWideTextMd5Function)(const wchar_t* text, char* output);

#ifdef __cplusplus
}
#endif

#endif
