#pragma once

#include <cstddef>
#include <cstdlib>

namespace kx {

// IMemMgr gives a string its memory. Sizes are in bytes. A block that one module's string got from
// its manager may be resized and freed by another module, because it is done through this table.
class IMemMgr {
 public:
  // Returns a block of at least `bytes` bytes, or null.
  virtual void* Allocate(std::size_t bytes) = 0;
  // Resizes a block and keeps what fits of its content; a null block allocates. Returns null, and
  // leaves the block as it was, when there is no memory.
  virtual void* Reallocate(void* block, std::size_t bytes) = 0;
  // Gives a block back; null is ignored.
  virtual void Free(void* block) = 0;
  // Tells the manager that a string gave its buffer back; called once for each string destroyed.
  virtual void Release() = 0;

 protected:
  ~IMemMgr() = default;
};

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
// GCC believes that a buffer in the caller's frame could get here; a string's ownsBuffer says no.
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#endif

// StringMemMgr is the manager of every string that names no other: the C runtime's heap.
class StringMemMgr final : public IMemMgr {
 public:
  void* Allocate(std::size_t bytes) override { return std::malloc(bytes); }
  void* Reallocate(void* block, std::size_t bytes) override { return std::realloc(block, bytes); }
  void Free(void* block) override { std::free(block); }
  void Release() override {}
};

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

// defaultMemMgr is the one instance of a manager in this module. It is built before any code runs
// and never destroyed, so that static strings may use it at any time.
template <typename MemMgr>
inline constinit MemMgr defaultMemMgr{};

}  // namespace kx
