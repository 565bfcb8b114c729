#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

#include "foundation/string/StringT.h"
#include "support/TestMemMgr.h"

namespace Cifra::Test {

// The 2-byte character that the library's wide string has: wchar_t on Windows.
using WideChar = std::conditional_t<sizeof(wchar_t) == 2, wchar_t, char16_t>;

template <typename Char>
using String = kx::StringT<Char>;

// A string whose memory a TestMemory watches.
template <typename Char>
using WatchedString = kx::StringT<Char, TestMemMgr>;

// Every test of the string runs for both of its character types.
using CharTypes = testing::Types<WideChar, char>;

struct CharTypeName {
  template <typename Char>
  static std::string GetName(int) {
    return sizeof(Char) == 2 ? "Wide" : "Narrow";
  }
};

// Text of a character type from ASCII.
template <typename Char>
std::basic_string<Char> Text(std::string_view ascii) {
  return std::basic_string<Char>(ascii.begin(), ascii.end());
}

// A text of count letters in which neighbours differ.
template <typename Char>
std::basic_string<Char> Letters(std::size_t count) {
  std::basic_string<Char> text;
  for (std::size_t i = 0; i < count; ++i) {
    text += static_cast<Char>('a' + i % 26);
  }
  return text;
}

// The string's text up to its length, which may hold zeros; checks that it is terminated.
template <typename Char, typename MemMgr>
std::basic_string<Char> TextOf(const kx::StringT<Char, MemMgr>& string) {
  EXPECT_EQ(Char{0}, string.CStr()[string.Length()]);
  return std::basic_string<Char>(string.CStr(), string.Length());
}

// The memory of a block, addressed by the offsets of its documented layout.
template <typename Char>
class BlockView {
 public:
  template <typename MemMgr>
  explicit BlockView(const kx::StringT<Char, MemMgr>& string)
      : bytes(reinterpret_cast<unsigned char*>(const_cast<Char*>(string.CStr())) - 16) {}

  static constexpr std::size_t TrailingGuardOffset(std::size_t capacity) {
    return 16 + (capacity + 1) * sizeof(Char);
  }

  void* Address() const { return bytes; }
  template <typename Value>
  Value At(std::size_t offset) const {
    return Read<Value>(bytes + offset);
  }
  // A field of the header, by its offset there.
  template <typename Value>
  Value HeaderAt(std::size_t offset) const {
    return Read<Value>(At<unsigned char*>(4) + offset);
  }
  void Damage(std::size_t offset) { bytes[offset] ^= 0x10; }

 private:
  template <typename Value>
  static Value Read(const unsigned char* from) {
    Value value;
    std::memcpy(&value, from, sizeof(value));
    return value;
  }

  unsigned char* bytes;
};

}  // namespace Cifra::Test
