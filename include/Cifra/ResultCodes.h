#ifndef CIFRA_RESULT_CODES_H
#define CIFRA_RESULT_CODES_H

/* The result codes, for callers. They are defined in the foundation, whose containers return them.
 * This header is valid C and C++. */
#include "foundation/ResultCodes.h"

#endif
