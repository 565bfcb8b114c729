#include <gtest/gtest.h>

#include "foundation/collections/Map.h"
#include "support/CollectionText.h"
#include "support/Slots.h"

// The collections as a separately built caller uses them: by slot number only.
namespace Cifra::Test {
namespace {

enum ListSlot {
  kAddTail,
  kAddHead,
  kTail,
  kConstTail,
  kCopyTail,
  kHead,
  kConstHead,
  kCopyHead,
  kRemoveFromList,
  kCreateListEnum,
  kCreateConstListEnum
};
enum ListEnumSlot { kListIsValid, kListNext, kListCurrent, kListRelease, kListReset };
enum MapSlot {
  kAdd,
  kFind,
  kConstFind,
  kGet,
  kRemoveAt,
  kRemoveKey,
  kCreateEnum,
  kCreateConstEnum,
  kClear,
  kCount
};
enum EnumSlot { kIsValid, kNext, kKey, kValue, kRelease, kReset };

TEST(CollectionsSlot, AList_IsFilledReadWalkedAndEmptiedBySlot) {
  TextList list;
  const Text a = W("a");
  const Text b = W("b");
  const Text c = W("c");
  Text out;
  EXPECT_EQ(1168u, CallSlot<std::uint32_t>(&list, kCopyTail, &out));
  EXPECT_EQ(1168u, CallSlot<std::uint32_t>(&list, kCopyHead, &out));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kAddTail, &b));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kAddTail, &c));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kAddHead, &a));
  EXPECT_EQ(W("c"), ToStd(*CallSlot<Text*>(&list, kTail)));
  EXPECT_EQ(W("c"), ToStd(*CallSlot<const Text*>(&list, kConstTail)));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kCopyTail, &out));
  EXPECT_EQ(W("c"), ToStd(out));
  EXPECT_EQ(W("a"), ToStd(*CallSlot<Text*>(&list, kHead)));
  EXPECT_EQ(W("a"), ToStd(*CallSlot<const Text*>(&list, kConstHead)));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kCopyHead, &out));
  EXPECT_EQ(W("a"), ToStd(out));

  void* enumerator = CallSlot<void*>(&list, kCreateListEnum);
  CallSlot<void>(enumerator, kListNext);
  EXPECT_EQ(W("b"), ToStd(*CallSlot<Text*>(enumerator, kListCurrent)));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kRemoveFromList, enumerator));
  EXPECT_EQ(W("c"), ToStd(*CallSlot<Text*>(enumerator, kListCurrent)));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&list, kRemoveFromList, enumerator));
  EXPECT_FALSE(CallSlot<bool>(enumerator, kListIsValid));
  CallSlot<void>(enumerator, kListReset);
  EXPECT_TRUE(CallSlot<bool>(enumerator, kListIsValid));
  CallSlot<void>(enumerator, kListRelease);

  void* reader = CallSlot<void*>(&list, kCreateConstListEnum);
  EXPECT_EQ(W("a"), ToStd(*CallSlot<const Text*>(reader, kListCurrent)));
  CallSlot<void>(reader, kListNext);
  EXPECT_FALSE(CallSlot<bool>(reader, kListIsValid));
  CallSlot<void>(reader, kListRelease);
}

TEST(CollectionsSlot, AMap_IsFilledReadWalkedAndEmptiedBySlot) {
  kx::Map<Text, Text> map;
  const Text keys[] = {W("CN"), W("O"), W("OU")};
  for (const Text& key : keys) {
    EXPECT_EQ(0u, CallSlot<std::uint32_t>(&map, kAdd, &key, &key));
    EXPECT_EQ(183u, CallSlot<std::uint32_t>(&map, kAdd, &key, &key));
  }
  Text out;
  EXPECT_EQ(3u, CallSlot<std::size_t>(&map, kCount));
  EXPECT_EQ(W("O"), ToStd(*CallSlot<Text*>(&map, kFind, &keys[1])));
  EXPECT_EQ(W("O"), ToStd(*CallSlot<const Text*>(&map, kConstFind, &keys[1])));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&map, kGet, &keys[2], &out));
  EXPECT_EQ(W("OU"), ToStd(out));

  void* enumerator = CallSlot<void*>(&map, kCreateEnum);
  const Text removed = *CallSlot<const Text*>(enumerator, kKey);
  EXPECT_EQ(ToStd(removed), ToStd(*CallSlot<Text*>(enumerator, kValue)));
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&map, kRemoveAt, enumerator));
  EXPECT_EQ(nullptr, CallSlot<Text*>(&map, kFind, &removed));
  const Text next = *CallSlot<const Text*>(enumerator, kKey);
  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&map, kRemoveAt, enumerator));
  EXPECT_TRUE(CallSlot<bool>(enumerator, kIsValid));
  CallSlot<void>(enumerator, kRelease);

  void* reader = CallSlot<void*>(&map, kCreateConstEnum);
  const Text last = *CallSlot<const Text*>(reader, kKey);
  EXPECT_NE(ToStd(next), ToStd(last));
  EXPECT_EQ(ToStd(last), ToStd(*CallSlot<const Text*>(reader, kValue)));
  CallSlot<void>(reader, kNext);
  EXPECT_FALSE(CallSlot<bool>(reader, kIsValid));
  CallSlot<void>(reader, kReset);
  EXPECT_TRUE(CallSlot<bool>(reader, kIsValid));
  CallSlot<void>(reader, kRelease);

  EXPECT_EQ(0u, CallSlot<std::uint32_t>(&map, kRemoveKey, &last));
  EXPECT_EQ(1168u, CallSlot<std::uint32_t>(&map, kRemoveKey, &last));
  map.Add(W("again"), W(""));
  CallSlot<void>(&map, kClear);
  EXPECT_EQ(0u, map.Count());
}

#if defined(__clang__)
__attribute__((no_sanitize("function")))
#endif
void ReleaseNothing(const void* enumerator, std::size_t slot) {
  FunctionInSlot<void(void*)>(enumerator, slot)(nullptr);
}

TEST(CollectionsSlot, Release_IsNullSafe) {
  TextList list;
  kx::Map<Text, Text> map;
  const kx::EnumPtr<kx::IListEnum<Text>> listEnum(list.CreateEnum());
  const kx::EnumPtr<kx::IConstListEnum<Text>> constListEnum(list.CreateConstEnum());
  const kx::EnumPtr<kx::IEnum<Text, Text>> mapEnum(map.CreateEnum());
  const kx::EnumPtr<kx::IConstEnum<Text, Text>> constMapEnum(map.CreateConstEnum());
  ReleaseNothing(listEnum.get(), kListRelease);
  ReleaseNothing(constListEnum.get(), kListRelease);
  ReleaseNothing(mapEnum.get(), kRelease);
  ReleaseNothing(constMapEnum.get(), kRelease);
  EXPECT_FALSE(listEnum->IsValid());
}

}  // namespace
}  // namespace Cifra::Test
