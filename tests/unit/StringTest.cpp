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
  EXPECT_EQ(0u, string.Length());
  EXPECT_EQ(0u, string.Capacity());
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(Text<TypeParam>(""), TextOf(string));
}

TYPED_TEST(StringT, AssignEmptyToUnset_AllocatesCapacity64) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Assign(Text<TypeParam>("").c_str()));
  EXPECT_EQ(64u, string.Capacity());
  EXPECT_EQ(0u, string.Length());
}

TYPED_TEST(StringT, AssignNull_EmptiesTheText) {
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  EXPECT_TRUE(string.Assign(nullptr));
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(64u, string.Capacity());
  EXPECT_TRUE(string.Assign(nullptr, 7));
  EXPECT_EQ(Text<TypeParam>(""), TextOf(string));
  String<TypeParam> unset;
  EXPECT_TRUE(unset.Assign(nullptr));
  EXPECT_EQ(64u, unset.Capacity());
}

TYPED_TEST(StringT, AssignCount_TakesThatManyCharactersWithTheirZeros) {
  std::basic_string<TypeParam> source = Letters<TypeParam>(10);
  source[4] = 0;
  String<TypeParam> string;
  EXPECT_TRUE(string.Assign(source.data(), 7));
  EXPECT_EQ(source.substr(0, 7), TextOf(string));
  EXPECT_TRUE(string.Assign(source.data()));
  EXPECT_EQ(source.substr(0, 4), TextOf(string));
}

TYPED_TEST(StringT, AssignOwnPointer_DoesNothingWhateverTheCount) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  for (const std::size_t count : {std::size_t{0}, std::size_t{3}, String<TypeParam>::npos}) {
    EXPECT_TRUE(string.Assign(string.CStr(), count));
    EXPECT_EQ(Letters<TypeParam>(10), TextOf(string));
  }
}

TYPED_TEST(StringT, AssignFromInsideItself_MovesTheText) {
  String<TypeParam> string(Letters<TypeParam>(20).c_str());
  EXPECT_TRUE(string.Assign(string.CStr() + 5, 10));
  EXPECT_EQ(Letters<TypeParam>(15).substr(5), TextOf(string));
}

TYPED_TEST(StringT, Assignment_TakesPointersAndStrings) {
  const std::basic_string<TypeParam> source = Letters<TypeParam>(100);
  String<TypeParam> string;
  string = source.c_str();
  EXPECT_EQ(source, TextOf(string));
  String<TypeParam> copy;
  copy = string;
  EXPECT_EQ(source, TextOf(copy));
  EXPECT_NE(string.CStr(), copy.CStr());
  const TypeParam* const null = nullptr;
  string = null;
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(source, TextOf(copy));
}

TYPED_TEST(StringT, AssignmentOfAString_TakesItsLengthWithItsZeros) {
  std::basic_string<TypeParam> source = Letters<TypeParam>(10);
  source[3] = 0;
  const String<TypeParam> string(source.data(), source.size());
  String<TypeParam> copy;
  copy = string;
  EXPECT_EQ(source, TextOf(copy));
  EXPECT_EQ(source, TextOf(String<TypeParam>(string)));
}

TYPED_TEST(StringT, SelfAssignment_DoesNothing) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  const TypeParam* const text = string.CStr();
  const String<TypeParam>& self = string;
  string = self;
  EXPECT_EQ(text, string.CStr());
  EXPECT_EQ(Letters<TypeParam>(10), TextOf(string));
}

TYPED_TEST(StringT, AssignmentOfAnUnsetString_EmptiesTheText) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  string = String<TypeParam>(string);
  EXPECT_EQ(Letters<TypeParam>(10), TextOf(string));
  const String<TypeParam> unset;
  string = unset;
  EXPECT_TRUE(string.IsEmpty());
}

TYPED_TEST(StringT, CopyOfAnUnsetString_IsUnset) {
  const String<TypeParam> unset;
  const String<TypeParam> copy(unset);
  EXPECT_EQ(0u, copy.Capacity());
}

TYPED_TEST(StringT, Move_TakesTheBufferOver) {
  String<TypeParam> string(Letters<TypeParam>(10).c_str());
  const TypeParam* const text = string.CStr();
  String<TypeParam> moved(std::move(string));
  EXPECT_EQ(text, moved.CStr());
  String<TypeParam> assigned(Letters<TypeParam>(3).c_str());
  assigned = std::move(moved);
  EXPECT_EQ(text, assigned.CStr());
  EXPECT_EQ(Letters<TypeParam>(10), TextOf(assigned));
}

TYPED_TEST(StringT, MoveOfAnUnsetString_LeavesBothUnset) {
  String<TypeParam> string;
  const String<TypeParam> moved = std::move(string);
  EXPECT_EQ(0u, moved.Capacity());
  String<TypeParam> assigned(Letters<TypeParam>(5).c_str());
  assigned = String<TypeParam>();
  EXPECT_EQ(0u, assigned.Capacity());
}

