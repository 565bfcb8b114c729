#include <windows.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "foundation/string/Utf8.h"
#include "support/ImportPatch.h"

namespace {

using ByteString = kx::StringT<char>;
using WideString = kx::StringT<wchar_t>;

TEST(Utf8, UnsetSource_GivesAnEmptyTextWithABuffer) {
  const ByteString narrow = kx::ToUtf8(WideString());
  EXPECT_EQ(0u, narrow.Length());
  EXPECT_EQ(64u, narrow.Capacity());
  const WideString wide = kx::FromUtf8(ByteString());
  EXPECT_EQ(0u, wide.Length());
  EXPECT_EQ(64u, wide.Capacity());
}

TEST(Utf8, AsciiText_ConvertsToItsFiveBytesAndBack) {
  const ByteString narrow = kx::ToUtf8(L"Cifra");
  EXPECT_EQ(5u, narrow.Length());
  EXPECT_STREQ("Cifra", narrow.CStr());
  const WideString wide = kx::FromUtf8(narrow);
  EXPECT_EQ(5u, wide.Length());
  EXPECT_STREQ(L"Cifra", wide.CStr());
}

TEST(Utf8, EveryWidthOfCharacter_ConvertsBothWays) {
  const WideString wide(L"a\u00E9\u20AC\U0001F600");
  const ByteString narrow("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_STREQ(narrow.CStr(), kx::ToUtf8(wide).CStr());
  EXPECT_STREQ(wide.CStr(), kx::FromUtf8(narrow).CStr());
}

TEST(Utf8, LongText_ConvertsWhole) {
  const std::wstring wide(5000, L'\u00E4');
  const ByteString narrow = kx::ToUtf8(wide.c_str());
  EXPECT_EQ(10000u, narrow.Length());
  EXPECT_EQ(wide, kx::FromUtf8(narrow).CStr());
}

TEST(Utf8, MalformedSequences_ComeOutAsTheReplacementCharacter) {
  EXPECT_STREQ(L"a\uFFFDb", kx::FromUtf8("a\xFF"
                                         "b")
                                .CStr());
  EXPECT_STREQ("a\xEF\xBF\xBD", kx::ToUtf8(L"a\xD800").CStr());
}

// The platform refuses hardly any text, so the test replaces its function.
int WINAPI RefuseWide(UINT, DWORD, LPCWSTR, int, LPSTR, int, LPCSTR, LPBOOL) { return 0; }
int WINAPI RefuseNarrow(UINT, DWORD, LPCSTR, int, LPWSTR, int) { return 0; }
// With garbage in the buffer, as a conversion may leave it that fails halfway.
int WINAPI RefuseAfterTheSizeCallWide(UINT, DWORD, LPCWSTR, int, LPSTR buffer, int size, LPCSTR,
                                      LPBOOL) {
  std::fill_n(buffer, buffer ? size : 0, '?');
  return buffer ? 0 : 6;
}
int WINAPI RefuseAfterTheSizeCallNarrow(UINT, DWORD, LPCSTR, int, LPWSTR buffer, int size) {
  std::fill_n(buffer, buffer ? size : 0, L'?');
  return buffer ? 0 : 6;
}

TEST(Utf8, TextThatThePlatformRefuses_GivesAnEmptyTextAndNoError) {
  const HMODULE program = GetModuleHandleW(nullptr);
  for (const auto refuse : {&RefuseWide, &RefuseAfterTheSizeCallWide}) {
    const Cifra::Test::ImportPatch patch(program, "WideCharToMultiByte", refuse);
    const ByteString narrow = kx::ToUtf8(L"Cifra");
    EXPECT_EQ(0u, narrow.Length());
    EXPECT_STREQ("", narrow.CStr());
  }
  for (const auto refuse : {&RefuseNarrow, &RefuseAfterTheSizeCallNarrow}) {
    const Cifra::Test::ImportPatch patch(program, "MultiByteToWideChar", refuse);
    const WideString wide = kx::FromUtf8("Cifra");
    EXPECT_EQ(0u, wide.Length());
    EXPECT_STREQ(L"", wide.CStr());
  }
}

}  // namespace
