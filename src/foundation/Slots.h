#pragma once

// KX_SLOTS declares the virtual overloads of one name in the order of their slots.
//
// The Itanium C++ ABI lays overloads out in order of declaration, the Microsoft C++ ABI in reverse.
// The macro therefore declares them in the order that gives both the same table. All overloads of
// a name go into one KX_SLOTS.
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
