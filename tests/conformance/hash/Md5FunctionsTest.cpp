#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/CountedHeap.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"
#include "support/TestData.h"

namespace {

using Cifra::Test::ImportPatch;
using Cifra::Test::Library;

constexpr std::size_t kOutputBytes = 33;
constexpr char kUntouched = 'u';
constexpr char kEmptyDigest[] = "d41d8cd98f00b204e9800998ecf8427e";

const auto calculateTextMd5 = Library().textMd5;
const auto calculateWideCharTextMd5 = Library().wideTextMd5;

// Calls one of the two functions and returns the text that it wrote.
template <typename Function, typename Text>
std::string Call(Function* function, const Text* text, std::uint32_t expectedResult = 0) {
  char output[2 * kOutputBytes];
  std::fill(std::begin(output), std::end(output), kUntouched);
  EXPECT_EQ(expectedResult, function(text, output));
  EXPECT_TRUE(std::all_of(output + kOutputBytes, std::end(output), [](char character) {
    return character == kUntouched;
  })) << "bytes after the 33rd were written";
  return output;
}

TEST(Md5Functions, EmptyText_GivesTheDigestOfNothing) {
  EXPECT_EQ(kEmptyDigest, Call(calculateTextMd5, ""));
  EXPECT_EQ(kEmptyDigest, Call(calculateWideCharTextMd5, L""));
}

TEST(Md5Functions, Abc_GivesItsDigestInLowerCaseThroughBoth) {
  EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", Call(calculateTextMd5, "abc"));
  EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", Call(calculateWideCharTextMd5, L"abc"));
}

TEST(Md5Functions, Rfc1321Vectors_AgreeThroughBoth) {
  for (const auto& vector : Cifra::Test::ReadVectors("md5.txt")) {
    const std::wstring wide(vector[0].begin(), vector[0].end());
    EXPECT_EQ(vector[1], Call(calculateTextMd5, vector[0].c_str()));
    EXPECT_EQ(vector[1], Call(calculateWideCharTextMd5, wide.c_str()));
  }
}

TEST(Md5Functions, NullText_IsHashedAsTheEmptyText) {
  EXPECT_EQ(kEmptyDigest, Call(calculateWideCharTextMd5, static_cast<const wchar_t*>(nullptr)));
  EXPECT_EQ(kEmptyDigest, Call(calculateTextMd5, static_cast<const char*>(nullptr)));
}

TEST(Md5Functions, WideText_IsHashedAsItsUtf8Bytes) {
  EXPECT_EQ("66ddcd97cfdeabb2f6fb8a999b4bc76f", Call(calculateWideCharTextMd5, L"\u00E9"));
  EXPECT_EQ(Call(calculateTextMd5, "\xE2\x82\xAC \xF0\x9F\x98\x80"),
            Call(calculateWideCharTextMd5, L"\u20AC \U0001F600"));
}

TEST(Md5Functions, NarrowText_IsHashedInItsOwnEncoding) {
  EXPECT_EQ("66ddcd97cfdeabb2f6fb8a999b4bc76f", Call(calculateTextMd5, "\xC3\xA9"));
  EXPECT_EQ("3406877694691ddd1dfb0aca54681407", Call(calculateTextMd5, "\xE9"));
}

TEST(Md5Functions, Digest_EndsWithATerminatorInByte33) {
  char output[kOutputBytes + 1];
  std::fill(std::begin(output), std::end(output), kUntouched);
  calculateTextMd5("abc", output);
  EXPECT_EQ(32u, std::strlen(output));
  EXPECT_EQ(kUntouched, output[kOutputBytes]);
}

char* lowered = nullptr;

char* RememberLowered(char* text) {
  lowered = text;
  return _strlwr(text);
}

TEST(Md5Functions, Digest_IsInLowerCaseBeforeItReachesTheOutput) {
  const ImportPatch patch(Library().Module(), "_strlwr", &RememberLowered);
  char output[kOutputBytes];
  calculateTextMd5("abc", output);
  EXPECT_NE(nullptr, lowered);
  EXPECT_NE(output, lowered);
}

TEST(Md5Functions, LongText_IsHashedWhole) {
  EXPECT_EQ("7707d6ae4e027c70eea2a935c2296f21",
            Call(calculateTextMd5, std::string(1'000'000, 'a').c_str()));
  EXPECT_EQ("7707d6ae4e027c70eea2a935c2296f21",
            Call(calculateWideCharTextMd5, std::wstring(1'000'000, L'a').c_str()));
}

TEST(Md5Functions, WithoutTheLibrarysOwnFile_GiveNotFoundAndAnEmptyText) {
  const ImportPatch patch(Library().Module(), "LoadLibraryExW", &Cifra::Test::LoadNothing);
  EXPECT_EQ("", Call(calculateTextMd5, "abc", kCifraNotFound));
  EXPECT_EQ("", Call(calculateWideCharTextMd5, L"abc", kCifraNotFound));
}

TEST(Md5Functions, LeakNoMemory) {
  const Cifra::Test::CountedHeap heap;
  Call(calculateTextMd5, "abc");
  Call(calculateWideCharTextMd5, L"\u00E9");
  EXPECT_EQ(0, heap.LiveBlocks());
}

}  // namespace
