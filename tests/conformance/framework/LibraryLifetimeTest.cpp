#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "foundation/ModuleHandle.h"
#include "support/ChildProcess.h"
#include "support/ImportPatch.h"
#include "support/LibraryUnderTest.h"

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
void UseHash(const Cifra::Library& library) {
  const Cifra::Object<Hash> hash(library);
  kx::StringT<wchar_t> digest;
  Require(hash->HashFile(L"md5.txt", digest) == kCifraSuccess);
  Require(hash->HashFile(L"missing", digest) != kCifraSuccess);
}

// Every object, every function, and HashFile, which creates an object of its own.
void UseEverything(const Cifra::Library& library) {
  for (int i = 0; i < 10; ++i) {
    const Cifra::Object<Cifra::IBlowfishAndBase64> combined(library);
    const Cifra::Object<Cifra::IBase64> base64(library);
    const Cifra::Object<Cifra::IBlowfish> blowfish(library);
    const Cifra::Object<Cifra::IDigitalSignature> signature(library);
    UseHash<Cifra::IMd5>(library);
    UseHash<Cifra::ISha256>(library);
    Require(combined.Get() && base64.Get() && blowfish.Get() && signature.Get());

    char text[64];
    Require(library.encodeText("text", "key", text, sizeof(text)) == kCifraSuccess);
    Require(library.decodeText(text, "key", text, sizeof(text)) == kCifraSuccess);
    Require(library.textMd5("text", text) == kCifraSuccess);
    Require(library.wideTextMd5(L"text", text) == kCifraSuccess);
  }
}

const Cifra::Test::ChildAction kUseAndUnload(L"UseAndUnload", [](const auto&) {
  Cifra::Library library = Cifra::Test::LoadCifra();
  UseEverything(library);
  library.Unload();
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOfEveryObjectAndFunction_LeavesNoModuleReference) {
  const Cifra::Test::ChildResult child = Cifra::Test::RunChild(L"UseAndUnload");
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), child.exitCode);
  EXPECT_EQ("", child.output);
}

const Cifra::Test::ChildAction kUseOnThreadsAndUnload(L"UseOnThreadsAndUnload", [](const auto&) {
  Cifra::Library library = Cifra::Test::LoadCifra();
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] { UseEverything(library); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  library.Unload();
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOnEightThreads_LeavesNoModuleReference) {
  EXPECT_EQ(static_cast<std::uint32_t>(kGone),
            Cifra::Test::RunChild(L"UseOnThreadsAndUnload").exitCode);
}

const Cifra::Test::ChildAction kLoadAgain(L"LoadAgain", [](const auto&) {
  for (int i = 0; i < 20; ++i) {
    Cifra::Library library = Cifra::Test::LoadCifra();
    Require(Cifra::Object<Cifra::IBase64>(library).Result() == kCifraSuccess);
    library.Unload();
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
  Cifra::Library library = Cifra::Test::LoadCifra();
  // Never undone: the patched module is unloaded.
  new Cifra::Test::ImportPatch(library.Module(), "free", &PrintFreed);
  new Cifra::Test::ImportPatch(library.Module(), "DeleteCriticalSection", &RememberDeleted);
  library.Unload();
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

// What the library does while it is loaded: its imports are patched between their resolution and
// its first code.
struct ModuleName {
  USHORT bytes;
  USHORT size;
  const wchar_t* text;
};
struct LoadedModule {
  ULONG flags;
  const ModuleName* path;
  const ModuleName* file;
  HMODULE base;
  ULONG size;
};
using ModuleListener = void CALLBACK(ULONG reason, const LoadedModule* module, void* context);
using RegisterListener = LONG WINAPI(ULONG flags, ModuleListener* listener, void* context,
                                     void** cookie);

HMODULE loaded = nullptr;
void* lastBlock = nullptr;

void* RememberBlock(std::size_t bytes) { return lastBlock = std::malloc(bytes); }

// A string's block has the guard in front and its characters at offset 16.
void PrintFreedString(void* block) {
  const std::uint32_t guard = 0xABCD;
  if (block && std::memcmp(block, &guard, sizeof(guard)) == 0) {
    std::printf("string %ls\n", reinterpret_cast<const wchar_t*>(static_cast<char*>(block) + 16));
  }
  std::free(block);
}

void WINAPI PrintRegistryLock(LPCRITICAL_SECTION section) {
  const char* const registry = reinterpret_cast<const char*>(section) - sizeof(std::map<int, int>);
  if (registry == lastBlock) {
    std::printf("registry\n");
  }
  InitializeCriticalSection(section);
}

BOOL WINAPI PrintDisabledCalls(HMODULE module) {
  std::printf("DisableThreadLibraryCalls %s\n", module == loaded ? "of its own" : "of another");
  return DisableThreadLibraryCalls(module);
}

void CALLBACK WatchCifra(ULONG, const LoadedModule* module, void*) {
  const std::wstring_view file(module->file->text, module->file->bytes / sizeof(wchar_t));
  if (loaded || file != L"Cifra.dll") {
    return;
  }
  loaded = module->base;
  new Cifra::Test::ImportPatch(loaded, "malloc", &RememberBlock);
  new Cifra::Test::ImportPatch(loaded, "free", &PrintFreedString);
  new Cifra::Test::ImportPatch(loaded, "InitializeCriticalSection", &PrintRegistryLock);
  new Cifra::Test::ImportPatch(loaded, "DisableThreadLibraryCalls", &PrintDisabledCalls);
}

const Cifra::Test::ChildAction kWatchLoading(L"WatchLoading", [](const auto&) {
  auto* const listen = kx::FindProcedure<RegisterListener>(GetModuleHandleW(L"ntdll.dll"),
                                                           "LdrRegisterDllNotification");
  void* cookie = nullptr;
  Require(listen && listen(0, &WatchCifra, nullptr, &cookie) == 0);
  Require(LoadLibraryW(Cifra::Test::FileUnderTest().c_str()));
  std::fflush(stdout);
  std::_Exit(0);
  return 0;
});

// The base64 declaration takes its literal as it is; each of the others builds a string of its own.
TEST(LibraryLifetime, Loading_MakesTheRegistryAndTakesIdentifiersInOrder) {
  EXPECT_EQ((std::vector<std::string>{"registry", "string Cifra.BowfishAndBase64",
                                      "string Cifra.Blowfish", "string Cifra.DigitalSignature",
                                      "string Cifra.Md5", "string Cifra.Sha256",
                                      "DisableThreadLibraryCalls of its own"}),
            Cifra::Test::RunChild(L"WatchLoading").Lines());
}

TEST(LibraryLifetime, EntryPoint_AnswersEveryReasonWithTrue) {
  const Cifra::Library library = Cifra::Test::LoadCifra();
  const auto* const base = reinterpret_cast<const char*>(library.Module());
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  using EntryPoint = BOOL WINAPI(HMODULE, DWORD, LPVOID);
  auto* const entry = reinterpret_cast<EntryPoint*>(reinterpret_cast<std::uintptr_t>(base) +
                                                    headers->OptionalHeader.AddressOfEntryPoint);
  EXPECT_TRUE(entry(library.Module(), DLL_THREAD_ATTACH, nullptr));
  EXPECT_TRUE(entry(library.Module(), DLL_THREAD_DETACH, nullptr));
}

}  // namespace
