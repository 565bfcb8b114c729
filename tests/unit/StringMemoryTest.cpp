#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "support/Strings.h"

namespace Cifra::Test {
namespace {

constexpr std::uint32_t kGuard = 0xABCD;

template <typename Char>
class StringMemory : public testing::Test {
 protected:
  using WatchedText = WatchedString<Char>;

  static std::size_t BlockBytes(std::size_t capacity) {
    return sizeof(Char) == 2 ? 2 * capacity + 22 : capacity + 21;
  }

  TestMemory memory;
};
TYPED_TEST_SUITE(StringMemory, CharTypes, CharTypeName);

TYPED_TEST(StringMemory, Block_HasItsGuardsHeaderAndTerminatorsInPlace) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
  const BlockView<TypeParam> block(string);
  EXPECT_EQ(this->memory.blocks.at(block.Address()), this->BlockBytes(64));
  EXPECT_EQ(block.template At<std::uint32_t>(0), kGuard);
  EXPECT_EQ(this->memory.blocks.at(block.template At<void*>(4)), 40u);
  EXPECT_EQ(block.template At<std::uint32_t>(12), kGuard);
  EXPECT_EQ(block.template At<TypeParam>(16), TypeParam{'a'});
  EXPECT_EQ(block.template At<TypeParam>(16 + 5 * sizeof(TypeParam)), TypeParam{0});
  EXPECT_EQ(block.template At<TypeParam>(16 + 64 * sizeof(TypeParam)), TypeParam{0});
  EXPECT_EQ(block.template At<std::uint32_t>(block.TrailingGuardOffset(64)), kGuard);
}

TYPED_TEST(StringMemory, Header_HasItsFieldsInPlace) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
  const BlockView<TypeParam> block(string);
  EXPECT_EQ(block.template HeaderAt<void*>(0), &kx::defaultMemMgr<TestMemMgr>);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(8), 5u);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(16), 64u);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(24), 64u);
  EXPECT_EQ(block.template HeaderAt<std::uint8_t>(32), 1u);
  EXPECT_EQ(block.template HeaderAt<std::uint8_t>(33), 1u);
}

TYPED_TEST(StringMemory, FixedBuffer_HasTheSameLayoutAndOwnsNothing) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  const BlockView<TypeParam> block(string);
  EXPECT_EQ(block.template At<std::uint32_t>(0), kGuard);
  EXPECT_EQ(block.template At<std::uint32_t>(12), kGuard);
  EXPECT_EQ(block.template At<TypeParam>(16 + 260 * sizeof(TypeParam)), TypeParam{0});
  EXPECT_EQ(block.template At<std::uint32_t>(block.TrailingGuardOffset(260)), kGuard);
  EXPECT_EQ(block.template HeaderAt<void*>(0), &kx::defaultMemMgr<TestMemMgr>);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(8), 0u);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(16), 260u);
  EXPECT_EQ(block.template HeaderAt<std::size_t>(24), 260u);
  EXPECT_EQ(block.template HeaderAt<std::uint8_t>(32), 0u);
  EXPECT_EQ(block.template HeaderAt<std::uint8_t>(33), 0u);
}

TYPED_TEST(StringMemory, FirstBuffer_IsFilledWithZeros) {
  typename TestFixture::WatchedText string;
  ASSERT_TRUE(string.SetBuffer(100, false));
  EXPECT_EQ(std::count(string.CStr(), string.CStr() + 101, TypeParam{0}), 101);
}

TYPED_TEST(StringMemory, FirstHeapBufferAfterAFixedOne_IsFilledWithZerosBehindTheText) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  string = Letters<TypeParam>(260).c_str();
  ASSERT_TRUE(string.SetBuffer(400, true));
  EXPECT_EQ(std::count(string.CStr() + 260, string.CStr() + 401, TypeParam{0}), 141);
}

