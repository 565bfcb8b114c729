#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/CifraLibrary.h"

// The library is loaded and unloaded within these tests, so each runs in a process of its own where
// nothing else holds it.
namespace {

constexpr int kGone = 0;
constexpr int kStillLoaded = 1;

int WhetherLoaded() { return GetModuleHandleW(L"Cifra.dll") ? kStillLoaded : kGone; }

void UseEveryObject(test::CifraLibrary& library) {
  for (int i = 0; i < 100; ++i) {
    const test::Object<Cifra::IBlowfishAndBase64> combined(Cifra::kBlowfishAndBase64ObjectId,
                                                           library);
    const test::Object<Cifra::IBase64> base64(Cifra::kBase64ObjectId, library);
    const test::Object<Cifra::IBlowfish> blowfish(Cifra::kBlowfishObjectId, library);
    char text[64];
    library.blowfishAndBase64Encode("text", "key", text, sizeof(text));
  }
}

const test::ChildAction kUseAndUnload(L"UseAndUnload", [](const auto&) {
  {
    test::CifraLibrary library;
    UseEveryObject(library);
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOfEveryObject_LeavesNoModuleReference) {
  const test::ChildResult child = test::RunChild(L"UseAndUnload");
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), child.exitCode);
  EXPECT_EQ("", child.output);
}

const test::ChildAction kUseOnThreadsAndUnload(L"UseOnThreadsAndUnload", [](const auto&) {
  {
    test::CifraLibrary library;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] { UseEveryObject(library); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, UseOnEightThreads_LeavesNoModuleReference) {
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), test::RunChild(L"UseOnThreadsAndUnload").exitCode);
}

const test::ChildAction kLoadAgain(L"LoadAgain", [](const auto&) {
  for (int i = 0; i < 20; ++i) {
    test::CifraLibrary library;
    const test::Object<Cifra::IBase64> base64(Cifra::kBase64ObjectId, library);
    if (base64.result != kCifraSuccess) {
      return 2;
    }
  }
  return WhetherLoaded();
});

TEST(LibraryLifetime, LoadingAgain_RegistersTheObjectsAnew) {
  EXPECT_EQ(static_cast<std::uint32_t>(kGone), test::RunChild(L"LoadAgain").exitCode);
}

}  // namespace
