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
  EXPECT_EQ(this->BlockBytes(64), this->memory.blocks.at(block.Address()));
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(0));
  EXPECT_EQ(40u, this->memory.blocks.at(block.template At<void*>(4)));
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(12));
  EXPECT_EQ(TypeParam{'a'}, block.template At<TypeParam>(16));
  EXPECT_EQ(TypeParam{0}, block.template At<TypeParam>(16 + 5 * sizeof(TypeParam)));
  EXPECT_EQ(TypeParam{0}, block.template At<TypeParam>(16 + 64 * sizeof(TypeParam)));
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(block.TrailingGuardOffset(64)));
}

TYPED_TEST(StringMemory, Header_HasItsFieldsInPlace) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
  const BlockView<TypeParam> block(string);
  EXPECT_EQ(&kx::defaultMemMgr<TestMemMgr>, block.template HeaderAt<void*>(0));
  EXPECT_EQ(5u, block.template HeaderAt<std::size_t>(8));
  EXPECT_EQ(64u, block.template HeaderAt<std::size_t>(16));
  EXPECT_EQ(64u, block.template HeaderAt<std::size_t>(24));
  EXPECT_EQ(1u, block.template HeaderAt<std::uint8_t>(32));
  EXPECT_EQ(1u, block.template HeaderAt<std::uint8_t>(33));
}

TYPED_TEST(StringMemory, FixedBuffer_HasTheSameLayoutAndOwnsNothing) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  const BlockView<TypeParam> block(string);
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(0));
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(12));
  EXPECT_EQ(TypeParam{0}, block.template At<TypeParam>(16 + 260 * sizeof(TypeParam)));
  EXPECT_EQ(kGuard, block.template At<std::uint32_t>(block.TrailingGuardOffset(260)));
  EXPECT_EQ(&kx::defaultMemMgr<TestMemMgr>, block.template HeaderAt<void*>(0));
  EXPECT_EQ(0u, block.template HeaderAt<std::size_t>(8));
  EXPECT_EQ(260u, block.template HeaderAt<std::size_t>(16));
  EXPECT_EQ(260u, block.template HeaderAt<std::size_t>(24));
  EXPECT_EQ(0u, block.template HeaderAt<std::uint8_t>(32));
  EXPECT_EQ(0u, block.template HeaderAt<std::uint8_t>(33));
}

TYPED_TEST(StringMemory, FirstBuffer_IsFilledWithZeros) {
  typename TestFixture::WatchedText string;
  ASSERT_TRUE(string.SetBuffer(100, false));
  EXPECT_EQ(101, std::count(string.CStr(), string.CStr() + 101, TypeParam{0}));
}

TYPED_TEST(StringMemory, FirstHeapBufferAfterAFixedOne_IsZeroedAfterTheText) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  string = Letters<TypeParam>(260).c_str();
  ASSERT_TRUE(string.SetBuffer(400, true));
  EXPECT_EQ(141, std::count(string.CStr() + 260, string.CStr() + 401, TypeParam{0}));
}

