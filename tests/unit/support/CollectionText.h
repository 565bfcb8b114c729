#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "foundation/collections/List.h"
#include "foundation/string/StringT.h"

// UTF-16 texts for the tests of the collections, on every build, even where wchar_t is wider.
namespace Cifra::Test {

using Text = kx::StringT<char16_t>;
using TextList = kx::List<Text>;

inline std::u16string ToStd(const Text& text) { return {text.CStr(), text.Length()}; }

inline Text NumberedText(unsigned number) {
  std::u16string digits;
  for (const char digit : std::to_string(number)) {
    digits += static_cast<char16_t>(digit);
  }
  return Text(digits.c_str());
}

// The elements from an enumerator's position on, as text.
template <typename Enumerator>
std::vector<std::u16string> Rest(Enumerator& enumerator) {
  std::vector<std::u16string> texts;
  for (; enumerator.IsValid(); enumerator.Next()) {
    texts.push_back(ToStd(*enumerator.Current()));
  }
  return texts;
}

template <typename List>
std::vector<std::u16string> Texts(const List& list) {
  const kx::EnumPtr<kx::IConstListEnum<Text>> enumerator(list.CreateConstEnum());
  return Rest(*enumerator);
}

// Elusive is a value with a limited number of copies: after the last one, copying throws
// std::bad_alloc.
struct Elusive {
  explicit Elusive(int content) : number(content) {}
  Elusive(const Elusive& other) : number(other.number) {
    if (copiesLeft-- <= 0) {
      throw std::bad_alloc();
    }
  }
  Elusive& operator=(const Elusive&) = default;

  static inline int copiesLeft = 0;
  int number;
};

}  // namespace Cifra::Test
