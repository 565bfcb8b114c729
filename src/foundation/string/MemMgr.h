#pragma once

#include <cstddef>
#include <cstdlib>

namespace kx {

// IMemMgr allocates the memory of strings. Sizes are in bytes. A module may resize and free a block
// that another module's manager allocated, because it calls that manager through its table.
class IMemMgr {
 public:
  // Returns a block of at least `bytes` bytes, or null.
  virtual void* Allocate(std::size_t bytes) = 0;
  // Resizes a block, keeping as much of its content as fits; a null block allocates. Returns null,
  // leaving the block unchanged, when there is no memory.
  virtual void* Reallocate(void* block, std::size_t bytes) = 0;
  // Frees a block; null is ignored.
  virtual void Free(void* block) = 0;
  // Called once for each destroyed string that had a buffer, its own or one in the caller's frame.
  virtual void Release() = 0;

 protected:
  ~IMemMgr() = default;
};

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
// False positive for a FixedStringBuffer: ownsBuffer guards it.
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#endif

// StringMemMgr is the default manager: the heap of the module's own C runtime.
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

// defaultMemMgr is this module's instance of a manager. It is constant-initialised and never
// destroyed: static strings may use it at any time.
#ifdef __cpp_constinit
template <typename MemMgr>
inline constinit MemMgr defaultMemMgr{};
#else
template <typename MemMgr>
inline MemMgr defaultMemMgr{};
#endif

}  // namespace kx
