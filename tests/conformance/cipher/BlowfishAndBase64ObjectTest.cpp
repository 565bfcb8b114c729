#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

namespace {

using Cifra::Object;
using Cifra::Test::Library;

constexpr std::uint32_t kFailure = 0;
constexpr std::uint32_t kDone = 1;
constexpr wchar_t kUntouched = L'\xEEEE';

const std::string kKey = "correct horse battery staple";

class BlowfishAndBase64Object : public testing::Test {
 protected:
  BlowfishAndBase64Object() { SetKey(kKey); }

  std::uint32_t SetKey(const std::string& key) {
    return combined->SetKey(reinterpret_cast<const std::uint8_t*>(key.data()),
                            static_cast<std::uint32_t>(key.size()));
  }
  std::wstring Encode(const std::wstring& text) {
    std::vector<wchar_t> destination(text.size() * 8 + 32, kUntouched);
    EXPECT_EQ(kDone, combined->EncodeText(text.c_str(), destination.data(),
                                          static_cast<std::uint32_t>(destination.size())));
    return destination.data();
  }
  std::wstring Decode(const std::wstring& text, std::uint32_t expectedResult = kDone) {
    std::vector<wchar_t> destination(text.size() + 32, kUntouched);
    EXPECT_EQ(expectedResult, combined->DecodeText(text.c_str(), destination.data(),
                                                   static_cast<std::uint32_t>(destination.size())));
    return destination.data();
  }

