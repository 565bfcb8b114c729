#pragma once

// Where Wine's math.h has macros, the Microsoft C++ library has functions, and libc++ relies on
// them.
#include_next <math.h>

#undef isinf
#undef isnan
#ifdef __cplusplus
extern "C++" {
inline bool isinf(double value) { return __builtin_isinf(value); }
inline bool isnan(double value) { return __builtin_isnan(value); }
}
#endif
