#include "support/CountedHeap.h"

#include <atomic>
#include <cstdlib>

namespace Cifra::Test {
namespace {

constexpr int kNever = -1;

std::atomic<long> liveBlocks{0};
// Tested first: under Wine for ARM64 the register of thread-local variables may be lost when the
// library allocates.
std::atomic<bool> failureIsOrdered{false};
thread_local int allocationsUntilFailure = kNever;

bool MustFail() {
  if (!failureIsOrdered || allocationsUntilFailure == kNever) {
    return false;
  }
  return allocationsUntilFailure-- == 0;
}

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

void CountedHeap::FailAfter(int succeeding) {
  allocationsUntilFailure = succeeding;
  failureIsOrdered = true;
}

void CountedHeap::FailNever() {
  failureIsOrdered = false;
  allocationsUntilFailure = kNever;
}

}  // namespace Cifra::Test
