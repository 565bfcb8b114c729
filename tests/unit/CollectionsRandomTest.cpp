#include <gtest/gtest.h>

#include <iterator>
#include <list>
#include <random>
#include <unordered_map>

#include "foundation/collections/Map.h"
#include "support/CollectionText.h"

// The collections compared with the standard library's, under the same random operations.
namespace Cifra::Test {
namespace {

#if defined(_WIN32)
constexpr int kOperations = 50'000;  // an emulated CPU may run them
#else
constexpr int kOperations = 1'000'000;
#endif

class Dice {
 public:
  unsigned operator()(unsigned sides) { return static_cast<unsigned>(engine() % sides); }

 private:
  std::minstd_rand engine{20240607};
};

TEST(CollectionsRandom, List_BehavesAsStdList) {
  Dice dice;
  kx::List<unsigned> list;
  std::list<unsigned> model;
  kx::EnumPtr<kx::IListEnum<unsigned>> place(list.CreateEnum());
  auto modelPlace = model.begin();
  for (int i = 0; i < kOperations; ++i) {
    const unsigned value = dice(1'000'000);
    switch (dice(8)) {
      case 0:
        list.AddTail(value);
        model.push_back(value);
        break;
      case 1:
        list.AddHead(value);
        model.push_front(value);
        break;
      case 2:
      case 3:
        ASSERT_EQ(modelPlace == model.end() ? 1168u : 0u, list.Remove(*place));
        if (modelPlace != model.end()) {
          modelPlace = model.erase(modelPlace);
        }
        break;
      case 4:
        place->Reset();
        modelPlace = model.begin();
        break;
      default:
        place->Next();
        if (modelPlace != model.end()) {
          ++modelPlace;
        }
    }
    ASSERT_EQ(modelPlace != model.end(), place->IsValid());
    ASSERT_EQ(model.size(), list.Count());
    if (place->IsValid()) {
      ASSERT_EQ(*modelPlace, *place->Current());
    }
    if (!model.empty()) {
      ASSERT_EQ(model.front(), *list.GetHead());
      ASSERT_EQ(model.back(), *list.GetTail());
    }
    // Occasionally whole lists are compared, and a copy replaces the list.
    if (i % 4096 == 0) {
      kx::List<unsigned> copy = list;
      list = copy;
      place.reset(list.CreateEnum());
      for (const unsigned expected : model) {
        ASSERT_EQ(expected, *place->Current());
        place->Next();
      }
      ASSERT_FALSE(place->IsValid());
      place->Reset();
      modelPlace = model.begin();
    }
  }
}

using Model = std::unordered_map<WideText, unsigned>;
using Numbers = kx::Map<Text, unsigned>;

void ExpectSame(const Model& model, const Numbers& map) {
  ASSERT_EQ(model.size(), map.Count());
  std::size_t seen = 0;
  const kx::EnumPtr<kx::IConstEnum<Text, unsigned>> place(map.CreateConstEnum());
  for (; place->IsValid(); place->Next(), ++seen) {
    const auto found = model.find(ToStd(*place->Key()));
    ASSERT_NE(model.end(), found);
    ASSERT_EQ(found->second, *place->Value());
  }
  ASSERT_EQ(model.size(), seen);
}

TEST(CollectionsRandom, Map_BehavesAsStdUnorderedMap) {
  Dice dice;
  Numbers map;
  Model model;
  kx::EnumPtr<kx::IEnum<Text, unsigned>> place(map.CreateEnum());
  unsigned keys = 10;
  for (int i = 0; i < kOperations; ++i) {
    const Text key = NumberedText(dice(keys));
    const auto found = model.find(ToStd(key));
    switch (dice(8)) {
      case 0:
      case 1:
      case 2:
        ASSERT_EQ(found == model.end() ? 0u : 183u, map.Add(key, static_cast<unsigned>(i)));
        model.emplace(ToStd(key), i);
        break;
      case 3:
        // Not the enumerator's current pair: that would invalidate the enumerator.
        if (!place->IsValid() || ToStd(*place->Key()) != ToStd(key)) {
          ASSERT_EQ(found == model.end() ? 1168u : 0u, map.Remove(key));
          model.erase(ToStd(key));
        }
        break;
      case 4:
        if (place->IsValid()) {
          model.erase(ToStd(*place->Key()));
          ASSERT_EQ(0u, map.Remove(*place));
        } else {
          ASSERT_EQ(1168u, map.Remove(*place));
          place->Reset();
        }
        break;
      case 5:
        place->Next();
        break;
      default: {
        unsigned value = 0;
        ASSERT_EQ(found == model.end() ? 1168u : 0u, map.Get(key, value));
        if (found != model.end()) {
          ASSERT_EQ(found->second, value);
          found->second = *map.Find(key) = static_cast<unsigned>(i);
        }
      }
    }
    ASSERT_EQ(model.size(), map.Count());
    // Occasionally whole maps are compared, and the range of keys changes.
    if (i % 8192 == 0) {
      ExpectSame(model, map);
      keys = 10u << dice(11);
      const Numbers copy = map;
      ExpectSame(model, copy);
      if (dice(4) == 0) {
        map.Clear();
        model.clear();
      }
      place->Reset();
    }
  }
}

}  // namespace
}  // namespace Cifra::Test