TYPED_TEST(StringMemory, Destruction_FreesBlockAndHeaderAndReleasesOnce) {
  {
    typename TestFixture::WatchedText string(Letters<TypeParam>(100).c_str());
    EXPECT_EQ(this->memory.blocks.size(), 2u);
    EXPECT_EQ(this->memory.releases, 0u);
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(this->memory.frees, 2u);
  EXPECT_EQ(this->memory.releases, 1u);
}

TYPED_TEST(StringMemory, UnsetString_AsksNothingOfTheManager) {
  {
    typename TestFixture::WatchedText string;
  }
  EXPECT_EQ(this->memory.allocations, 0u);
  EXPECT_EQ(this->memory.frees, 0u);
  EXPECT_EQ(this->memory.releases, 0u);
}

TYPED_TEST(StringMemory, FixedBuffer_AvoidsTheHeapFor260Characters) {
  kx::FixedStringBuffer<TypeParam> fixed;
  {
    typename TestFixture::WatchedText string(fixed);
    string = Letters<TypeParam>(260).c_str();
  }
  EXPECT_EQ(this->memory.allocations, 0u);
  EXPECT_EQ(this->memory.frees, 0u);
  EXPECT_EQ(this->memory.releases, 1u);
}

TYPED_TEST(StringMemory, FixedBufferOutgrown_FreesOnlyTheHeapBlock) {
  kx::FixedStringBuffer<TypeParam> fixed;
  {
    typename TestFixture::WatchedText string(fixed);
    string = Letters<TypeParam>(261).c_str();
    EXPECT_EQ(this->memory.blocks.size(), 1u);
    const BlockView<TypeParam> block(string);
    EXPECT_EQ(block.template HeaderAt<std::uint8_t>(32), 1u);
    EXPECT_EQ(block.template HeaderAt<std::uint8_t>(33), 0u);
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(this->memory.frees, 1u);
  EXPECT_EQ(this->memory.releases, 1u);
}

TYPED_TEST(StringMemory, Growth_ResizesTheBlockItHas) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  string = Letters<TypeParam>(65).c_str();
  EXPECT_EQ(this->memory.allocations, 2u);
  EXPECT_EQ(this->memory.reallocations, 1u);
  EXPECT_EQ(this->memory.blocks.at(BlockView<TypeParam>(string).Address()), this->BlockBytes(128));
}

TYPED_TEST(StringMemory, RefusedResize_IsDoneWithASecondBlock) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  this->memory.isReallocationRefused = true;
  ASSERT_TRUE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(64) + Text<TypeParam>("!"));
  EXPECT_EQ(this->memory.blocks.size(), 2u);
  EXPECT_EQ(this->memory.frees, 1u);
  EXPECT_EQ(this->memory.releases, 0u);
  ASSERT_TRUE(string.SetBuffer(10, true));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(10));
}

TYPED_TEST(StringMemory, NoMemoryToGrow_ReturnsFalseAndChangesNothing) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  this->memory.isReallocationRefused = true;
  this->memory.allocationsUntilFailure = 0;
  EXPECT_FALSE(string.Reserve(65));
  EXPECT_FALSE(string.SetBuffer(10, false));
  EXPECT_FALSE(string.Assign(Letters<TypeParam>(65).c_str()));
  EXPECT_FALSE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(64));
  EXPECT_EQ(string.Capacity(), 64u);
}

TYPED_TEST(StringMemory, NoMemoryToLeaveTheFixedBuffer_ReturnsFalseAndChangesNothing) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  string = Letters<TypeParam>(260).c_str();
  this->memory.allocationsUntilFailure = 0;
  EXPECT_FALSE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(260));
  EXPECT_EQ(string.Capacity(), 260u);
}

TYPED_TEST(StringMemory, NoMemoryForTheFirstBuffer_LeavesTheStringUnsetAndNothingBehind) {
  for (const std::size_t granted : {0u, 1u}) {
    typename TestFixture::WatchedText string;
    this->memory.allocationsUntilFailure = granted;
    EXPECT_FALSE(string.Assign(Text<TypeParam>("").c_str()));
    EXPECT_EQ(string.Capacity(), 0u);
    EXPECT_TRUE(this->memory.blocks.empty());
  }
}

TYPED_TEST(StringMemory, Move_LeavesOneOwnerOfTheBuffer) {
  {
    typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
    typename TestFixture::WatchedText moved(std::move(string));
    typename TestFixture::WatchedText assigned(Letters<TypeParam>(6).c_str());
    assigned = std::move(moved);
    EXPECT_EQ(this->memory.blocks.size(), 2u);
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(this->memory.releases, 2u);
}

TYPED_TEST(StringMemory, EveryOperation_LeavesNoMemoryBehind) {
  {
    typename TestFixture::WatchedText string;
    for (std::size_t length = 0; length < 3000; length += 37) {
      string = Letters<TypeParam>(length).c_str();
      typename TestFixture::WatchedText copy(string);
      EXPECT_TRUE(copy.Append(string.CStr(), string.Length()));
      string = copy;
    }
  }
  EXPECT_TRUE(this->memory.blocks.empty());
}

}  // namespace
}  // namespace Cifra::Test
