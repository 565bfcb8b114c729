#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <string>

#include "foundation/string/MemMgr.h"
#include "foundation/string/StringT.h"

namespace Cifra::Test {

// The calls of a TestMemMgr, and those that it is to refuse.
struct MemoryLog {
  std::map<void*, std::size_t> blocks;  // live, with their sizes
  std::size_t allocations = 0;
  std::size_t reallocations = 0;
  std::size_t frees = 0;
  std::size_t releases = 0;
  std::string order;  // of what was freed: b for a block, h for a header, r for Release
  std::size_t allocationsUntilFailure = static_cast<std::size_t>(-1);
  bool isReallocationRefused = false;

  void* Track(void* block, std::size_t bytes) {
    blocks[block] = bytes;
    return block;
  }
};

// TestMemMgr is a string's memory manager that fails on request and records its calls in the
// MemoryLog of the current TestMemory. New memory is filled with a pattern.
class TestMemMgr final : public kx::IMemMgr {
 public:
  void* Allocate(std::size_t bytes) override {
    if (log->allocationsUntilFailure == 0) {
      return nullptr;
    }
    --log->allocationsUntilFailure;
    ++log->allocations;
    void* const block = std::malloc(bytes);
    if (!block) {
      throw std::bad_alloc();
    }
    return log->Track(std::memset(block, 0xEE, bytes), bytes);
  }

  void* Reallocate(void* block, std::size_t bytes) override {
    if (log->isReallocationRefused) {
      return nullptr;
    }
    ++log->reallocations;
    log->blocks.erase(block);
    return log->Track(std::realloc(block, bytes), bytes);
  }

  void Free(void* block) override {
    ++log->frees;
    log->order += log->blocks.at(block) == sizeof(kx::StringHeader) ? 'h' : 'b';
    log->blocks.erase(block);
    std::free(block);
  }

  void Release() override {
    ++log->releases;
    log->order += 'r';
  }

  static inline MemoryLog* log = nullptr;
};

// TestMemory holds the record of one test.
struct TestMemory : MemoryLog {
  TestMemory() { TestMemMgr::log = this; }
  ~TestMemory() { TestMemMgr::log = nullptr; }
  TestMemory(const TestMemory&) = delete;
  TestMemory& operator=(const TestMemory&) = delete;
};

}  // namespace Cifra::Test
