#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX  // GCC's library has set it already
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace Cifra::Test {

// GuardedPages is memory between two pages that cannot be touched: a step beyond either end faults,
// by reading too, on every build and in assembly as well.
class GuardedPages {
 public:
  static constexpr std::size_t kBytes = 4096;

  GuardedPages() {
#ifdef _WIN32
    all = VirtualAlloc(nullptr, 3 * kBytes, MEM_RESERVE, PAGE_NOACCESS);
    if (!all || !VirtualAlloc(Middle(), kBytes, MEM_COMMIT, PAGE_READWRITE)) {
      throw std::bad_alloc();
    }
#else
    all = mmap(nullptr, 3 * kBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED || mprotect(Middle(), kBytes, PROT_READ | PROT_WRITE) != 0) {
      throw std::bad_alloc();
    }
#endif
  }
  ~GuardedPages() {
#ifdef _WIN32
    VirtualFree(all, 0, MEM_RELEASE);
#else
    munmap(all, 3 * kBytes);
#endif
  }
  GuardedPages(const GuardedPages&) = delete;
  GuardedPages& operator=(const GuardedPages&) = delete;

  std::uint8_t* Front() { return Middle(); }
  // The last bytes before the page that cannot be touched.
  std::uint8_t* Back(std::size_t bytes) { return Middle() + kBytes - bytes; }

 private:
  std::uint8_t* Middle() { return static_cast<std::uint8_t*>(all) + kBytes; }

  void* all;
};

}  // namespace Cifra::Test
