#include <gtest/gtest.h>

#include "signature/ScriptedWalk.h"
#include "support/CountedHeap.h"
#include "support/ProcessResources.h"

// That the library itself keeps nothing of a verification, on whatever path it went.
namespace {

using Cifra::Object;
using Cifra::Test::Library;
using Cifra::Test::ScriptedSignature;

#ifdef CIFRA_LONG_RUNS
constexpr int kVerifications = 2'000;
#else
constexpr int kVerifications = 300;
#endif

constexpr LONG kUntrusted = static_cast<LONG>(0x800B0109);

class SignatureLeak : public Cifra::Test::ScriptedWalk {
 protected:
  // Every path through the walk, as the signatures of files.
  static std::vector<std::vector<ScriptedSignature>> Files() {
    ScriptedSignature untrusted = Signed();
    untrusted.results = {kUntrusted};
    ScriptedSignature trustedOnline = Signed();
    trustedOnline.results = {kUntrusted, 0};
    ScriptedSignature withoutData = untrusted;
    withoutData.hasProviderData = false;
    ScriptedSignature withoutSigner = untrusted;
    withoutSigner.hasSigner = false;
    ScriptedSignature withoutCertificate = Signed();
    withoutCertificate.hasCertificate = false;
    ScriptedSignature unreadable = Signed();
    unreadable.issuer = {0xFF};
    ScriptedSignature stamped = Signed();
    stamped.counterSigners = {{}};
    return {{Signed()},
            {untrusted},
            {trustedOnline, stamped},
            {withoutData},
            {Signed(), withoutSigner, stamped},
            {withoutCertificate},
            {unreadable}};
  }

  void Verify(const std::vector<ScriptedSignature>& signatures) {
    script.Play(signatures);
    Object<Cifra::IDigitalSignature> fresh(Library());
    fresh->SetObserver(&observer);
    kx::List<Cifra::Chain> result;
    fresh->GetDigitalSignature(file.wstring().c_str(), result, true);
    fresh->IsSigned(L"missing.exe", false);
    Cifra::Test::TakeSignatureLog();
  }
};

TEST_F(SignatureLeak, ManyVerificationsOnEveryPath_LeakNothing) {
  const auto files = Files();
  // Twice: the runtimes make some of their own handles late.
  for (int i = 0; i < 2; ++i) {
    for (const auto& signatures : files) {
      Verify(signatures);
    }
  }
  const Cifra::Test::HandleWatch handles;
  const Cifra::Test::CountedHeap heap;
  for (int i = 0; i < kVerifications; ++i) {
    Verify(files[static_cast<std::size_t>(i) % files.size()]);
  }
  EXPECT_TRUE(handles.FindsNoLeak());
  EXPECT_EQ(0, heap.LiveBlocks());
  // The suite holds one reference of the stand-in; giving that back unloads it.
  FreeLibrary(GetModuleHandleW(L"Ntdsapi.dll"));
  EXPECT_EQ(nullptr, GetModuleHandleW(L"Ntdsapi.dll"));
}

}  // namespace
