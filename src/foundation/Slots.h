#pragma once

// KX_SLOTS lists the overloads of one name in the order of their virtual-table slots.
//
// The Itanium C++ ABI lays overloads out in their order of declaration, the Microsoft C++ ABI in
// the reverse of it. A table that both must read the same way is therefore declared in the order
// that the compiler at hand needs. Overloads of one name always stand together in one KX_SLOTS.
#ifdef _MSC_VER
#define KX_SLOTS_2(first, second) \
  second;                         \
  first
#define KX_SLOTS_3(first, second, third) \
  third;                                 \
  second;                                \
  first
#else
#define KX_SLOTS_2(first, second) \
  first;                          \
  second
#define KX_SLOTS_3(first, second, third) \
  first;                                 \
  second;                                \
  third
#endif
