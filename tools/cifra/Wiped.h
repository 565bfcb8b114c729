#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace client {

// Wiped is room for what must not stay in memory: it is overwritten when it goes.
template <typename Unit, std::size_t Count>
class Wiped {
 public:
  Wiped() = default;
  ~Wiped() { SecureZeroMemory(units, sizeof(units)); }
  Wiped(const Wiped&) = delete;
  Wiped& operator=(const Wiped&) = delete;

  Unit* Data() { return units; }
  std::span<Unit, Count> All() { return units; }

 private:
  Unit units[Count]{};
};

}  // namespace client
