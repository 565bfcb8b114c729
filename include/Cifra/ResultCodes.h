#ifndef CIFRA_RESULT_CODES_H
#define CIFRA_RESULT_CODES_H

/* The result codes are defined with the containers that return them; this is the name under which
 * callers include them. This header is valid C and C++. */
#include "foundation/ResultCodes.h"

#endif
