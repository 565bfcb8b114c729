#include <gtest/gtest.h>

#include <utility>

#include "foundation/string/StringT.h"
#include "support/Strings.h"

namespace Cifra::Test {
namespace {

template <typename Char>
class StringT : public testing::Test {};
TYPED_TEST_SUITE(StringT, CharTypes, CharTypeName);

TYPED_TEST(StringT, Unset_ReadsAsTheEmptyText) {
  const String<TypeParam> string;
  EXPECT_EQ(string.Length(), 0u);
  EXPECT_EQ(string.Capacity(), 0u);
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(TextOf(string), Text<TypeParam>(""));
}

TYPED_TEST(StringT, AssignEmptyToUnset_AllocatesCapacity64) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Assign(Text<TypeParam>("").c_str()));
  EXPECT_EQ(string.Capacity(), 64u);
  EXPECT_EQ(string.Length(), 0u);
}

TYPED_TEST(StringT, AssignNull_EmptiesTheText) {
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  EXPECT_TRUE(string.Assign(nullptr));
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(string.Capacity(), 64u);
  EXPECT_TRUE(string.Assign(nullptr, 7));
  EXPECT_EQ(TextOf(string), Text<TypeParam>(""));
  String<TypeParam> unset;
  EXPECT_TRUE(unset.Assign(nullptr));
  EXPECT_EQ(unset.Capacity(), 64u);
}

TYPED_TEST(StringT, AssignCount_TakesThatManyCharactersWithTheirZeros) {
  std::basic_string<TypeParam> source = Letters<TypeParam>(10);
  source[4] = 0;
  String<TypeParam> string;
  EXPECT_TRUE(string.Assign(source.data(), 7));
  EXPECT_EQ(TextOf(string), source.substr(0, 7));
  EXPECT_TRUE(string.Assign(source.data()));
  EXPECT_EQ(TextOf(string), source.substr(0, 4));
}

TYPED_TEST(StringT, AssignOwnPointer_DoesNothing) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  EXPECT_TRUE(string.Assign(string.CStr(), 3));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(10));
}

TYPED_TEST(StringT, AssignFromInsideItself_MovesTheText) {
  String<TypeParam> string(Letters<TypeParam>(20).c_str());
  EXPECT_TRUE(string.Assign(string.CStr() + 5, 10));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(15).substr(5));
}

TYPED_TEST(StringT, Assignment_TakesPointersAndStrings) {
  const std::basic_string<TypeParam> source = Letters<TypeParam>(100);
  String<TypeParam> string;
  string = source.c_str();
  EXPECT_EQ(TextOf(string), source);
  String<TypeParam> copy;
  copy = string;
  EXPECT_EQ(TextOf(copy), source);
  EXPECT_NE(copy.CStr(), string.CStr());
  const TypeParam* const null = nullptr;
  string = null;
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(TextOf(copy), source);
}

TYPED_TEST(StringT, AssignmentOfAString_TakesItsLengthWithItsZeros) {
  std::basic_string<TypeParam> source = Letters<TypeParam>(10);
  source[3] = 0;
  const String<TypeParam> string(source.data(), source.size());
  String<TypeParam> copy;
  copy = string;
  EXPECT_EQ(TextOf(copy), source);
  EXPECT_EQ(TextOf(String<TypeParam>(string)), source);
}

TYPED_TEST(StringT, SelfAssignment_DoesNothing) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  const TypeParam* const text = string.CStr();
  const String<TypeParam>& self = string;
  string = self;
  EXPECT_EQ(string.CStr(), text);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(10));
}

TYPED_TEST(StringT, AssignmentOfAnUnsetString_EmptiesTheText) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  string = String<TypeParam>(string);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(10));
  const String<TypeParam> unset;
  string = unset;
  EXPECT_TRUE(string.IsEmpty());
}

TYPED_TEST(StringT, CopyOfAnUnsetString_IsUnset) {
  const String<TypeParam> unset;
  const String<TypeParam> copy(unset);
  EXPECT_EQ(copy.Capacity(), 0u);
}

TYPED_TEST(StringT, Move_TakesTheBufferOver) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  const TypeParam* const text = string.CStr();
  String<TypeParam> moved(std::move(string));
  EXPECT_EQ(moved.CStr(), text);
  String<TypeParam> assigned(Letters<TypeParam>(3).c_str());
  assigned = std::move(moved);
  EXPECT_EQ(assigned.CStr(), text);
  EXPECT_EQ(TextOf(assigned), Letters<TypeParam>(10));
}

TYPED_TEST(StringT, Append_AddsBehindTheText) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Append(Text<TypeParam>("abc").c_str()));
  EXPECT_TRUE(string.Append(Text<TypeParam>("defgh").c_str(), 2));
  EXPECT_TRUE(string.Append(nullptr));
  EXPECT_TRUE(string.Append(Text<TypeParam>("").c_str()));
  EXPECT_EQ(TextOf(string), Text<TypeParam>("abcde"));
}

TYPED_TEST(StringT, AppendOfItself_DoublesTheTextAcrossAGrowth) {
  const std::basic_string<TypeParam> source = Letters<TypeParam>(50);
  String<TypeParam> string(source.c_str());
  EXPECT_TRUE(string.Append(string.CStr(), string.Length()));
  EXPECT_EQ(TextOf(string), source + source);
}

