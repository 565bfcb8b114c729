#include <windows.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

// What the library has copied of a caller's plaintext is wiped: neither memory that it frees nor
// the stack that it leaves holds any of it.
namespace Cifra::Test {
namespace {

// Not a multiple of a block long, so that the last one is padded. Static, so that it is on no
// stack.
constexpr char kText[] = "<a plaintext that must not stay behind!>tail~";
constexpr wchar_t kWideText[] = L"<a plaintext that must not stay behind!>tail~";
constexpr std::uint8_t kKey[] = {1, 2, 3, 4, 5, 6, 7, 8};

template <typename Char>
std::string BytesOf(std::basic_string_view<Char> text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(Char)};
}

// On no stack either.
const std::string kNeedles[] = {BytesOf<char>("must not stay"), BytesOf<wchar_t>(L"must not stay"),
                                BytesOf<char>("tail~"), BytesOf<wchar_t>(L"tail~")};

bool HoldsPlaintext(std::string_view memory) {
  return std::any_of(std::begin(kNeedles), std::end(kNeedles), [&](const std::string& needle) {
    return memory.find(needle) != std::string_view::npos;
  });
}

int freedBlocks = 0;
int freedPlaintexts = 0;

void FreeWatched(void* block) {
  if (block) {
    ++freedBlocks;
    freedPlaintexts += HoldsPlaintext({static_cast<const char*>(block), _msize(block)});
  }
  std::free(block);
}

void* ReallocateWatched(void* block, std::size_t bytes) {
  void* const moved = std::malloc(bytes);
  if (moved && block) {
    std::memcpy(moved, block, std::min(bytes, _msize(block)));
    FreeWatched(block);
  }
  return moved;
}

// Runs an operation on a thread of its own and tells whether the stack that it used holds
// plaintext.
bool LeavesPlaintextOnItsStack(const std::function<void()>& operation) {
  const HANDLE ran = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE looked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::string_view stack;
  std::thread thread([&] {
    operation();
    const auto* block = reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
    const char* const end = static_cast<const char*>(block->StackBase);
    const char* const begin = static_cast<const char*>(block->StackLimit);
    stack = {begin, static_cast<std::size_t>(end - begin)};
    SetEvent(ran);
    WaitForSingleObject(looked, INFINITE);
  });
  WaitForSingleObject(ran, INFINITE);
  const bool holdsPlaintext = HoldsPlaintext(stack);
  SetEvent(looked);
  thread.join();
  CloseHandle(ran);
  CloseHandle(looked);
  return holdsPlaintext;
}

void ExpectNothingLeftBy(const std::function<void()>& operation) {
  const ImportPatch free(Library().Module(), "free", &FreeWatched);
  const ImportPatch reallocate(Library().Module(), "realloc", &ReallocateWatched);
  freedBlocks = 0;
  freedPlaintexts = 0;
  EXPECT_FALSE(LeavesPlaintextOnItsStack(operation));
  EXPECT_LT(0, freedBlocks);
  EXPECT_EQ(0, freedPlaintexts);
}

// The destinations, which are the caller's own.
wchar_t wideDestination[256];
char destination[256];
std::string byteDestination;

class PlaintextWipe : public testing::Test {
 protected:
  PlaintextWipe() {
    combined->SetKey(kKey, sizeof(kKey));
    combined->EncodeText(kWideText, encoded, 256);
    for (const wchar_t* character = encoded; *character; ++character) {
      narrowEncoded += static_cast<char>(*character);
    }
    byteDestination.reserve(256);
  }

  Object<IBlowfishAndBase64> combined{Library()};
  wchar_t encoded[256] = {};
  std::string narrowEncoded;
};

TEST_F(PlaintextWipe, TheProbe_SeesAStackAndABlockThatHoldPlaintext) {
  EXPECT_TRUE(LeavesPlaintextOnItsStack([] {
    volatile char frame[8192];  // its lower end is out of the reach of the calls that follow
    std::copy(std::begin(kText), std::end(kText), frame);
  }));
  freedPlaintexts = 0;
  FreeWatched(_strdup(kText));
  EXPECT_EQ(1, freedPlaintexts);
}

TEST_F(PlaintextWipe, EncodeText_LeavesNone) {
  ExpectNothingLeftBy([&] { combined->EncodeText(kWideText, wideDestination, 256); });
}

TEST_F(PlaintextWipe, DecodeText_LeavesNone) {
  ExpectNothingLeftBy([&] { combined->DecodeText(encoded, wideDestination, 256); });
  EXPECT_STREQ(kWideText, wideDestination);
}

TEST_F(PlaintextWipe, DecodeToBytes_LeavesNone) {
  ExpectNothingLeftBy([&] {
    combined->DecodeToBytes(narrowEncoded.data(), narrowEncoded.size(), byteDestination);
  });
  EXPECT_STREQ(kText, byteDestination.c_str());
}

TEST_F(PlaintextWipe, LastBlockOfEncrypt_LeavesNone) {
  const Object<IBlowfish> blowfish(Library());
  blowfish->SetKey(kKey, sizeof(kKey));
  static std::vector<std::uint8_t> output;
  EXPECT_FALSE(LeavesPlaintextOnItsStack([&] {
    blowfish->Encrypt(reinterpret_cast<const std::uint8_t*>(kText), sizeof(kText) - 1, output);
  }));
}

TEST_F(PlaintextWipe, ExportedCipherFunctions_LeaveNone) {
  ExpectNothingLeftBy([] { Library().encodeText(kText, "a key", destination, 256); });
  static char text[256];
  std::memcpy(text, destination, sizeof(text));
  ExpectNothingLeftBy([] { Library().decodeText(text, "a key", destination, 256); });
  EXPECT_STREQ(kText, destination);
}

TEST_F(PlaintextWipe, ExportedMd5Functions_LeaveNone) {
  ExpectNothingLeftBy([] { Library().wideTextMd5(kWideText, destination); });
  ExpectNothingLeftBy([] { Library().textMd5(kText, destination); });
}

TEST_F(PlaintextWipe, Md5ObjectDestroyedBeforeItsFinal_LeavesNone) {
  ExpectNothingLeftBy([] {
    const Object<IMd5> md5(Library());
    md5->Update(reinterpret_cast<const std::uint8_t*>(kText), sizeof(kText) - 1);
  });
}

TEST_F(PlaintextWipe, HashFile_LeavesNoneOfTheFile) {
  const TempDirectory directory;
  const std::filesystem::path path = directory / L"file";
  std::ofstream(path) << kText;
  const Object<IMd5> md5(Library());
  const Object<ISha256> sha256(Library());
  kx::StringT<wchar_t> digest;
  ExpectNothingLeftBy([&] { md5->HashFile(path.c_str(), digest); });
  ExpectNothingLeftBy([&] { sha256->HashFile(path.c_str(), digest); });
}

TEST_F(PlaintextWipe, Base64EncodeInPlace_LeavesNone) {
  const Object<IBase64> base64(Library());
  static std::string text;
  text = kText;
  text.reserve(256);
  ExpectNothingLeftBy([&] {
    base64->Encode(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), text, true);
  });
}

}  // namespace
}  // namespace Cifra::Test