TYPED_TEST(StringMemory, Destruction_FreesBlockAndHeaderAndReleasesOnce) {
  {
    typename TestFixture::WatchedText string(Letters<TypeParam>(100).c_str());
    EXPECT_EQ(2u, this->memory.blocks.size());
    EXPECT_EQ(0u, this->memory.releases);
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(2u, this->memory.frees);
  EXPECT_EQ(1u, this->memory.releases);
}

TYPED_TEST(StringMemory, Destruction_FreesTheBlockThenTheHeaderThenReleases) {
  {
    typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
  }
  EXPECT_EQ("bhr", this->memory.order);
}

TYPED_TEST(StringMemory, MoveFromAnotherManager_CopiesTheText) {
  static TestMemMgr another;
  typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
  kx::IMemMgr* const manager = &another;
  std::memcpy(BlockView<TypeParam>(string).template At<void*>(4), &manager, sizeof(manager));
  const TypeParam* const text = string.CStr();
  const typename TestFixture::WatchedText moved(std::move(string));
  EXPECT_NE(text, moved.CStr());
  EXPECT_EQ(Letters<TypeParam>(5), TextOf(moved));
  EXPECT_EQ(text, string.CStr()) << "the other manager's buffer stays where it was";
}

TYPED_TEST(StringMemory, UnsetString_AsksNothingOfTheManager) {
  {
    typename TestFixture::WatchedText string;
  }
  EXPECT_EQ(0u, this->memory.allocations);
  EXPECT_EQ(0u, this->memory.frees);
  EXPECT_EQ(0u, this->memory.releases);
}

TYPED_TEST(StringMemory, FixedBuffer_AvoidsTheHeapFor260Characters) {
  kx::FixedStringBuffer<TypeParam> fixed;
  {
    typename TestFixture::WatchedText string(fixed);
    string = Letters<TypeParam>(260).c_str();
  }
  EXPECT_EQ(0u, this->memory.allocations);
  EXPECT_EQ(0u, this->memory.frees);
  EXPECT_EQ(1u, this->memory.releases);
}

TYPED_TEST(StringMemory, FixedBufferOutgrown_FreesOnlyTheHeapBlock) {
  kx::FixedStringBuffer<TypeParam> fixed;
  {
    typename TestFixture::WatchedText string(fixed);
    string = Letters<TypeParam>(261).c_str();
    EXPECT_EQ(1u, this->memory.blocks.size());
    const BlockView<TypeParam> block(string);
    EXPECT_EQ(1u, block.template HeaderAt<std::uint8_t>(32));
    EXPECT_EQ(0u, block.template HeaderAt<std::uint8_t>(33));
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(1u, this->memory.frees);
  EXPECT_EQ(1u, this->memory.releases);
}

TYPED_TEST(StringMemory, Growth_ResizesTheBlockItHas) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  string = Letters<TypeParam>(65).c_str();
  EXPECT_EQ(2u, this->memory.allocations);
  EXPECT_EQ(1u, this->memory.reallocations);
  EXPECT_EQ(this->BlockBytes(128), this->memory.blocks.at(BlockView<TypeParam>(string).Address()));
}

TYPED_TEST(StringMemory, RefusedResize_IsDoneWithASecondBlock) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  this->memory.isReallocationRefused = true;
  ASSERT_TRUE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(Letters<TypeParam>(64) + Text<TypeParam>("!"), TextOf(string));
  EXPECT_EQ(2u, this->memory.blocks.size());
  EXPECT_EQ(1u, this->memory.frees);
  EXPECT_EQ(0u, this->memory.releases);
  ASSERT_TRUE(string.SetBuffer(10, true));
  EXPECT_EQ(Letters<TypeParam>(10), TextOf(string));
}

TYPED_TEST(StringMemory, NoMemoryToGrow_ReturnsFalseAndChangesNothing) {
  typename TestFixture::WatchedText string(Letters<TypeParam>(64).c_str());
  this->memory.isReallocationRefused = true;
  this->memory.allocationsUntilFailure = 0;
  EXPECT_FALSE(string.Reserve(65));
  EXPECT_FALSE(string.SetBuffer(10, false));
  EXPECT_FALSE(string.Assign(Letters<TypeParam>(65).c_str()));
  EXPECT_FALSE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(Letters<TypeParam>(64), TextOf(string));
  EXPECT_EQ(64u, string.Capacity());
}

TYPED_TEST(StringMemory, NoMemoryToLeaveTheFixedBuffer_ReturnsFalseAndChangesNothing) {
  kx::FixedStringBuffer<TypeParam> fixed;
  typename TestFixture::WatchedText string(fixed);
  string = Letters<TypeParam>(260).c_str();
  this->memory.allocationsUntilFailure = 0;
  EXPECT_FALSE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_EQ(Letters<TypeParam>(260), TextOf(string));
  EXPECT_EQ(260u, string.Capacity());
}

TYPED_TEST(StringMemory, NoMemoryForTheFirstBuffer_LeavesTheStringUnset) {
  for (const std::size_t granted : {0u, 1u}) {
    typename TestFixture::WatchedText string;
    this->memory.allocationsUntilFailure = granted;
    EXPECT_FALSE(string.Assign(Text<TypeParam>("").c_str()));
    EXPECT_EQ(0u, string.Capacity());
    EXPECT_TRUE(this->memory.blocks.empty());
  }
}

TYPED_TEST(StringMemory, Move_LeavesOneOwnerOfTheBuffer) {
  {
    typename TestFixture::WatchedText string(Letters<TypeParam>(5).c_str());
    typename TestFixture::WatchedText moved(std::move(string));
    typename TestFixture::WatchedText assigned(Letters<TypeParam>(6).c_str());
    assigned = std::move(moved);
    EXPECT_EQ(2u, this->memory.blocks.size());
  }
  EXPECT_TRUE(this->memory.blocks.empty());
  EXPECT_EQ(2u, this->memory.releases);
}

TYPED_TEST(StringMemory, EveryOperation_LeaksNoMemory) {
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
