#pragma once

namespace kx {

// Opaque returns its argument, an integer or a pointer in a register, and keeps the compiler from
// knowing so: it can neither look through the value nor calculate with it in advance. It costs no
// instruction. A compiler without such a means gets the plain value, which is as correct.
template <typename Value>
inline Value Opaque(Value value) {
#if defined(__GNUC__)
  asm("" : "+r"(value));
#endif
  return value;
}

}  // namespace kx
