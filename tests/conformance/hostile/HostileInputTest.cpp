#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

// Input of the largest and oddest kinds, and use without pause. CIFRA_HOSTILE_SECONDS makes the
// latter longer than a second.
namespace {

using Cifra::Object;
using Cifra::Test::ChildAction;
using Cifra::Test::FileUnderTest;
using Cifra::Test::Library;
using Cifra::Test::LoadCifra;
using Text = kx::StringT<wchar_t>;

constexpr std::size_t kTenMillion = 10'000'000;
constexpr std::uint8_t kKey[] = {'k', 'e', 'y'};

int Seconds() {
  const char* given = std::getenv("CIFRA_HOSTILE_SECONDS");
  return given ? std::atoi(given) : 1;
}

struct NamedText {
  const char* name;
  std::wstring text;
};

// Texts that are no text, or too much of it.
std::vector<NamedText> OddTexts() {
  return {{"a lone high surrogate", L"a\xD800"},
          {"a lone low surrogate", L"\xDC00z"},
          {"surrogates in the wrong order", L"\xDC00\xD800"},
          {"not a character", L"\xFFFF\xFFFE"},
          {"controls", L"\x01\x02\x1A\x7F\x85"},
          {"260 characters", std::wstring(260, L'a')},
          {"32,767 characters", std::wstring(32'767, L'a')}};
}

TEST(HostileInput, OddTexts_ComeBackOrAreReplaced) {
  const Object<Cifra::IBlowfishAndBase64> object(Library());
  object->SetKey(kKey, sizeof(kKey));
  for (const NamedText& odd : OddTexts()) {
    std::vector<wchar_t> encoded(8 * odd.text.size() + 64);
    ASSERT_EQ(1u, object->EncodeText(odd.text.c_str(), encoded.data(),
                                     static_cast<std::uint32_t>(encoded.size())))
        << odd.name;
    std::vector<wchar_t> decoded(odd.text.size() + 8);
    ASSERT_EQ(1u, object->DecodeText(encoded.data(), decoded.data(),
                                     static_cast<std::uint32_t>(decoded.size())))
        << odd.name;
    // UTF-8 has no lone surrogates: the platform puts the replacement character in their place.
    std::wstring expected = odd.text;
    for (wchar_t& character : expected) {
      character = character >= 0xD800 && character <= 0xDFFF ? L'\xFFFD' : character;
    }
    EXPECT_EQ(expected, decoded.data()) << odd.name;
  }
}

TEST(HostileInput, TenMillionCharacters_ComeBackWhole) {
  const Object<Cifra::IBlowfishAndBase64> object(Library());
  object->SetKey(kKey, sizeof(kKey));
  const std::wstring text(kTenMillion, L'x');
  std::vector<wchar_t> encoded(kTenMillion / 3 * 4 + 64);
  ASSERT_EQ(1u, object->EncodeText(text.c_str(), encoded.data(),
                                   static_cast<std::uint32_t>(encoded.size())));
  std::vector<wchar_t> decoded(kTenMillion + 1);
  ASSERT_EQ(1u, object->DecodeText(encoded.data(), decoded.data(),
                                   static_cast<std::uint32_t>(decoded.size())));
  EXPECT_TRUE(text == decoded.data());
}

TEST(HostileInput, OddNamesOfObjects_AreUnknown) {
  for (const NamedText& odd : OddTexts()) {
    void* object = &object;
    EXPECT_EQ(1168u, Library().create(odd.text.c_str(), &IKxBaseInterface::kInterfaceId, &object))
        << odd.name;
    EXPECT_EQ(nullptr, object) << odd.name;
  }
}

TEST(HostileInput, OddNamesOfFiles_GiveAnErrorAndLeaveTheOutput) {
  const Object<Cifra::IMd5> md5(Library());
  const Object<Cifra::ISha256> sha256(Library());
  const Object<Cifra::IDigitalSignature> signature(Library());
  for (const NamedText& odd : OddTexts()) {
    Text output = L"unchanged";
    EXPECT_NE(0u, md5->HashFile(odd.text.c_str(), output)) << odd.name;
    EXPECT_NE(0u, sha256->HashFile(odd.text.c_str(), output)) << odd.name;
    EXPECT_EQ(std::wstring(L"unchanged"), output.CStr()) << odd.name;
    EXPECT_NE(0u, signature->VerifyFile(odd.text.c_str(), false)) << odd.name;
    EXPECT_FALSE(signature->IsSigned(odd.text.c_str(), false)) << odd.name;
  }
}

// Files that begin like programs and are none.
TEST(HostileInput, BrokenPrograms_AreOpenedAndNotTrusted) {
  const Cifra::Test::TempDirectory directory;
  std::string headers(512, '\0');
  headers.replace(0, 2, "MZ");
  std::string beyond = headers;
  beyond.replace(0x3C, 4, "\xF0\xFF\xFF\x7F");
  std::string inside = headers;
  inside[0x3C] = 0x40;
  inside.replace(0x40, 4, "PE\0\0", 4);
  for (const std::string& content : {std::string(), std::string("M"), std::string("MZ"), headers,
                                     beyond, inside, inside + std::string(100'000, '\xFF')}) {
    const auto file = directory / L"broken.exe";
    std::ofstream(file, std::ios::binary) << content;
    const Object<Cifra::IDigitalSignature> signature(Library());
    EXPECT_EQ(0u, signature->VerifyFile(file.wstring().c_str(), false)) << content.size();
    EXPECT_FALSE(signature->IsSigned(file.wstring().c_str(), false)) << content.size();
  }
}

// What a thread does over and over with objects of its own; false when something is wrong.
bool UseAllObjects() {
  const Object<Cifra::IBlowfishAndBase64> cipher(Library());
  wchar_t encoded[64];
  wchar_t decoded[64];
  const Object<Cifra::IMd5> md5(Library());
  const Object<Cifra::ISha256> sha256(Library());
  const Object<Cifra::IDigitalSignature> signature(Library());
  Text md5Digest;
  Text sha256Digest;
  md5->GetHashString(md5Digest);
  sha256->GetHashString(sha256Digest);
  return cipher->SetKey(kKey, sizeof(kKey)) == 1 &&
         cipher->EncodeText(L"a text", encoded, 64) == 1 &&
         cipher->DecodeText(encoded, decoded, 64) == 1 && std::wstring(L"a text") == decoded &&
         std::wstring(L"D41D8CD98F00B204E9800998ECF8427E") == md5Digest.CStr() &&
         sha256Digest.Length() == 64 && signature->VerifyFile(L"missing", false) != 0;
}

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// Both know a child that is ready, and the parent's sign to begin, by the name they were given.
UniqueHandle ReadyChildren(const std::wstring& name) {
  return UniqueHandle(CreateSemaphoreW(nullptr, 0, 2, (name + L"-ready").c_str()));
}
UniqueHandle SignToBegin(const std::wstring& name) {
  return UniqueHandle(CreateEventW(nullptr, TRUE, FALSE, (name + L"-begin").c_str()));
}

// Uses the library for a while, and reads a file that the other child reads too. Prints the rounds.
const ChildAction kUseTheLibrary(L"UseTheLibrary", [](const ChildAction::Arguments& arguments) {
  const std::wstring& file = arguments[1];
  const Object<Cifra::ISha256> sha256(Library());
  const UniqueHandle begin = SignToBegin(arguments[0]);
  ReleaseSemaphore(ReadyChildren(arguments[0]).get(), 1, nullptr);
  WaitForSingleObject(begin.get(), INFINITE);
  int rounds = 0;
  const ULONGLONG end = GetTickCount64() + 1000u * static_cast<unsigned>(Seconds());
  do {
    Text digest;
    if (!UseAllObjects() || sha256->HashFile(file.c_str(), digest) != 0 || digest.Length() != 64) {
      return 1;
    }
    ++rounds;
  } while (GetTickCount64() < end);
  std::printf("%d\n", rounds);
  return 0;
});

TEST(HostileInput, TwoProcessesAtOnce_AreServed) {
  const Cifra::Test::TempDirectory directory;
  const auto file = directory / L"read by both";
  std::ofstream(file, std::ios::binary) << std::string(1'000'000, 'x');
  const std::wstring name = L"cifra-" + std::to_wstring(GetCurrentProcessId());
  const UniqueHandle ready = ReadyChildren(name);
  const UniqueHandle begin = SignToBegin(name);
  Cifra::Test::ChildResult results[2];
  std::vector<std::thread> parents;
  for (Cifra::Test::ChildResult& result : results) {
    parents.emplace_back(
        [&] { result = Cifra::Test::RunChild(L"UseTheLibrary", {name, file.wstring()}); });
  }
  constexpr DWORD kPatience = 60'000;  // milliseconds
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(ready.get(), kPatience)) << i;
  }
  SetEvent(begin.get());
  for (std::thread& parent : parents) {
    parent.join();
  }
  for (const Cifra::Test::ChildResult& result : results) {
    EXPECT_EQ(0u, result.exitCode) << result.output;
    EXPECT_GE(std::atoi(result.output.c_str()), 1) << result.output;
  }
}

TEST(HostileInput, EightThreadsWithObjectsOfTheirOwn_AreServed) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::seconds(Seconds());
  std::atomic<int> rounds{0};
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      do {
        failures += UseAllObjects() ? 0 : 1;
        ++rounds;
      } while (Clock::now() < end);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(0, failures);
  EXPECT_GE(rounds, 8);
}

TEST(HostileInput, LoadingAndUnloadingAgainAndAgain_Works) {
  const std::filesystem::path file = FileUnderTest();
  const Cifra::Test::TempDirectory directory;
  const auto copy = directory / L"Copied.dll";
  std::filesystem::copy_file(file, copy);
  for (int i = 0; i < 100 * Seconds(); ++i) {
    Cifra::Library library = LoadCifra(copy);
    void* object = nullptr;
    ASSERT_EQ(0u, library.create(Cifra::kBase64ObjectId, &IKxBaseInterface::kInterfaceId, &object));
    library.destroy(Cifra::kBase64ObjectId, static_cast<IKxBaseInterface*>(object));
    library.Unload();
    ASSERT_EQ(nullptr, GetModuleHandleW(copy.c_str())) << i;
  }
}

}  // namespace