  Object<Cifra::IBlowfishAndBase64> combined{Library()};
};

std::string Narrow(const std::wstring& ascii) { return std::string(ascii.begin(), ascii.end()); }

TEST_F(BlowfishAndBase64Object, EncodeText_OfAnEmptyText_NeedsNoKeyAndNoParts) {
  const Object<Cifra::IBlowfishAndBase64> withoutKey(Library());
  for (const wchar_t* text : {static_cast<const wchar_t*>(nullptr), L""}) {
    wchar_t destination[2] = {kUntouched, kUntouched};
    EXPECT_EQ(kDone, withoutKey->EncodeText(text, destination, 2));
    EXPECT_EQ(L'\0', destination[0]);
    EXPECT_EQ(kUntouched, destination[1]);
  }
}

TEST_F(BlowfishAndBase64Object, EncodeText_OfOneCharacter_GivesTwelveWithOnePadding) {
  const std::wstring encoded = Encode(L"x");
  EXPECT_EQ(12u, encoded.size());
  EXPECT_EQ(L'=', encoded[11]);
  EXPECT_NE(L'=', encoded[10]);
}

TEST_F(BlowfishAndBase64Object, EncodeText_IsTheBase64OfTheEncipheredUtf8) {
  const Object<Cifra::IBlowfish> blowfish(Library());
  const Object<Cifra::IBase64> base64(Library());
  blowfish->SetKey(reinterpret_cast<const std::uint8_t*>(kKey.data()),
                   static_cast<std::int32_t>(kKey.size()));
  const std::string utf8 = "gr\xC3\xBC\xC3\x9F dich \xE2\x82\xAC";
  std::vector<std::uint8_t> encrypted;
  blowfish->Encrypt(reinterpret_cast<const std::uint8_t*>(utf8.data()), utf8.size(), encrypted);
  std::string expected;
  base64->Encode(encrypted, expected, true);
  EXPECT_EQ(expected, Narrow(Encode(L"gr\u00FC\u00DF dich \u20AC")));
}

TEST_F(BlowfishAndBase64Object, DecodeText_OfAnEncodedText_GivesTheText) {
  for (const std::wstring text : {L"a", L"12345678", L"123456789", L"\u00E9\u20AC\U0001F600",
                                  L"a longer text\r\nof two lines\tand a tab"}) {
    EXPECT_EQ(text, Decode(Encode(text)));
  }
}

TEST_F(BlowfishAndBase64Object, DecodeText_OfLongTexts_GivesThemWhole) {
  const std::wstring text(100000, L'\u00E4');
  EXPECT_EQ(text, Decode(Encode(text)));
}

TEST_F(BlowfishAndBase64Object, DecodeText_WithAnotherKey_GivesTextUpToTheFirstZeroByte) {
  const std::wstring encoded = Encode(L"a text of more than one block");
  SetKey("another key");
  std::string bytes;
  ASSERT_EQ(kDone, combined->DecodeToBytes(Narrow(encoded).data(), encoded.size(), bytes));
  wchar_t expected[256] = {};
  MultiByteToWideChar(CP_UTF8, 0, bytes.c_str(), -1, expected, 256);
  EXPECT_EQ(std::wstring(expected), Decode(encoded));
}

TEST_F(BlowfishAndBase64Object, DecodeText_OfAnInvalidCharacter_GivesAnEmptyTextAndFails) {
  std::wstring encoded = Encode(L"text");
  encoded[3] = L' ';
  EXPECT_EQ(L"", Decode(encoded, kFailure));
  EXPECT_EQ(L"", Decode(L"\u20AC\u20AC\u20AC\u20AC", kFailure));
  EXPECT_EQ(L"", Decode(L"abc", kFailure));
}

TEST_F(BlowfishAndBase64Object, DecodeText_IntoFourCharacters_CutsTheTextToThree) {
  wchar_t destination[5] = {kUntouched, kUntouched, kUntouched, kUntouched, kUntouched};
  EXPECT_EQ(kDone, combined->DecodeText(Encode(L"abcdef").c_str(), destination, 4));
  EXPECT_STREQ(L"abc", destination);
  EXPECT_EQ(kUntouched, destination[4]);
}

TEST_F(BlowfishAndBase64Object, DecodeText_EndsTheDestinationsLastCharacterToo) {
  wchar_t destination[10];
  std::fill(std::begin(destination), std::end(destination), kUntouched);
  EXPECT_EQ(kDone, combined->DecodeText(Encode(L"abc").c_str(), destination, 10));
  EXPECT_STREQ(L"abc", destination);
  EXPECT_EQ(L'\0', destination[9]);
}

TEST_F(BlowfishAndBase64Object, DecodeText_OfAnEmptyText_GivesAnEmptyText) {
  for (const wchar_t* text : {static_cast<const wchar_t*>(nullptr), L""}) {
    wchar_t destination[2] = {kUntouched, kUntouched};
    EXPECT_EQ(kDone, combined->DecodeText(text, destination, 2));
    EXPECT_EQ(L'\0', destination[0]);
  }
}

TEST_F(BlowfishAndBase64Object, Operations_WithoutADestination_Fail) {
  const std::wstring encoded = Encode(L"text");
  wchar_t untouched = kUntouched;
  EXPECT_EQ(kFailure, combined->EncodeText(L"text", nullptr, 100));
  EXPECT_EQ(kFailure, combined->EncodeText(L"", nullptr, 100));
  EXPECT_EQ(kFailure, combined->DecodeText(encoded.c_str(), nullptr, 100));
  EXPECT_EQ(kFailure, combined->DecodeText(encoded.c_str(), &untouched, 0));
  EXPECT_EQ(kUntouched, untouched);
  EXPECT_EQ(kDone, combined->DecodeText(L"", nullptr, 0));
}

TEST_F(BlowfishAndBase64Object, DecodeToBytes_GivesAllBytesWithTheirZeroPadding) {
  const std::string encoded = Narrow(Encode(L"123456789"));
  std::string output = "previous content";
  EXPECT_EQ(kDone, combined->DecodeToBytes(encoded.data(), encoded.size(), output));
  EXPECT_EQ(std::string("123456789\0\0\0\0\0\0\0", 16), output);
}

TEST_F(BlowfishAndBase64Object, DecodeToBytes_ReadsNoFurtherThanTheLengthGiven) {
  const std::string encoded = Narrow(Encode(L"12345678"));
  std::string output;
  EXPECT_EQ(kDone, combined->DecodeToBytes((encoded + "!!!!").data(), encoded.size(), output));
  EXPECT_EQ("12345678", output);
}

TEST_F(BlowfishAndBase64Object, DecodeToBytes_OfBadText_FailsAndKeepsTheOutput) {
  std::string output = "previous content";
  for (const std::string text : {"", "abc", "ab=c", "Zg==Zg=="}) {
    EXPECT_EQ(kFailure, combined->DecodeToBytes(text.data(), text.size(), output)) << text;
  }
  EXPECT_EQ("previous content", output);
}

TEST_F(BlowfishAndBase64Object, SetKey_Takes56BytesAndRefuses57) {
  EXPECT_EQ(kDone, SetKey(std::string(56, 'k')));
  EXPECT_EQ(kFailure, SetKey(std::string(57, 'k')));
}

TEST_F(BlowfishAndBase64Object, SetKey_ThatIsRefused_LeavesTheKeyInForce) {
  const std::wstring before = Encode(L"text");
  EXPECT_EQ(kFailure, SetKey(std::string(57, 'k')));
  EXPECT_EQ(before, Encode(L"text"));
}

// The content of the watched object when its memory was freed.
const void* watchedObject = nullptr;
std::string freedContent;
void FreeWatched(void* block) {
  if (block && block == watchedObject) {
    freedContent.assign(static_cast<const char*>(block), _msize(block));
  }
  std::free(block);
}

TEST(BlowfishAndBase64ObjectKey, IsWipedBeforeItsMemoryIsFreed) {
  const std::string key = "a key that is to be found nowhere else";
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "free", &FreeWatched);
  {
    const Object<Cifra::IBlowfishAndBase64> doomed(Library());
    watchedObject = doomed.Base();  // its first base
    doomed->SetKey(reinterpret_cast<const std::uint8_t*>(key.data()),
                   static_cast<std::uint32_t>(key.size()));
    const std::string content(static_cast<const char*>(watchedObject), 2 * sizeof(void*) + 56);
    EXPECT_EQ(2 * sizeof(void*), content.find(key)) << "the key follows the two bases";
  }
  EXPECT_LT(0u, freedContent.size());
  EXPECT_EQ(std::string::npos, freedContent.find(key.substr(0, 8)));
  EXPECT_EQ(std::string::npos, freedContent.find(key.substr(key.size() - 8)));
}

