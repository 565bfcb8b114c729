#pragma once

namespace kx {

// ValueBarrier returns its argument, an integer or a pointer in a register, but stops the compiler
// from reasoning about it: it neither folds the value nor computes it ahead of time. It costs no
// instruction. Compilers without inline assembly get the plain value, which is just as correct.
template <typename Value>
inline Value ValueBarrier(Value value) {
#if defined(__GNUC__)
  asm("" : "+r"(value));
#endif
  return value;
}

}  // namespace kx
