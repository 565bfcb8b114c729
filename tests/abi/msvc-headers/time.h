#pragma once

// What Wine's time.h lacks.
#include_next <time.h>

#ifdef __cplusplus
extern "C"
#endif
    __time64_t
    _mkgmtime64(struct tm* time);
