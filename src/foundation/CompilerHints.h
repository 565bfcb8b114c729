#pragma once

// Compiler hints for the few places where the compiler's own choice is measurably slower.
//
// KX_ALWAYS_INLINE replaces `inline`; KX_UNROLL_8 precedes a loop of eight iterations that is to be
// unrolled.
#if defined(_MSC_VER) && !defined(__clang__)
#define KX_ALWAYS_INLINE __forceinline
#define KX_UNROLL_8
#else
#define KX_ALWAYS_INLINE [[gnu::always_inline]] inline
#define KX_UNROLL_8 _Pragma("GCC unroll 8")
#endif
