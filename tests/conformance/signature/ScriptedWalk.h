#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "TrustScript.h"
#include "foundation/ModuleHandle.h"
#include "signature/SignatureLog.h"
#include "signature/SignatureResults.h"
#include "support/LibraryUnderTest.h"
#include "support/TempDirectory.h"

namespace Cifra::Test {

using Lines = std::vector<std::string>;

// EventObserver adds what it is told to the script's events.
class EventObserver final : public Cifra::ISignatureObserver {
 public:
  explicit EventObserver(TrustScript& trustScript) : script(trustScript) {}

  void OnVerifyResult(std::int32_t result) override {
    script.Events().push_back("result " + std::to_string(result));
  }
  void OnCertificate(const CERT_CONTEXT* certificate) override {
    EXPECT_EQ(script.CurrentCertificate(), certificate);
    script.Events().push_back("certificate seen");
  }
  void OnSignatureDone() override { script.Events().push_back("done"); }

 private:
  TrustScript& script;
};

// ScriptedWalk verifies a small file whose signatures are played by a script.
class ScriptedWalk : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    static const bool isLoaded = (UseRecordingLog(), true);
    ASSERT_TRUE(isLoaded);
    Library();
    ASSERT_NE(nullptr, kx::FindProcedure<void()>(GetModuleHandleW(L"wintrust.dll"), "IsStandIn"))
        << "the stand-in wintrust.dll is not the one in use";
    ASSERT_NE(nullptr, kx::FindProcedure<void()>(LoadLibraryW(L"Ntdsapi.dll"), "IsStandIn"))
        << "the stand-in Ntdsapi.dll is not the one in use";
  }

  void SetUp() override {
    std::ofstream(file) << "content";
    TakeSignatureLog();
  }

  static ScriptedSignature Signed() {
    ScriptedSignature signature;
    signature.issuer = EncodedName(L"CN=Issuer");
    signature.subject = EncodedName(L"CN=Subject");
    signature.serial = {0x01};
    return signature;
  }

  // Walks over the signatures, which are appended to `chains`.
  std::uint32_t Walk(std::vector<ScriptedSignature> signatures, bool onlineCheck = false) {
    script.Play(std::move(signatures));
    const std::uint32_t result =
        object->GetDigitalSignature(file.wstring().c_str(), chains, onlineCheck);
    log = TakeSignatureLog();
    return result;
  }

  std::vector<Cifra::Chain> TrustedChains() {
    std::vector<Cifra::Chain> trusted;
    object->GetTrustedChains(trusted);
    return trusted;
  }

  TempDirectory directory;
  std::filesystem::path file = directory / L"file.bin";
  TrustScript script;
  EventObserver observer{script};
  Object<Cifra::IDigitalSignature> object{Library()};
  kx::List<Cifra::Chain> chains;
  Lines log;
};

}  // namespace Cifra::Test
