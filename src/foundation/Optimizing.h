#pragma once

// Words to the compiler, for the few places where its own judgement costs speed.
//
// KX_ALWAYS_INLINE stands in the place of `inline`; KX_UNROLL_8 stands before a loop of eight turns
// that are to be written out.
#if defined(_MSC_VER) && !defined(__clang__)
#define KX_ALWAYS_INLINE __forceinline
#define KX_UNROLL_8
#else
#define KX_ALWAYS_INLINE [[gnu::always_inline]] inline
#define KX_UNROLL_8 _Pragma("GCC unroll 8")
#endif
