#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "foundation/collections/List.h"
#include "foundation/string/StringT.h"

// UTF-16 texts for the tests of the collections: of wchar_t, as in the library, where that has 16
// bits. W("text") makes a literal.
#ifdef _WIN32
#define W(literal) L##literal
#else
#define W(literal) u##literal
#endif

namespace Cifra::Test {

#ifdef _WIN32
using WideText = std::wstring;
#else
using WideText = std::u16string;
#endif
using Text = kx::StringT<WideText::value_type>;
using TextList = kx::List<Text>;

inline WideText ToStd(const Text& text) { return {text.CStr(), text.Length()}; }

inline Text NumberedText(unsigned number) {
  WideText digits;
  for (const char digit : std::to_string(number)) {
    digits += static_cast<WideText::value_type>(digit);
  }
  return Text(digits.c_str());
}

// The elements from an enumerator's position on, as text.
template <typename Enumerator>
std::vector<WideText> Rest(Enumerator& enumerator) {
  std::vector<WideText> texts;
  for (; enumerator.IsValid(); enumerator.Next()) {
    texts.push_back(ToStd(*enumerator.Current()));
  }
  return texts;
}

template <typename List>
std::vector<WideText> Texts(const List& list) {
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
