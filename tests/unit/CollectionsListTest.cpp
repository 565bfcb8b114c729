#include <gtest/gtest.h>

#include <utility>

#include "support/CollectionText.h"

namespace Cifra::Test {
namespace {

using Strings = std::vector<WideText>;
using ListEnumerator = kx::EnumPtr<kx::IListEnum<Text>>;

TextList ListOf(const Strings& texts) {
  TextList list;
  for (const WideText& text : texts) {
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
  EXPECT_EQ(kCifraSuccess, list.AddTail(W("b")));
  EXPECT_EQ(kCifraSuccess, list.AddTail(W("c")));
  EXPECT_EQ(kCifraSuccess, list.AddHead(W("a")));
  ExpectTexts({W("a"), W("b"), W("c")}, list);
}

TEST(CollectionsList, GetHeadAndGetTail_OfAnEmptyListGiveNullOr1168AndLeaveOut) {
  TextList list;
  const TextList& constant = list;
  Text out = W("before");
  EXPECT_EQ(nullptr, list.GetHead());
  EXPECT_EQ(nullptr, list.GetTail());
  EXPECT_EQ(nullptr, constant.GetHead());
  EXPECT_EQ(nullptr, constant.GetTail());
  EXPECT_EQ(1168u, list.GetHead(out));
  EXPECT_EQ(1168u, list.GetTail(out));
  EXPECT_EQ(W("before"), ToStd(out));
}

TEST(CollectionsList, GetHeadAndGetTail_GiveTheElementOrACopy) {
  TextList list = ListOf({W("first"), W("last")});
  const TextList& constant = list;
  Text out;
  EXPECT_EQ(kCifraSuccess, list.GetHead(out));
  EXPECT_EQ(W("first"), ToStd(out));
  EXPECT_EQ(kCifraSuccess, list.GetTail(out));
  EXPECT_EQ(W("last"), ToStd(out));
  EXPECT_EQ(constant.GetHead(), list.GetHead());
  EXPECT_EQ(constant.GetTail(), list.GetTail());
  *list.GetHead() = W("changed");
  EXPECT_EQ(W("last"), ToStd(out));
  EXPECT_EQ(W("changed"), ToStd(*constant.GetHead()));
}

TEST(CollectionsList, Add_OfAnElementOfTheSameListAddsACopy) {
  TextList list = ListOf({W("a")});
  list.AddTail(*list.GetHead());
  ExpectTexts({W("a"), W("a")}, list);
}

TEST(CollectionsList, Elements_KeepTheirAddress) {
  TextList list = ListOf({W("a"), W("b")});
  const Text* second = list.GetTail();
  for (unsigned i = 0; i < 1000; ++i) {
    list.AddTail(NumberedText(i));
    list.AddHead(NumberedText(i));
  }
  const ListEnumerator enumerator(list.CreateEnum());
  while (ToStd(*enumerator->Current()) != W("a")) {
    list.Remove(*enumerator);
  }
  enumerator->Next();
  EXPECT_EQ(second, enumerator->Current());
}

TEST(CollectionsList, Enumerator_WalksToTheEndAndBackToTheFirst) {
  TextList list = ListOf({W("a"), W("b")});
  const ListEnumerator enumerator(list.CreateEnum());
  EXPECT_EQ((Strings{W("a"), W("b")}), Rest(*enumerator));
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
  const ListEnumerator enumerator(list.CreateEnum());
  EXPECT_FALSE(enumerator->IsValid());
  list.AddTail(W("a"));
  EXPECT_FALSE(enumerator->IsValid());
  enumerator->Reset();
  EXPECT_TRUE(enumerator->IsValid());
}

TEST(CollectionsList, Enumerator_ReachesElementsAddedLater) {
  TextList list = ListOf({W("a")});
  const ListEnumerator enumerator(list.CreateEnum());
  list.AddTail(W("b"));
  list.AddHead(W("0"));
  EXPECT_EQ((Strings{W("a"), W("b")}), Rest(*enumerator));
}

TEST(CollectionsList, Enumerator_GivesWriteAccess) {
  TextList list = ListOf({W("a")});
  const ListEnumerator enumerator(list.CreateEnum());
  *enumerator->Current() = W("z");
  ExpectTexts({W("z")}, list);
}

TEST(CollectionsList, Remove_MovesTheEnumeratorToTheNextElement) {
  TextList list = ListOf({W("a"), W("b"), W("c")});
  const ListEnumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_EQ(W("c"), ToStd(*enumerator->Current()));
  ExpectTexts({W("a"), W("c")}, list);
}

TEST(CollectionsList, Remove_OfTheFirstElementMakesTheSecondTheHead) {
  TextList list = ListOf({W("a"), W("b")});
  const ListEnumerator enumerator(list.CreateEnum());
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  ExpectTexts({W("b")}, list);
}

TEST(CollectionsList, Remove_OfTheLastElementLeavesTheEnumeratorNotValid) {
  TextList list = ListOf({W("a"), W("b")});
  const ListEnumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  ExpectTexts({W("a")}, list);
  list.AddTail(W("c"));
  ExpectTexts({W("a"), W("c")}, list);
}

TEST(CollectionsList, Remove_OfTheOnlyElementEmptiesTheList) {
  TextList list = ListOf({W("a")});
  const ListEnumerator enumerator(list.CreateEnum());
  EXPECT_EQ(kCifraSuccess, list.Remove(*enumerator));
  EXPECT_FALSE(enumerator->IsValid());
  ExpectTexts({}, list);
}

TEST(CollectionsList, Remove_WithAnEnumeratorPastTheEndRemovesNothing) {
  TextList list = ListOf({W("a")});
  const ListEnumerator enumerator(list.CreateEnum());
  enumerator->Next();
  EXPECT_EQ(1168u, list.Remove(*enumerator));
  ExpectTexts({W("a")}, list);
}

TEST(CollectionsList, Remove_WithAnEnumeratorOfAnotherListRemovesNothing) {
  TextList list = ListOf({W("a")});
  TextList other = ListOf({W("a")});
  const ListEnumerator enumerator(other.CreateEnum());
  EXPECT_EQ(1168u, list.Remove(*enumerator));
  EXPECT_TRUE(enumerator->IsValid());
  ExpectTexts({W("a")}, list);
  ExpectTexts({W("a")}, other);
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
  TextList list = ListOf({W("a"), W("b"), W("c")});
  Text outside = W("outside");
  StrangeEnum enumerator({list.GetTail(), &outside, list.GetHead()});
  EXPECT_EQ(kCifraSuccess, list.Remove(enumerator));
  EXPECT_EQ(1168u, list.Remove(enumerator));
  EXPECT_EQ(&outside, enumerator.Current());
  enumerator.Next();
  EXPECT_EQ(kCifraSuccess, list.Remove(enumerator));
  EXPECT_FALSE(enumerator.IsValid());
  ExpectTexts({W("b")}, list);
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
  TextList original = ListOf({W("a"), W("b")});
  TextList copy = original;
  copy.AddTail(W("c"));
  *copy.GetHead() = W("z");
  ExpectTexts({W("a"), W("b")}, original);
  ExpectTexts({W("z"), W("b"), W("c")}, copy);
  copy = original;
  ExpectTexts({W("a"), W("b")}, copy);
  const TextList& itself = copy;
  copy = itself;
  ExpectTexts({W("a"), W("b")}, copy);
}

TEST(CollectionsList, MovedLists_KeepTheirElements) {
  TextList original = ListOf({W("a")});
  const Text* element = original.GetHead();
  TextList moved = std::move(original);
  EXPECT_EQ(element, moved.GetHead());
  TextList assigned;
  assigned = std::move(moved);
  EXPECT_EQ(element, assigned.GetHead());
}

TEST(CollectionsList, Lists_CanHoldLists) {
  kx::List<TextList> lists;
  lists.AddTail(ListOf({W("a")}));
  lists.AddTail(ListOf({W("b"), W("c")}));
  const kx::List<TextList> copy = lists;
  lists.GetTail()->AddTail(W("d"));
  ExpectTexts({W("b"), W("c")}, *copy.GetTail());
  ExpectTexts({W("b"), W("c"), W("d")}, *lists.GetTail());
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
