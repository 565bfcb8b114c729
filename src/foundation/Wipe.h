#pragma once

#include <cstddef>
#include <cstring>

namespace kx {

// Wipe fills memory with zeros, even where the compiler can see that it is never read again.
inline void Wipe(void* memory, std::size_t bytes) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  for (volatile unsigned char* p = static_cast<unsigned char*>(memory); bytes > 0; --bytes) {
    *p++ = 0;
  }
#else
  std::memset(memory, 0, bytes);
  asm volatile("" : : "r"(memory) : "memory");
#endif
}

}  // namespace kx
