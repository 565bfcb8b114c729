#ifndef CIFRA_FOUNDATION_RESULT_CODES_H
#define CIFRA_FOUNDATION_RESULT_CODES_H

/* The Windows error codes that Cifra itself returns. File operations also return the platform's
 * codes, from GetLastError. This header is valid C and C++. */
enum CifraResult {
  kCifraSuccess = 0,
  /* ERROR_INVALID_PARAMETER: an unusable argument, such as a null key. */
  kCifraInvalidParameter = 87,
  /* ERROR_INSUFFICIENT_BUFFER: the result does not fit into the caller's buffer. */
  kCifraInsufficientBuffer = 122,
  /* ERROR_ALREADY_EXISTS: the key is already present. */
  kCifraAlreadyExists = 183,
  /* ERROR_NOT_FOUND: no such object, interface or element. */
  kCifraNotFound = 1168,
  /* ERROR_FUNCTION_FAILED: a text that is not Base64, or too long for the buffer. */
  kCifraFunctionFailed = 1627
};

#endif
