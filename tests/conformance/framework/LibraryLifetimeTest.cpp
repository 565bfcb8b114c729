#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/CifraLibrary.h"
#include "support/ImportPatch.h"

// The library is loaded and unloaded within these tests, so each runs in a process of its own where
// nothing else holds it.
namespace {

constexpr int kGone = 0;
constexpr int kStillLoaded = 1;
constexpr int kFailed = 2;

int WhetherLoaded() { return GetModuleHandleW(L"Cifra.dll") ? kStillLoaded : kGone; }

void Require(bool isTrue) {
  if (!isTrue) {
    std::exit(kFailed);
  }
}

template <typename Hash>
void UseHash(const wchar_t* objectId, Cifra::Test::CifraLibrary& library) {
  const Cifra::Test::Object<Hash> hash(objectId, library);
  kx::StringT<wchar_t> digest;
  Require(hash->HashFile(L"md5.txt", digest) == kCifraSuccess);
  Require(hash->HashFile(L"missing", digest) != kCifraSuccess);
}

// Every object, every function, and HashFile, which creates an object of its own.
void UseEverything(Cifra::Test::CifraLibrary& library) {
  for (int i = 0; i < 10; ++i) {
    const Cifra::Test::Object<Cifra::IBlowfishAndBase64> combined(Cifra::kBlowfishAndBase64ObjectId,
                                                                  library);
    const Cifra::Test::Object<Cifra::IBase64> base64(Cifra::kBase64ObjectId, library);
    const Cifra::Test::Object<Cifra::IBlowfish> blowfish(Cifra::kBlowfishObjectId, library);
    const Cifra::Test::Object<Cifra::IDigitalSignature> signature(Cifra::kDigitalSignatureObjectId,
                                                                  library);
    UseHash<Cifra::IMd5>(Cifra::kMd5ObjectId, library);
    UseHash<Cifra::ISha256>(Cifra::kSha256ObjectId, library);
    Require(combined.Get() && base64.Get() && blowfish.Get() && signature.Get());

    char text[64];
    Require(library.blowfishAndBase64Encode("text", "key", text, sizeof(text)) == kCifraSuccess);
    Require(library.base64AndBlowfishDecode(text, "key", text, sizeof(text)) == kCifraSuccess);
    Require(library.Export<decltype(CalculateTextMd5)>("CalculateTextMd5")("text", text) ==
            kCifraSuccess);
    Require(library.Export<decltype(CalculateWideCharTextMd5)>("CalculateWideCharTextMd5")(
                L"text", text) == kCifraSuccess);
  }
}

const Cifra::Test::ChildAction kUseAndUnload(L"UseAndUnload", [](const auto&) {
  {
    Cifra::Test::CifraLibrary library;
    UseEverything(library);
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOfEveryObjectAndFunction_LeavesNoModuleReference) {
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"UseAndUnload");
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), child.exitCode);
  EXPECT_EQ("", child.output);
}

const Cifra::Test::ChildAction kUseOnThreadsAndUnload(L"UseOnThreadsAndUnload", [](const auto&) {
  {
    Cifra::Test::CifraLibrary library;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] { UseEverything(library); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOnEightThreads_LeavesNoModuleReference) {
  EXPECT_EQ(static_cast<std::uint32_t>(kGone),
            Cifra::Test::RunChild(L"UseOnThreadsAndUnload").exitCode);
}

const Cifra::Test::ChildAction kLoadAgain(L"LoadAgain", [](const auto&) {
  for (int i = 0; i < 20; ++i) {
    Cifra::Test::CifraLibrary library;
    const Cifra::Test::Object<Cifra::IBase64> base64(Cifra::kBase64ObjectId, library);
    if (base64.result != kCifraSuccess) {
      return 2;
    }
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, LoadingAgain_RegistersTheObjectsAnew) {
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), Cifra::Test::RunChild(L"LoadAgain").exitCode);
}

// What the library frees when it is unloaded: the identifier in each block, and the registry.
std::wstring lastFreed;
const void* lastDeleted = nullptr;

void PrintFreed(void* block) {
  constexpr std::wstring_view kBeginning = L"Cifra.";
  const std::wstring_view content(static_cast<const wchar_t*>(block),
                                  block ? _msize(block) / sizeof(wchar_t) : 0);
  const std::size_t found = content.find(kBeginning);
  if (found != std::wstring_view::npos) {
    const std::wstring id(content.substr(found, content.find(L'\0', found) - found));
    if (id != lastFreed) {
      std::printf("%ls\n", id.c_str());
      lastFreed = id;
    }
  }
  // The runtime has locks too; the registry's follows a map.
  if (block && lastDeleted == static_cast<const char*>(block) + sizeof(std::map<int, int>)) {
    std::printf("registry\n");
  }
  std::free(block);
}

void WINAPI RememberDeleted(LPCRITICAL_SECTION section) {
  lastDeleted = section;
  DeleteCriticalSection(section);
}

const Cifra::Test::ChildAction kWatchUnload(L"WatchUnload", [](const auto&) {
  {
    Cifra::Test::CifraLibrary library;
    // Never undone: the patched module is unloaded.
    new Cifra::Test::ImportPatch(library.Module(), "free", &PrintFreed);
    new Cifra::Test::ImportPatch(library.Module(), "DeleteCriticalSection", &RememberDeleted);
  }
  std::fflush(stdout);
  return WhetherLoaded();
});

// Static objects of one file are destroyed in reverse order of construction: the order at the end
// proves that at the start.
TEST(LibraryLifetime, Unloading_EndsDeclarationsInReverseAndThenTheRegistry) {
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"WatchUnload");
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), child.exitCode);
  EXPECT_EQ((std::vector<std::string>{"Cifra.Sha256", "Cifra.Md5", "Cifra.DigitalSignature",
                                      "Cifra.Blowfish", "Cifra.Base64", "Cifra.BowfishAndBase64",
                                      "registry"}),
            child.Lines());
}

}  // namespace