TYPED_TEST(StringT, MoveToItself_DoesNothing) {
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  String<TypeParam>& same = string;
  string = std::move(same);
  EXPECT_EQ(Letters<TypeParam>(5), TextOf(string));
}

// Another module may make such a string: the header is its own, the buffer is not.
TYPED_TEST(StringT, MoveOfABorrowedBuffer_CopiesTheText) {
  constexpr std::size_t kOwnsBuffer = 32;
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  auto* const header = BlockView<TypeParam>(string).template At<unsigned char*>(4);
  header[kOwnsBuffer] = 0;
  const String<TypeParam> moved = std::move(string);
  header[kOwnsBuffer] = 1;
  EXPECT_EQ(Letters<TypeParam>(5), TextOf(moved));
  EXPECT_EQ(Letters<TypeParam>(5), TextOf(string));
  EXPECT_NE(string.CStr(), moved.CStr());
}

TYPED_TEST(StringT, Traits_CompareLengthAndText) {
  using Traits = kx::ChTraitsCRT<TypeParam>;
  const auto text = Letters<TypeParam>(5);
  EXPECT_TRUE(Traits::AreEqual(text.c_str(), Letters<TypeParam>(5).c_str()));
  EXPECT_FALSE(Traits::AreEqual(text.c_str(), Letters<TypeParam>(6).c_str()));
  EXPECT_FALSE(Traits::AreEqual(text.c_str(), Letters<TypeParam>(4).c_str()));
  EXPECT_FALSE(Traits::AreEqual(text.c_str(), Text<TypeParam>("abcdx").c_str()));
}

TYPED_TEST(StringT, Append_AddsAfterTheText) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Append(Text<TypeParam>("abc").c_str()));
  EXPECT_TRUE(string.Append(Text<TypeParam>("defgh").c_str(), 2));
  EXPECT_TRUE(string.Append(nullptr));
  EXPECT_TRUE(string.Append(Text<TypeParam>("").c_str()));
  EXPECT_EQ(Text<TypeParam>("abcde"), TextOf(string));
}

TYPED_TEST(StringT, AppendOfItself_DoublesTheTextAcrossAGrowth) {
  const std::basic_string<TypeParam> source = Letters<TypeParam>(50);
  String<TypeParam> string(source.c_str());
  EXPECT_TRUE(string.Append(string.CStr(), string.Length()));
  EXPECT_EQ(source + source, TextOf(string));
}

TYPED_TEST(StringT, Growth_DoublesBelow1024AndThenAddsAtLeast1024) {
  const auto grown = [](std::size_t from, std::size_t to) {
    String<TypeParam> string;
    EXPECT_TRUE(string.SetBuffer(from, false));
    EXPECT_TRUE(string.Assign(Letters<TypeParam>(to).c_str()));
    EXPECT_EQ(Letters<TypeParam>(to), TextOf(string));
    return string.Capacity();
  };
  EXPECT_EQ(64u, grown(64, 64));
  EXPECT_EQ(128u, grown(64, 65));
  EXPECT_EQ(129u, grown(64, 129));
  EXPECT_EQ(1000u, grown(64, 1000));
  EXPECT_EQ(74u, grown(10, 11));
  EXPECT_EQ(200u, grown(100, 101));
  EXPECT_EQ(2046u, grown(1023, 1024));
  EXPECT_EQ(2048u, grown(1024, 1025));
  EXPECT_EQ(3072u, grown(2048, 2049));
  EXPECT_EQ(5000u, grown(2048, 5000));
}

TYPED_TEST(StringT, Reserve_KeepsTheTextAndNeverShrinks) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Reserve(0));
  EXPECT_EQ(64u, string.Capacity());
  string = Letters<TypeParam>(60).c_str();
  EXPECT_TRUE(string.Reserve(500));
  EXPECT_EQ(500u, string.Capacity());
  EXPECT_TRUE(string.Reserve(10));
  EXPECT_EQ(500u, string.Capacity());
  EXPECT_EQ(Letters<TypeParam>(60), TextOf(string));
}

TYPED_TEST(StringT, ReserveOfAnUnsetString_GivesWhatIsAskedFromCapacity64On) {
  String<TypeParam> string;
  EXPECT_TRUE(string.Reserve(65));
  EXPECT_EQ(65u, string.Capacity());
}

TYPED_TEST(StringT, ReserveOfABufferOfNoCapacity_Grows) {
  String<TypeParam> string;
  EXPECT_TRUE(string.SetBuffer(0, false));
  EXPECT_EQ(0u, string.Capacity());
  EXPECT_EQ(Text<TypeParam>(""), TextOf(string));
  EXPECT_TRUE(string.Reserve(0));
  EXPECT_EQ(64u, string.Capacity());
}