TYPED_TEST(StringT, Growth_DoublesBelow1024AndThenAddsAtLeast1024) {
  const auto grown = [](std::size_t from, std::size_t to) {
    String<TypeParam> string;
    EXPECT_TRUE(string.SetBuffer(from, false));
    EXPECT_TRUE(string.Assign(Letters<TypeParam>(to).c_str()));
    EXPECT_EQ(TextOf(string), Letters<TypeParam>(to));
    return string.Capacity();
  };
  EXPECT_EQ(grown(64, 64), 64u);
  EXPECT_EQ(grown(64, 65), 128u);
  EXPECT_EQ(grown(64, 129), 129u);
  EXPECT_EQ(grown(64, 1000), 1000u);
  EXPECT_EQ(grown(10, 11), 74u);
  EXPECT_EQ(grown(100, 101), 200u);
  EXPECT_EQ(grown(1023, 1024), 2046u);
  EXPECT_EQ(grown(1024, 1025), 2048u);
  EXPECT_EQ(grown(2048, 2049), 3072u);
  EXPECT_EQ(grown(2048, 5000), 5000u);
}

TYPED_TEST(StringT, Reserve_KeepsTheTextAndNeverShrinks) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Reserve(0));
  EXPECT_EQ(string.Capacity(), 64u);
  string = Letters<TypeParam>(60).c_str();
  EXPECT_TRUE(string.Reserve(500));
  EXPECT_EQ(string.Capacity(), 500u);
  EXPECT_TRUE(string.Reserve(10));
  EXPECT_EQ(string.Capacity(), 500u);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(60));
}

TYPED_TEST(StringT, ReserveOfAnUnsetString_GivesWhatIsAskedFromCapacity64On) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Reserve(65));
  EXPECT_EQ(string.Capacity(), 65u);
}

TYPED_TEST(StringT, ReserveOfABufferOfNoCapacity_Grows) {
  String<TypeParam> string;
  EXPECT_TRUE(string.SetBuffer(0, false));
  EXPECT_EQ(string.Capacity(), 0u);
  EXPECT_EQ(TextOf(string), Text<TypeParam>(""));
  EXPECT_TRUE(string.Reserve(0));
  EXPECT_EQ(string.Capacity(), 64u);
}

TYPED_TEST(StringT, SetBuffer_HasExactlyTheCapacityAndCutsTheText) {
  String<TypeParam> string(Letters<TypeParam>(50).c_str());
  EXPECT_TRUE(string.SetBuffer(100, true));
  EXPECT_EQ(string.Capacity(), 100u);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(50));
  EXPECT_TRUE(string.SetBuffer(20, true));
  EXPECT_EQ(string.Capacity(), 20u);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(20));
  EXPECT_TRUE(string.SetBuffer(30, false));
  EXPECT_EQ(string.Capacity(), 30u);
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(string.CStr()[0], TypeParam{0});
}

TYPED_TEST(StringT, CapacityBeyondAllMemory_IsRefusedAndChangesNothing) {
  constexpr std::size_t kHuge = static_cast<std::size_t>(-1);
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  EXPECT_FALSE(string.SetBuffer(kHuge, true));
  EXPECT_FALSE(string.SetBuffer(kHuge / sizeof(TypeParam) - 9, true));
  EXPECT_FALSE(string.Reserve(kHuge));
  EXPECT_FALSE(string.Append(string.CStr(), kHuge - 1));
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(5));
  EXPECT_EQ(string.Capacity(), 64u);
}

TYPED_TEST(StringT, GetBuffer_LendsTheBufferWithTheText) {
  String<TypeParam> string(Letters<TypeParam>(3).c_str());
  TypeParam* const buffer = string.GetBuffer(200);
  EXPECT_EQ(string.Capacity(), 200u);
  EXPECT_EQ(std::basic_string<TypeParam>(buffer), Letters<TypeParam>(3));
  std::fill_n(buffer, 200, TypeParam{'x'});
  string.ReleaseBuffer(150);
  EXPECT_EQ(TextOf(string), std::basic_string<TypeParam>(150, TypeParam{'x'}));
  string.ReleaseBuffer(0);
  EXPECT_TRUE(string.IsEmpty());
}

TYPED_TEST(StringT, ReleaseBuffer_WithoutALengthEndsTheTextAtItsFirstZero) {
  String<TypeParam> string;
  TypeParam* const buffer = string.GetBuffer(100);
  std::fill_n(buffer, 100, TypeParam{'x'});
  string.ReleaseBuffer();
  EXPECT_EQ(string.Length(), 100u);
  buffer[10] = 0;
  string.ReleaseBuffer();
  EXPECT_EQ(string.Length(), 10u);
}

TYPED_TEST(StringT, ReleaseBufferOfAnUnsetString_LeavesItEmpty) {
  String<TypeParam> string;
  string.ReleaseBuffer();
  string.ReleaseBuffer(0);
  EXPECT_TRUE(string.IsEmpty());
}

TYPED_TEST(StringT, FixedBuffer_KeepsTextOf260CharactersInPlace) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> string(fixed);
  const TypeParam* const text = string.CStr();
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(string.Capacity(), 260u);
  string = Letters<TypeParam>(260).c_str();
  EXPECT_EQ(string.CStr(), text);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(260));
}

TYPED_TEST(StringT, FixedBuffer_IsLeftForTheHeapAt261Characters) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> string(fixed);
  const TypeParam* const text = string.CStr();
  string = Letters<TypeParam>(260).c_str();
  EXPECT_TRUE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_NE(string.CStr(), text);
  EXPECT_EQ(string.Capacity(), 520u);
  EXPECT_EQ(TextOf(string), Letters<TypeParam>(260) + Text<TypeParam>("!"));
}

TYPED_TEST(StringT, FixedBuffer_IsCopiedAndMovedAsText) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> string(fixed);
  string = Letters<TypeParam>(30).c_str();
  const String<TypeParam> copy(string);
  const String<TypeParam> moved(std::move(string));
  EXPECT_EQ(TextOf(copy), Letters<TypeParam>(30));
  EXPECT_EQ(TextOf(moved), Letters<TypeParam>(30));
}

}  // namespace
}  // namespace Cifra::Test
