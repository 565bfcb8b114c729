#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "support/Blowfish.h"
#include "support/Slots.h"

// The program's array allocations during the lifetime of a Watch. Those of the standard containers
// are not array allocations and are not watched.
namespace {

constexpr int kFill = 0xA5;

struct Block {
  void* address;
  std::size_t bytes;
  bool wasFreed;
  bool wasZeroWhenFreed;
};

struct Watch {
  Watch() { current = this; }
  ~Watch() { current = nullptr; }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  static inline Watch* current = nullptr;

  std::array<Block, 8> blocks{};
  std::size_t count = 0;
};

bool HoldsOnly(const void* memory, std::size_t bytes, int value) {
  const unsigned char* const begin = static_cast<const unsigned char*>(memory);
  return std::all_of(begin, begin + bytes, [value](unsigned char byte) { return byte == value; });
}

void Free(void* address) {
  if (Watch* const watch = Watch::current) {
    for (Block& block : watch->blocks) {
      if (block.address == address && !block.wasFreed) {
        block.wasFreed = true;
        block.wasZeroWhenFreed = HoldsOnly(address, block.bytes, 0);
      }
    }
  }
  std::free(address);
}

}  // namespace

void* operator new[](std::size_t bytes) {
  void* const address = std::malloc(bytes);
  if (!address) {
    throw std::bad_alloc();
  }
  Watch* const watch = Watch::current;
  if (watch && watch->count < watch->blocks.size()) {
    std::memset(address, kFill, bytes);
    watch->blocks[watch->count++] = {address, bytes, false, false};
  }
  return address;
}
void operator delete[](void* address) noexcept { Free(address); }
void operator delete[](void* address, std::size_t) noexcept { Free(address); }

namespace Cifra::Test {
namespace {

TEST(BlowfishMemory, Tables_AreAllocatedInOrderAndNotInitialised) {
  Watch watch;
  const class_blowfish engine;
  ASSERT_EQ(2u, watch.count);
  EXPECT_EQ(72u, watch.blocks[0].bytes);
  EXPECT_EQ(4096u, watch.blocks[1].bytes);
  EXPECT_TRUE(HoldsOnly(watch.blocks[0].address, 72, kFill));
  EXPECT_TRUE(HoldsOnly(watch.blocks[1].address, 4096, kFill));
}

TEST(BlowfishMemory, Tables_AreWipedBeforeTheyAreFreed) {
  Watch watch;
  {
    class_blowfish engine;
    SetKey(engine, FromText("key"));
  }
  ASSERT_EQ(2u, watch.count);
  for (const Block& block : {watch.blocks[0], watch.blocks[1]}) {
    EXPECT_TRUE(block.wasFreed);
    EXPECT_TRUE(block.wasZeroWhenFreed);
  }
}

TEST(BlowfishMemory, Engine_IsATableAndTwoPointers) {
  Watch watch;
  const class_blowfish engine;
  ASSERT_EQ(2u, watch.count);
  std::array<const void*, 3> fields;
  static_assert(sizeof(fields) == sizeof(engine));
  std::memcpy(fields.data(), static_cast<const void*>(&engine), sizeof(engine));
  EXPECT_EQ(watch.blocks[1].address, fields[1]);
  EXPECT_EQ(watch.blocks[0].address, fields[2]);
}

TEST(BlowfishMemory, SlotZero_IsTheDestructor) {
  Watch watch;
  alignas(class_blowfish) std::byte memory[sizeof(class_blowfish)];
  const auto* const engine = new (memory) class_blowfish;
  CallSlot<void>(engine, 0);
  ASSERT_EQ(2u, watch.count);
  EXPECT_TRUE(watch.blocks[0].wasFreed);
  EXPECT_TRUE(watch.blocks[1].wasFreed);
}

}  // namespace
}  // namespace Cifra::Test