TYPED_TEST(StringT, SetBuffer_HasExactlyTheCapacityAndCutsTheText) {
  String<TypeParam> string(Letters<TypeParam>(50).c_str());
  EXPECT_TRUE(string.SetBuffer(100, true));
  EXPECT_EQ(100u, string.Capacity());
  EXPECT_EQ(Letters<TypeParam>(50), TextOf(string));
  EXPECT_TRUE(string.SetBuffer(20, true));
  EXPECT_EQ(20u, string.Capacity());
  EXPECT_EQ(Letters<TypeParam>(20), TextOf(string));
  EXPECT_TRUE(string.SetBuffer(30, false));
  EXPECT_EQ(30u, string.Capacity());
  EXPECT_TRUE(string.IsEmpty());
  EXPECT_EQ(TypeParam{0}, string.CStr()[0]);
}

TYPED_TEST(StringT, CapacityBeyondAllMemory_IsRefusedAndChangesNothing) {
  constexpr std::size_t kHuge = static_cast<std::size_t>(-1);
  String<TypeParam> string(Letters<TypeParam>(5).c_str());
  EXPECT_FALSE(string.SetBuffer(kHuge, true));
  EXPECT_FALSE(string.SetBuffer(kHuge / sizeof(TypeParam) - 9, true));
  EXPECT_FALSE(string.Reserve(kHuge));
  EXPECT_FALSE(string.Append(string.CStr(), kHuge - 1));
  EXPECT_EQ(Letters<TypeParam>(5), TextOf(string));
  EXPECT_EQ(64u, string.Capacity());
}

TYPED_TEST(StringT, GetBuffer_LendsTheBufferWithTheText) {
  String<TypeParam> string(Letters<TypeParam>(3).c_str());
  TypeParam* const buffer = string.GetBuffer(200);
  EXPECT_EQ(200u, string.Capacity());
  EXPECT_EQ(Letters<TypeParam>(3), std::basic_string<TypeParam>(buffer));
  std::fill_n(buffer, 200, TypeParam{'x'});
  string.ReleaseBuffer(150);
  EXPECT_EQ(std::basic_string<TypeParam>(150, TypeParam{'x'}), TextOf(string));
  string.ReleaseBuffer(0);
  EXPECT_TRUE(string.IsEmpty());
}

TYPED_TEST(StringT, SetBufferThatKeepsTheText_KeepsWhatIsNotReleasedYet) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> onTheHeap;
  String<TypeParam> inTheFrame(fixed);
  for (String<TypeParam>* const string : {&onTheHeap, &inTheFrame}) {
    const std::basic_string<TypeParam> written = Letters<TypeParam>(90);
    std::copy_n(written.c_str(), 91, string->GetBuffer(100));
    EXPECT_TRUE(string->SetBuffer(400, true));
    string->ReleaseBuffer();
    EXPECT_EQ(written, TextOf(*string));
  }
}

TYPED_TEST(StringT, ReleaseBuffer_WithoutALengthEndsTheTextAtItsFirstZero) {
  String<TypeParam> string;
  TypeParam* const buffer = string.GetBuffer(100);
  std::fill_n(buffer, 100, TypeParam{'x'});
  string.ReleaseBuffer();
  EXPECT_EQ(100u, string.Length());
  buffer[10] = 0;
  string.ReleaseBuffer();
  EXPECT_EQ(10u, string.Length());
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
  EXPECT_EQ(260u, string.Capacity());
  string = Letters<TypeParam>(260).c_str();
  EXPECT_EQ(text, string.CStr());
  EXPECT_EQ(Letters<TypeParam>(260), TextOf(string));
}

TYPED_TEST(StringT, FixedBuffer_IsLeftForTheHeapAt261Characters) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> string(fixed);
  const TypeParam* const text = string.CStr();
  string = Letters<TypeParam>(260).c_str();
  EXPECT_TRUE(string.Append(Text<TypeParam>("!").c_str()));
  EXPECT_NE(text, string.CStr());
  EXPECT_EQ(520u, string.Capacity());
  EXPECT_EQ(Letters<TypeParam>(260) + Text<TypeParam>("!"), TextOf(string));
}

TYPED_TEST(StringT, FixedBuffer_IsCopiedAndMovedAsText) {
  kx::FixedStringBuffer<TypeParam> fixed;
  String<TypeParam> string(fixed);
  string = Letters<TypeParam>(30).c_str();
  const String<TypeParam> copy(string);
  const String<TypeParam> moved(std::move(string));
  EXPECT_EQ(Letters<TypeParam>(30), TextOf(copy));
  EXPECT_EQ(Letters<TypeParam>(30), TextOf(moved));
}

}  // namespace
}  // namespace Cifra::Test
