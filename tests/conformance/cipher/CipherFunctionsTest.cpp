#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/CountedHeap.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

namespace {

using Cifra::Test::Library;

constexpr char kUntouched = '\x7E';
constexpr char kKey[] = "a key";

// The result of one call and, on success, the text it wrote.
struct Outcome {
  std::uint32_t result;
  std::string text;
};

// Calls a function with a destination of exactly `size` bytes and checks that no byte after it, and
// on failure no byte of it, is written.
Outcome Call(CifraTextCipherFunction function, const char* text, const char* key,
             std::int32_t size = 4096) {
  const std::size_t sizeInBytes = size < 0 ? 0 : static_cast<std::size_t>(size);
  std::vector<char> buffer(sizeInBytes + 16, kUntouched);
  const std::uint32_t result = function(text, key, buffer.data(), size);
  for (std::size_t i = result == kCifraSuccess ? sizeInBytes : 0; i < buffer.size(); ++i) {
    EXPECT_EQ(kUntouched, buffer[i]) << "byte " << i;
  }
  return {result, result == kCifraSuccess ? buffer.data() : ""};
}

Outcome Encode(const char* text, const char* key = kKey, std::int32_t size = 4096) {
  return Call(Library().encodeText, text, key, size);
}

Outcome Decode(const char* text, const char* key = kKey, std::int32_t size = 4096) {
  return Call(Library().decodeText, text, key, size);
}

TEST(CipherFunctions, Encode_OfAnEmptyText_WritesAnEmptyText) {
  for (const char* text : {static_cast<const char*>(nullptr), ""}) {
    const Outcome outcome = Encode(text);
    EXPECT_EQ(kCifraSuccess, outcome.result);
    EXPECT_EQ("", outcome.text);
  }
}

TEST(CipherFunctions, Encode_OfOneCharacter_GivesTwelveCharactersEndingInPadding) {
  const Outcome outcome = Encode("x");
  EXPECT_EQ(kCifraSuccess, outcome.result);
  EXPECT_EQ(12u, outcome.text.size());
  EXPECT_EQ('=', outcome.text.back());
}

TEST(CipherFunctions, Encode_IntoOneByteLessThanTheText_GivesInsufficientBuffer) {
  for (const std::int32_t size : {11, 1, 0, -1, -2147483647}) {
    EXPECT_EQ(kCifraInsufficientBuffer, Encode("x", kKey, size).result) << size;
  }
}

TEST(CipherFunctions, Encode_IntoThirteenBytesForTwelveCharacters_Succeeds) {
  EXPECT_EQ(kCifraSuccess, Encode("x", kKey, 13).result);
}

const Cifra::Test::ChildAction kEncodeTextOfLength(
    L"EncodeTextOfLength", [](const auto& arguments) {
      std::vector<char> destination(std::stoul(arguments[1]) + 16);
      const std::string text(std::stoul(arguments[0]), 'x');
      return static_cast<int>(
          Library().encodeText(text.c_str(), kKey, destination.data(), std::stoi(arguments[1])));
    });

TEST(CipherFunctions, Encode_WithoutSpaceForTheTerminator_EndsTheProcessSilently) {
  const Cifra::Test::ChildResult child =
      Cifra::Test::RunChild(L"EncodeTextOfLength", {L"1", L"12"});
  EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode);
  EXPECT_EQ("", child.output);
}

TEST(CipherFunctions, Encode_OfTextThatFillsTheBuffer_EndsTheProcessSilently) {
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"EncodeTextOfLength", {L"760", L"4096"}).exitCode);
  const Cifra::Test::ChildResult child =
      Cifra::Test::RunChild(L"EncodeTextOfLength", {L"761", L"4096"});
  EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode);
  EXPECT_EQ("", child.output);
}

TEST(CipherFunctions, Decode_WithTheSameKey_GivesTheText) {
  for (const char* text : {"a", "12345678", "123456789", "two\nlines"}) {
    const Outcome decoded = Decode(Encode(text).text.c_str());
    EXPECT_EQ(kCifraSuccess, decoded.result);
    EXPECT_EQ(text, decoded.text);
  }
}

TEST(CipherFunctions, Decode_OfCharactersOutsideAscii_GivesThemBack) {
  const char* text = "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \xD0\x96";
  EXPECT_EQ(text, Decode(Encode(text).text.c_str()).text);
}

TEST(CipherFunctions, BothFunctions_TreatOtherThanAsciiAsTheObjectDoes) {
  const Cifra::Object<Cifra::IBlowfishAndBase64> combined(Library());
  combined->SetKey(reinterpret_cast<const std::uint8_t*>(kKey), sizeof(kKey) - 1);
  wchar_t encoded[256] = {};
  combined->EncodeText(L"\u00E9 \u20AC \U0001F600 \u0416", encoded, 256);
  const std::string expected(encoded, encoded + std::wcslen(encoded));
  const char* const utf8 = "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 \xD0\x96";
  EXPECT_EQ(expected, Encode(utf8).text);
  EXPECT_EQ(utf8, Decode(expected.c_str()).text);
}

