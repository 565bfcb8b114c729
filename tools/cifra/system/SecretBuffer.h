#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace client {

// SecretBuffer holds secrets: it is zeroed on destruction.
template <typename Unit, std::size_t Count>
class SecretBuffer {
 public:
  SecretBuffer() = default;
  ~SecretBuffer() { SecureZeroMemory(units, sizeof(units)); }
  SecretBuffer(const SecretBuffer&) = delete;
  SecretBuffer& operator=(const SecretBuffer&) = delete;

  Unit* Data() { return units; }
  std::span<Unit, Count> All() { return units; }

 private:
  Unit units[Count]{};
};

}  // namespace client
