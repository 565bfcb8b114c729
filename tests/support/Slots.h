#pragma once

#include <cstddef>
#include <cstring>

namespace Cifra::Test {

// The function in a slot of an object's virtual table, as seen by a caller that knows only the
// table; its first argument is the object.
template <typename Signature>
Signature* FunctionInSlot(const void* object, std::size_t slot) {
  void* const* table;
  std::memcpy(&table, object, sizeof(table));
  return reinterpret_cast<Signature*>(table[slot]);
}

// Calls an operation by its slot.
template <typename Result, typename... Arguments>
#if defined(__clang__)
__attribute__((no_sanitize("function")))  // the table's types differ from the caller's
#endif
Result
CallSlot(const void* object, std::size_t slot, Arguments... arguments) {
  return FunctionInSlot<Result(const void*, Arguments...)>(object, slot)(object, arguments...);
}

}  // namespace Cifra::Test