TEST(CipherFunctions, Decode_OfWhatIsNotBase64_GivesSuccessAndAnEmptyText) {
  for (const char* text : {"not Base64!", "abc", "====", "\xC3\xA9\xC3\xA9"}) {
    const Outcome outcome = Decode(text);
    EXPECT_EQ(kCifraSuccess, outcome.result) << text;
    EXPECT_EQ("", outcome.text) << text;
  }
}

TEST(CipherFunctions, Decode_OfALongResult_CutsItTo1023Characters) {
  const Cifra::Object<Cifra::IBlowfishAndBase64> combined(Library());
  combined->SetKey(reinterpret_cast<const std::uint8_t*>(kKey), sizeof(kKey) - 1);
  std::vector<wchar_t> encoded(8192);
  combined->EncodeText(std::wstring(2000, L'y').c_str(), encoded.data(), 8192);
  const std::string narrow(encoded.begin(), encoded.end());
  EXPECT_EQ(std::string(1023, 'y'), Decode(narrow.c_str()).text);
}

TEST(CipherFunctions, Decode_IntoTooSmallADestination_GivesInsufficientBuffer) {
  const std::string encoded = Encode("1234567890").text;
  EXPECT_EQ(kCifraInsufficientBuffer, Decode(encoded.c_str(), kKey, 9).result);
  EXPECT_EQ("1234567890", Decode(encoded.c_str(), kKey, 11).text);
}

const Cifra::Test::ChildAction kDecodeIntoRoom(L"DecodeIntoRoom", [](const auto& arguments) {
  const std::string encoded = Encode("1234567890").text;
  std::vector<char> destination(std::stoul(arguments[0]) + 16);
  return static_cast<int>(
      Library().decodeText(encoded.c_str(), kKey, destination.data(), std::stoi(arguments[0])));
});

TEST(CipherFunctions, Decode_IntoTenBytesForTenCharacters_EndsTheProcessSilently) {
  EXPECT_EQ(0u, Cifra::Test::RunChild(L"DecodeIntoRoom", {L"11"}).exitCode);
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"DecodeIntoRoom", {L"10"});
  EXPECT_EQ(Cifra::Test::kFailFast, child.exitCode);
  EXPECT_EQ("", child.output);
}

TEST(CipherFunctions, BothFunctions_RejectANullEmptyOrOverlongKey) {
  const std::string longestKey(56, 'k');
  const std::string overlongKey(57, 'k');
  for (const CifraTextCipherFunction function : {Library().encodeText, Library().decodeText}) {
    for (const char* key : {static_cast<const char*>(nullptr), "", overlongKey.c_str()}) {
      EXPECT_EQ(kCifraInvalidParameter, Call(function, "text", key).result);
    }
    EXPECT_EQ(kCifraSuccess, Call(function, "text", longestKey.c_str()).result);
  }
}

TEST(CipherFunctions, BothFunctions_RejectANullDestinationThatHasASize) {
  EXPECT_EQ(kCifraInvalidParameter, Library().encodeText("text", kKey, nullptr, 100));
  EXPECT_EQ(kCifraInsufficientBuffer, Library().encodeText("text", kKey, nullptr, 0));
  EXPECT_EQ(kCifraInvalidParameter, Library().decodeText("", kKey, nullptr, 100));
}

TEST(CipherFunctions, BothFunctions_WithoutTheCombinedObject_GiveNotFound) {
  const Cifra::Test::ImportPatch patch(Library().Module(), "LoadLibraryExW",
                                       &Cifra::Test::LoadNothing);
  EXPECT_EQ(kCifraNotFound, Encode("text").result);
  EXPECT_EQ(kCifraNotFound, Decode("AAAAAAAAAAA=").result);
}

int loadsBeforeFailure = 0;
HMODULE WINAPI LoadAFewTimes(LPCWSTR file, HANDLE reserved, DWORD flags) {
  return loadsBeforeFailure-- > 0 ? LoadLibraryExW(file, reserved, flags) : nullptr;
}

TEST(CipherFunctions, BothFunctions_WithoutAPartOfTheCombinedObject_GiveNotFound) {
  const Cifra::Test::ImportPatch patch(Library().Module(), "LoadLibraryExW", &LoadAFewTimes);
  for (const int loads : {1, 2}) {
    loadsBeforeFailure = loads;
    EXPECT_EQ(kCifraNotFound, Encode("text").result) << loads;
  }
}

TEST(CipherFunctions, BothFunctions_GiveAllMemoryBack) {
  const Cifra::Test::CountedHeap heap;
  Decode(Encode("text").text.c_str());
  Decode("not Base64");
  Encode("text", "");
  EXPECT_EQ(0, heap.LiveBlocks());
}

TEST(CipherFunctions, BothFunctions_ServeManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([i] {
      const std::string key = "key of thread " + std::to_string(i);
      for (int round = 0; round < 20; ++round) {
        const std::string text = "text " + std::to_string(i * 100 + round);
        EXPECT_EQ(text, Decode(Encode(text.c_str(), key.c_str()).text.c_str(), key.c_str()).text);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
