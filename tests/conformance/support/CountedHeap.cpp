#include "support/CountedHeap.h"

#include <atomic>
#include <cstdlib>

namespace Cifra::Test {
namespace {

constexpr int kNever = -1;

std::atomic<long> liveBlocks{0};
thread_local int allocationsUntilFailure = kNever;

bool MustFail() { return allocationsUntilFailure != kNever && allocationsUntilFailure-- == 0; }

void* Allocate(std::size_t bytes) {
  void* block = MustFail() ? nullptr : std::malloc(bytes);
  liveBlocks += block ? 1 : 0;
  return block;
}

// Compilers turn a zeroed allocation into this call.
void* AllocateZeroed(std::size_t count, std::size_t bytes) {
  void* block = MustFail() ? nullptr : std::calloc(count, bytes);
  liveBlocks += block ? 1 : 0;
  return block;
}

void* Reallocate(void* block, std::size_t bytes) {
  if (MustFail()) {
    return nullptr;
  }
  void* moved = std::realloc(block, bytes);
  liveBlocks += moved && !block ? 1 : 0;
  return moved;
}

void Free(void* block) {
  liveBlocks -= block ? 1 : 0;
  std::free(block);
}

}  // namespace

CountedHeap::CountedHeap(HMODULE module)
    : allocate(module, "malloc", &Allocate),
      allocateZeroed(module, "calloc", &AllocateZeroed),
      reallocate(module, "realloc", &Reallocate),
      free(module, "free", &Free) {
  liveBlocks = 0;
  FailNever();
}

CountedHeap::~CountedHeap() { FailNever(); }

long CountedHeap::LiveBlocks() const { return liveBlocks; }

void CountedHeap::FailAfter(int succeeding) { allocationsUntilFailure = succeeding; }

void CountedHeap::FailNever() { allocationsUntilFailure = kNever; }

}  // namespace Cifra::Test
