#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <utility>

#include "foundation/collections/Map.h"
#include "support/CollectionText.h"

namespace Cifra::Test {
namespace {

using TextMap = kx::Map<Text, Text>;
using Pairs = std::map<WideText, WideText>;
using MapEnumerator = kx::EnumPtr<kx::IEnum<Text, Text>>;

TextMap MapOf(const Pairs& pairs) {
  TextMap map;
  for (const auto& [key, value] : pairs) {
    map.Add(key.c_str(), value.c_str());
  }
  return map;
}

TextMap NumberedMap(unsigned count) {
  TextMap map;
  for (unsigned i = 0; i < count; ++i) {
    map.Add(NumberedText(i), NumberedText(i * 2));
  }
  return map;
}

void ExpectPairs(const Pairs& expected, const TextMap& map) {
  Pairs found;
  const kx::EnumPtr<kx::IConstEnum<Text, Text>> enumerator(map.CreateConstEnum());
  for (; enumerator->IsValid(); enumerator->Next()) {
    EXPECT_TRUE(found.emplace(ToStd(*enumerator->Key()), ToStd(*enumerator->Value())).second);
    EXPECT_EQ(enumerator->Value(), map.Find(*enumerator->Key()));
  }
  EXPECT_EQ(expected, found);
  EXPECT_EQ(expected.size(), map.Count());
}

TEST(CollectionsMap, Add_InsertsAPairThatFindAndGetAnswer) {
  TextMap map;
  const TextMap& constant = map;
  EXPECT_EQ(kCifraSuccess, map.Add(W("CN"), W("Cifra")));
  ASSERT_NE(nullptr, map.Find(W("CN")));
  EXPECT_EQ(W("Cifra"), ToStd(*map.Find(W("CN"))));
  EXPECT_EQ(map.Find(W("CN")), constant.Find(W("CN")));
  Text out;
  EXPECT_EQ(kCifraSuccess, map.Get(W("CN"), out));
  EXPECT_EQ(W("Cifra"), ToStd(out));
}

TEST(CollectionsMap, Add_OfAPresentKeyReturns183AndKeepsTheFirstValue) {
  TextMap map = MapOf({{W("CN"), W("first")}});
  EXPECT_EQ(183u, map.Add(W("CN"), W("second")));
  ExpectPairs({{W("CN"), W("first")}}, map);
}

TEST(CollectionsMap, AnAbsentKey_GivesNullOr1168AndLeavesOut) {
  for (const TextMap& map : {TextMap(), MapOf({{W("CN"), W("a")}}), NumberedMap(9)}) {
    TextMap changeable = map;
    Text out = W("before");
    EXPECT_EQ(nullptr, map.Find(W("O")));
    EXPECT_EQ(nullptr, changeable.Find(W("O")));
    EXPECT_EQ(1168u, map.Get(W("O"), out));
    EXPECT_EQ(W("before"), ToStd(out));
    EXPECT_EQ(1168u, changeable.Remove(W("O")));
    EXPECT_EQ(map.Count(), changeable.Count());
  }
}

TEST(CollectionsMap, KeysThatDifferOnlyInCase_AreDifferent) {
  ExpectPairs({{W("cn"), W("lower")}, {W("CN"), W("upper")}},
              MapOf({{W("cn"), W("lower")}, {W("CN"), W("upper")}}));
}

TEST(CollectionsMap, AnUnsetKey_IsTheEmptyKey) {
  TextMap map;
  EXPECT_EQ(kCifraSuccess, map.Add(Text(), W("a")));
  EXPECT_EQ(183u, map.Add(W(""), W("b")));
  EXPECT_NE(nullptr, map.Find(W("")));
}

TEST(CollectionsMap, Keys_EndAtTheirTerminator) {
  TextMap map;
  EXPECT_EQ(kCifraSuccess, map.Add(Text(W("ab\0cd"), 5), W("a")));
  EXPECT_EQ(183u, map.Add(W("ab"), W("b")));
  EXPECT_NE(nullptr, map.Find(Text(W("ab\0xy"), 5)));
}

TEST(CollectionsMap, Hash_IsDjb2OfCodeUnits) {
  using Key = kx::MapKey<Text>;
  EXPECT_EQ(5381u, Key::Hash(Text()));
  EXPECT_EQ(5381u * 33 + 'a', Key::Hash(W("a")));
  EXPECT_EQ((5381u * 33 + 'O') * 33 + 'U', Key::Hash(W("OU")));
  EXPECT_EQ(5381u * 33 + 0xFFFF, Key::Hash(W("\xFFFF")));
  std::uint64_t wrapped = 5381;
  for (int i = 0; i < 20; ++i) {
    wrapped = wrapped * 33 + 0x4E2D;
  }
  EXPECT_EQ(wrapped, Key::Hash(WideText(20, W("\x4E2D")[0]).c_str()));
}

// With djb2, exchanging "ab" for "bA" changes nothing: ('a' * 33 + 'b') == ('b' * 33 + 'A').
TEST(CollectionsMap, KeysOfTheSameHash_AreKeptApart) {
  ASSERT_EQ(kx::MapKey<Text>::Hash(W("ab")), kx::MapKey<Text>::Hash(W("bA")));
  TextMap map =
      MapOf({{W("ab"), W("1")}, {W("bA"), W("2")}, {W("abab"), W("3")}, {W("bAbA"), W("4")}});
  EXPECT_EQ(W("2"), ToStd(*map.Find(W("bA"))));
  EXPECT_EQ(kCifraSuccess, map.Remove(W("ab")));
  EXPECT_EQ(kCifraSuccess, map.Remove(W("bAbA")));
  ExpectPairs({{W("bA"), W("2")}, {W("abab"), W("3")}}, map);
}

// The end of a map's memory: its buckets and their number.
struct Table {
  kx::MapNode<Text, Text>* const* buckets;
  std::size_t bucketCount;
};

Table TableOf(const TextMap& map) {
  Table table;
  std::memcpy(&table, reinterpret_cast<const char*>(&map) + sizeof(map) - sizeof(table),
              sizeof(table));
  return table;
}

TEST(CollectionsMap, Table_HasEightBucketsAndGrowsBeyondLoadFactorOne) {
  for (const auto& [pairs, buckets] : std::map<unsigned, std::size_t>{
           {0, 8}, {1, 8}, {8, 8}, {9, 16}, {16, 16}, {17, 32}, {100, 128}}) {
    EXPECT_EQ(buckets, TableOf(NumberedMap(pairs)).bucketCount) << pairs << " pairs";
  }
}

TEST(CollectionsMap, Pairs_StandInTheBucketOfTheirHash) {
  const TextMap map = NumberedMap(20);
  const Table table = TableOf(map);
  for (unsigned i = 0; i < 20; ++i) {
    const Text key = NumberedText(i);
    const auto* node = table.buckets[kx::MapKey<Text>::Hash(key) & (table.bucketCount - 1)];
    while (node && ToStd(node->key) != ToStd(key)) {
      node = node->nextInBucket;
    }
    EXPECT_NE(nullptr, node) << i;
  }
}

TEST(CollectionsMap, Growth_KeepsEveryPairAndItsAddress) {
  for (const unsigned count : {7u, 8u, 9u, 16u, 17u, 1000u}) {
    TextMap map;
    std::vector<const Text*> values;
    for (unsigned i = 0; i < count; ++i) {
      EXPECT_EQ(kCifraSuccess, map.Add(NumberedText(i), NumberedText(i)));
      values.push_back(map.Find(NumberedText(i)));
    }
    EXPECT_EQ(count, map.Count());
    for (unsigned i = 0; i < count; ++i) {
      EXPECT_EQ(values[i], map.Find(NumberedText(i)));
    }
  }
}

TEST(CollectionsMap, Enumerator_ShowsEveryPairOnceWhileTheMapGrows) {
  TextMap map = NumberedMap(8);
  const MapEnumerator enumerator(map.CreateEnum());
  unsigned seen = 0;
  for (; enumerator->IsValid(); enumerator->Next(), ++seen) {
    EXPECT_EQ(ToStd(NumberedText(seen)), ToStd(*enumerator->Key()));
    if (map.Count() < 100) {
      map.Add(NumberedText(static_cast<unsigned>(map.Count())), W("added"));
    }
  }
  EXPECT_EQ(100u, seen);
}

TEST(CollectionsMap, Enumerator_PastTheEndShowsNothingAndResetsToTheFirst) {
  TextMap map = MapOf({{W("CN"), W("a")}});
  const MapEnumerator enumerator(map.CreateEnum());
  EXPECT_TRUE(enumerator->IsValid());
  enumerator->Next();
  enumerator->Next();
  EXPECT_FALSE(enumerator->IsValid());
  EXPECT_EQ(nullptr, enumerator->Key());
  EXPECT_EQ(nullptr, enumerator->Value());
  enumerator->Reset();
  EXPECT_EQ(map.Find(W("CN")), enumerator->Value());
}

TEST(CollectionsMap, Remove_MovesTheEnumeratorToTheNextPair) {
  TextMap map = NumberedMap(3);
  const MapEnumerator enumerator(map.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, map.Remove(*enumerator));
  EXPECT_EQ(W("2"), ToStd(*enumerator->Key()));
  ExpectPairs({{W("0"), W("0")}, {W("2"), W("4")}}, map);
}

TEST(CollectionsMap, Remove_OfTheLastPairLeavesTheEnumeratorNotValid) {
  TextMap map = NumberedMap(2);
  const MapEnumerator enumerator(map.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, map.Remove(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  EXPECT_EQ(1168u, map.Remove(*enumerator));
  ExpectPairs({{W("0"), W("0")}}, map);
}

TEST(CollectionsMap, Remove_ThroughAnEnumeratorCanEmptyTheMap) {
  TextMap map = NumberedMap(100);
  const MapEnumerator enumerator(map.CreateEnum());
  while (enumerator->IsValid()) {
    EXPECT_EQ(kCifraSuccess, map.Remove(*enumerator));
  }
  ExpectPairs({}, map);
}

TEST(CollectionsMap, Remove_WithAnEnumeratorOfAnotherMapRemovesNothing) {
  TextMap map = MapOf({{W("CN"), W("a")}});
  TextMap equal = map;
  TextMap other = MapOf({{W("O"), W("b")}});
  for (TextMap* owner : {&equal, &other}) {
    const MapEnumerator enumerator(owner->CreateEnum());
    EXPECT_EQ(1168u, map.Remove(*enumerator));
    EXPECT_TRUE(enumerator->IsValid());
  }
  ExpectPairs({{W("CN"), W("a")}}, map);
}

TEST(CollectionsMap, Remove_AcceptsTheStoredKeyItself) {
  TextMap map = MapOf({{W("CN"), W("a")}});
  const MapEnumerator enumerator(map.CreateEnum());
  EXPECT_EQ(kCifraSuccess, map.Remove(*enumerator->Key()));
  ExpectPairs({}, map);
}

TEST(CollectionsMap, Values_CanBeChangedInPlace) {
  TextMap map = MapOf({{W("CN"), W("a")}, {W("O"), W("b")}});
  *map.Find(W("CN")) = W("c");
  const MapEnumerator enumerator(map.CreateEnum());
  enumerator->Next();
  *enumerator->Value() = W("d");
  ExpectPairs({{W("CN"), W("c")}, {W("O"), W("d")}}, map);
}

TEST(CollectionsMap, Clear_EmptiesAMapThatCanBeFilledAgain) {
  TextMap map = NumberedMap(100);
  for (int i = 0; i < 2; ++i) {
    map.Clear();
    ExpectPairs({}, map);
    ASSERT_EQ(nullptr, TableOf(map).buckets);
    EXPECT_EQ(8u, TableOf(map).bucketCount);
    EXPECT_EQ(nullptr, map.Find(NumberedText(1)));
  }
  map.Add(W("CN"), W("a"));
  ExpectPairs({{W("CN"), W("a")}}, map);
}

TEST(CollectionsMap, Copies_AreIndependent) {
  TextMap original = MapOf({{W("CN"), W("a")}});
  TextMap copy = original;
  copy.Add(W("O"), W("b"));
  *copy.Find(W("CN")) = W("c");
  ExpectPairs({{W("CN"), W("a")}}, original);
  copy = original;
  ExpectPairs({{W("CN"), W("a")}}, copy);
  const TextMap& itself = copy;
  copy = itself;
  ExpectPairs({{W("CN"), W("a")}}, copy);
}

TEST(CollectionsMap, MovedMaps_KeepTheirPairs) {
  TextMap original = NumberedMap(20);
  const Text* value = original.Find(W("7"));
  TextMap moved = std::move(original);
  EXPECT_EQ(value, moved.Find(W("7")));
  TextMap assigned;
  assigned = std::move(moved);
  EXPECT_EQ(value, assigned.Find(W("7")));
}

TEST(CollectionsMap, ListsAsValues_AreCopiedInDepth) {
  kx::Map<Text, TextList> map;
  TextList units;
  units.AddTail(W("a"));
  EXPECT_EQ(kCifraSuccess, map.Add(W("OU"), units));
  units.AddTail(W("b"));
  EXPECT_EQ(1u, map.Find(W("OU"))->Count());
  kx::Map<Text, TextList> copy = map;
  copy.Find(W("OU"))->AddTail(W("c"));
  EXPECT_EQ(1u, map.Find(W("OU"))->Count());
  EXPECT_EQ(2u, copy.Find(W("OU"))->Count());
}

TEST(CollectionsMap, ExhaustedMemory_RaisesBadAllocAndChangesNothing) {
  kx::Map<Text, Elusive> map;
  Elusive::copiesLeft = 1;
  EXPECT_EQ(kCifraSuccess, map.Add(W("a"), Elusive(1)));
  EXPECT_THROW(map.Add(W("b"), Elusive(2)), std::bad_alloc);
  EXPECT_EQ(1u, map.Count());
  EXPECT_EQ(nullptr, map.Find(W("b")));
  kx::Map<Text, Elusive> other;
  EXPECT_THROW(other = map, std::bad_alloc);
  EXPECT_EQ(0u, other.Count());
}

}  // namespace
}  // namespace Cifra::Test
