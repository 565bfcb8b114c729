#pragma once

// KX_ALWAYS_INLINE stands in the place of `inline` where the compiler's own judgement costs speed.
#if defined(_MSC_VER) && !defined(__clang__)
#define KX_ALWAYS_INLINE __forceinline
#else
#define KX_ALWAYS_INLINE [[gnu::always_inline]] inline
#endif
