#ifndef CIFRA_FOUNDATION_RESULT_CODES_H
#define CIFRA_FOUNDATION_RESULT_CODES_H

/* The Windows error codes that Cifra returns by itself. File operations return further codes of the
 * platform as they come from GetLastError. This header is valid C and C++. */
enum CifraResult {
  kCifraSuccess = 0,
  /* ERROR_INVALID_PARAMETER: an argument that the function cannot work with, such as no key. */
  kCifraInvalidParameter = 87,
  /* ERROR_INSUFFICIENT_BUFFER: the result does not fit the caller's buffer. */
  kCifraInsufficientBuffer = 122,
  /* ERROR_ALREADY_EXISTS: the key to be added is present. */
  kCifraAlreadyExists = 183,
  /* ERROR_NOT_FOUND: no such object, interface or element. */
  kCifraNotFound = 1168,
  /* ERROR_FUNCTION_FAILED: a text that is not Base64, or more of it than there is room for. */
  kCifraFunctionFailed = 1627
};

#endif