TEST(BlowfishAndBase64ObjectWithoutParts, Operations_Fail) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "LoadLibraryExW",
                                       &Cifra::Test::LoadNothing);
  const Object<Cifra::IBlowfishAndBase64> combined(Library());
  ASSERT_EQ(kCifraSuccess, combined.Result());
  wchar_t destination[64] = {};
  std::string bytes;
  EXPECT_EQ(kFailure, combined->SetKey(reinterpret_cast<const std::uint8_t*>("key"), 3));
  EXPECT_EQ(kFailure, combined->EncodeText(L"text", destination, 64));
  EXPECT_EQ(kFailure, combined->DecodeText(L"AAAAAAAAAAA=", destination, 64));
  EXPECT_EQ(kFailure, combined->DecodeToBytes("AAAAAAAAAAA=", 12, bytes));
  EXPECT_EQ(kDone, combined->EncodeText(L"", destination, 64));
}

const Cifra::Test::ChildAction kEncodeIntoRoom(L"EncodeIntoRoom", [](const auto& arguments) {
  const Object<Cifra::IBlowfishAndBase64> combined(Library());
  combined->SetKey(reinterpret_cast<const std::uint8_t*>("key"), 3);
  wchar_t destination[64];
  combined->EncodeText(L"x", destination, static_cast<std::uint32_t>(std::stoul(arguments[0])));
  return 0;
});

TEST(BlowfishAndBase64ObjectFatal, EncodeText_IntoTooSmallADestination_EndsTheProcessSilently) {
  const Cifra::Test::ChildResult tooSmall = Cifra::Test::RunChild(L"EncodeIntoRoom", {L"12"});
  EXPECT_EQ(Cifra::Test::kFailFast, tooSmall.exitCode);
  EXPECT_EQ("", tooSmall.output);
  EXPECT_EQ(Cifra::Test::kFailFast, Cifra::Test::RunChild(L"EncodeIntoRoom", {L"0"}).exitCode);
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"EncodeIntoRoom", {L"13"}).exitCode);
}

const Cifra::Test::ChildAction kSetEmptyKey(L"SetEmptyKey", [](const auto&) {
  const Object<Cifra::IBlowfishAndBase64> combined(Library());
  combined->SetKey(reinterpret_cast<const std::uint8_t*>(""), 0);
  return 0;
});

const Cifra::Test::ChildAction kSetNullKey(L"SetNullKey", [](const auto&) {
  const Object<Cifra::IBlowfishAndBase64> combined(Library());
  combined->SetKey(nullptr, 5);
  return 0;
});

TEST(BlowfishAndBase64ObjectFatal, SetKey_OfNoKey_EndsTheProcessSilently) {
  for (const wchar_t* action : {L"SetEmptyKey", L"SetNullKey"}) {
    const Cifra::Test::ChildResult child = Cifra::Test::RunChild(action);
    EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode) << action;
    EXPECT_EQ("", child.output) << action;
  }
}

}  // namespace
