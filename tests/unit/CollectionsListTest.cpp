#include <gtest/gtest.h>

#include <utility>

#include "support/CollectionText.h"

namespace Cifra::Test {
namespace {

using Strings = std::vector<std::u16string>;
using Enumerator = kx::EnumPtr<kx::IListEnum<Text>>;

TextList ListOf(const Strings& texts) {
  TextList list;
  for (const std::u16string& text : texts) {
    list.AddTail(text.c_str());
  }
  return list;
}

// A list in its order from the front and, to see the backward links, from the back.
void ExpectTexts(const Strings& expected, TextList list) {
  EXPECT_EQ(expected, Texts(list));
  EXPECT_EQ(expected.size(), list.Count());
  if (expected.empty()) {
    EXPECT_EQ(nullptr, list.GetHead());
    EXPECT_EQ(nullptr, list.GetTail());
  } else {
    EXPECT_EQ(expected.front(), ToStd(*list.GetHead()));
    EXPECT_EQ(expected.back(), ToStd(*list.GetTail()));
  }
}

TEST(CollectionsList, AddTailAndAddHead_KeepTheOrder) {
  TextList list;
  EXPECT_EQ(kCifraSuccess, list.AddTail(u"b"));
  EXPECT_EQ(kCifraSuccess, list.AddTail(u"c"));
  EXPECT_EQ(kCifraSuccess, list.AddHead(u"a"));
  ExpectTexts({u"a", u"b", u"c"}, list);
}

TEST(CollectionsList, GetHeadAndGetTail_OfAnEmptyListGiveNullOr1168AndLeaveOut) {
  TextList list;
  const TextList& constant = list;
  Text out = u"before";
  EXPECT_EQ(nullptr, list.GetHead());
  EXPECT_EQ(nullptr, list.GetTail());
  EXPECT_EQ(nullptr, constant.GetHead());
  EXPECT_EQ(nullptr, constant.GetTail());
  EXPECT_EQ(1168u, list.GetHead(out));
  EXPECT_EQ(1168u, list.GetTail(out));
  EXPECT_EQ(u"before", ToStd(out));
}

TEST(CollectionsList, GetHeadAndGetTail_GiveTheElementOrACopy) {
  TextList list = ListOf({u"first", u"last"});
  const TextList& constant = list;
  Text out;
  EXPECT_EQ(kCifraSuccess, list.GetHead(out));
  EXPECT_EQ(u"first", ToStd(out));
  EXPECT_EQ(kCifraSuccess, list.GetTail(out));
  EXPECT_EQ(u"last", ToStd(out));
  EXPECT_EQ(constant.GetHead(), list.GetHead());
  EXPECT_EQ(constant.GetTail(), list.GetTail());
  *list.GetHead() = u"changed";
  EXPECT_EQ(u"last", ToStd(out));
  EXPECT_EQ(u"changed", ToStd(*constant.GetHead()));
}

TEST(CollectionsList, Add_OfAnElementOfTheSameListAddsACopy) {
  TextList list = ListOf({u"a"});
  list.AddTail(*list.GetHead());
  ExpectTexts({u"a", u"a"}, list);
}

TEST(CollectionsList, Elements_KeepTheirAddress) {
  TextList list = ListOf({u"a", u"b"});
  const Text* second = list.GetTail();
  for (unsigned i = 0; i < 1000; ++i) {
    list.AddTail(NumberedText(i));
    list.AddHead(NumberedText(i));
  }
  const Enumerator enumerator(list.CreateEnum());
  while (ToStd(*enumerator->Current()) != u"a") {
    list.Remove(*enumerator);
  }
  enumerator->Next();
  EXPECT_EQ(second, enumerator->Current());
}

TEST(CollectionsList, Enumerator_WalksToTheEndAndBackToTheFirst) {
  TextList list = ListOf({u"a", u"b"});
  const Enumerator enumerator(list.CreateEnum());
  EXPECT_EQ((Strings{u"a", u"b"}), Rest(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  EXPECT_EQ(nullptr, enumerator->Current());
  enumerator->Next();
  EXPECT_FALSE(enumerator->IsValid());
  enumerator->Reset();
  EXPECT_TRUE(enumerator->IsValid());
  EXPECT_EQ(list.GetHead(), enumerator->Current());
}

TEST(CollectionsList, Enumerator_OfAnEmptyListIsNotValidUntilResetAfterAnAdd) {
  TextList list;
  const Enumerator enumerator(list.CreateEnum());
  EXPECT_FALSE(enumerator->IsValid());
  list.AddTail(u"a");
  EXPECT_FALSE(enumerator->IsValid());
  enumerator->Reset();
  EXPECT_TRUE(enumerator->IsValid());
}

TEST(CollectionsList, Enumerator_ReachesElementsAddedLater) {
  TextList list = ListOf({u"a"});
  const Enumerator enumerator(list.CreateEnum());
  list.AddTail(u"b");
  list.AddHead(u"0");
  EXPECT_EQ((Strings{u"a", u"b"}), Rest(*enumerator));
}

TEST(CollectionsList, Enumerator_GivesWriteAccess) {
  TextList list = ListOf({u"a"});
  const Enumerator enumerator(list.CreateEnum());
  *enumerator->Current() = u"z";
  ExpectTexts({u"z"}, list);
}

TEST(CollectionsList, Remove_MovesTheEnumeratorToTheNextElement) {
  TextList list = ListOf({u"a", u"b", u"c"});
  const Enumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_EQ(u"c", ToStd(*enumerator->Current()));
  ExpectTexts({u"a", u"c"}, list);
}

TEST(CollectionsList, Remove_OfTheFirstElementMakesTheSecondTheHead) {
  TextList list = ListOf({u"a", u"b"});
  const Enumerator enumerator(list.CreateEnum());
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  ExpectTexts({u"b"}, list);
}

TEST(CollectionsList, Remove_OfTheLastElementLeavesTheEnumeratorNotValid) {
  TextList list = ListOf({u"a", u"b"});
  const Enumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  ExpectTexts({u"a"}, list);
  list.AddTail(u"c");
  ExpectTexts({u"a", u"c"}, list);
}

TEST(CollectionsList, Remove_OfTheOnlyElementEmptiesTheList) {
  TextList list = ListOf({u"a"});
  const Enumerator enumerator(list.CreateEnum());
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  ExpectTexts({}, list);
}

TEST(CollectionsList, Remove_WithAnEnumeratorPastTheEndRemovesNothing) {
  TextList list = ListOf({u"a"});
  const Enumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(1168u, list.Remove(*enumerator));
  ExpectTexts({u"a"}, list);
}

TEST(CollectionsList, Remove_WithAnEnumeratorOfAnotherListRemovesNothing) {
  TextList list = ListOf({u"a"});
  TextList other = ListOf({u"a"});
  const Enumerator enumerator(other.CreateEnum());
  EXPECT_EQ(1168u, list.Remove(*enumerator));
  EXPECT_TRUE(enumerator->IsValid());
  ExpectTexts({u"a"}, list);
  ExpectTexts({u"a"}, other);
}

// StrangeEnum is an enumerator that is not the list's own, like another module's.
class StrangeEnum final : public kx::IListEnum<Text> {
 public:
  explicit StrangeEnum(std::vector<Text*> elements) : places(std::move(elements)) {}

  bool IsValid() const override { return place < places.size(); }
  void Next() override { ++place; }
  Text* Current() override { return IsValid() ? places[place] : nullptr; }
  void Release() override {}
  void Reset() override { place = 0; }

 private:
  std::vector<Text*> places;
  std::size_t place = 0;
};

TEST(CollectionsList, Remove_AcceptsAnyEnumeratorThatStandsOnAnElement) {
  TextList list = ListOf({u"a", u"b", u"c"});
  Text outside = u"outside";
  StrangeEnum enumerator({list.GetTail(), &outside, list.GetHead()});
  EXPECT_EQ(kCifraSuccess, list.Remove(enumerator));
  EXPECT_EQ(1168u, list.Remove(enumerator));
  EXPECT_EQ(&outside, enumerator.Current());
  enumerator.Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(enumerator));
  EXPECT_FALSE(enumerator.IsValid());
  ExpectTexts({u"b"}, list);
}

// Counts how often the address of one is taken, which is how elements are told apart.
struct Addressed {
  Addressed* operator&() {  // NOLINT(google-runtime-operator)
    ++timesTaken;
    return std::addressof(*this);
  }

  static inline int timesTaken = 0;
};

TEST(CollectionsList, Remove_ThroughTheListsOwnEnumeratorSearchesNothing) {
  kx::List<Addressed> list;
  for (int i = 0; i < 1000; ++i) {
    list.AddTail(Addressed());
  }
  const kx::EnumPtr<kx::IListEnum<Addressed>> enumerator(list.CreateEnum());
  for (int i = 0; i < 999; ++i) {
    enumerator->Next();
  }
  Addressed::timesTaken = 0;
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_GE(1, Addressed::timesTaken);
  EXPECT_EQ(999u, list.Count());
  EXPECT_FALSE(enumerator->IsValid());
}

TEST(CollectionsList, Copies_AreIndependent) {
  TextList original = ListOf({u"a", u"b"});
  TextList copy = original;
  copy.AddTail(u"c");
  *copy.GetHead() = u"z";
  ExpectTexts({u"a", u"b"}, original);
  ExpectTexts({u"z", u"b", u"c"}, copy);
  copy = original;
  ExpectTexts({u"a", u"b"}, copy);
  const TextList& itself = copy;
  copy = itself;
  ExpectTexts({u"a", u"b"}, copy);
}

TEST(CollectionsList, MovedLists_KeepTheirElements) {
  TextList original = ListOf({u"a"});
  const Text* element = original.GetHead();
  TextList moved = std::move(original);
  EXPECT_EQ(element, moved.GetHead());
  TextList assigned;
  assigned = std::move(moved);
  EXPECT_EQ(element, assigned.GetHead());
}

TEST(CollectionsList, Lists_CanHoldLists) {
  kx::List<TextList> lists;
  lists.AddTail(ListOf({u"a"}));
  lists.AddTail(ListOf({u"b", u"c"}));
  const kx::List<TextList> copy = lists;
  lists.GetTail()->AddTail(u"d");
  ExpectTexts({u"b", u"c"}, *copy.GetTail());
  ExpectTexts({u"b", u"c", u"d"}, *lists.GetTail());
}

TEST(CollectionsList, ExhaustedMemory_RaisesBadAllocAndChangesNothing) {
  kx::List<Elusive> list;
  Elusive::copiesLeft = 2;
  list.AddTail(Elusive(1));
  list.AddTail(Elusive(2));
  EXPECT_THROW(list.AddTail(Elusive(3)), std::bad_alloc);
  EXPECT_THROW(list.AddHead(Elusive(3)), std::bad_alloc);
  EXPECT_EQ(2u, list.Count());
  kx::List<Elusive> other;
  Elusive::copiesLeft = 1;
  EXPECT_THROW(other = list, std::bad_alloc);
  EXPECT_EQ(0u, other.Count());
}

}  // namespace
}  // namespace Cifra::Test
