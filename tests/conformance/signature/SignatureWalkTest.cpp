#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "signature/ScriptedWalk.h"

// The walk over a file's signatures, call by call, with the trust service played by a script.
namespace {

using Cifra::Test::Lines;
using Cifra::Test::ScriptedSignature;
using Cifra::Test::ScriptedWalk;
using Cifra::Test::VerifyCall;

constexpr LONG kExpired = static_cast<LONG>(0x800B0101);
constexpr LONG kOffline = static_cast<LONG>(0x80092013);
constexpr LONG kUnsigned = static_cast<LONG>(0x800B0100);

class SignatureWalk : public ScriptedWalk {
 protected:
  static ScriptedSignature Judged(std::vector<LONG> results) {
    ScriptedSignature signature = Signed();
    signature.results = std::move(results);
    return signature;
  }
};

TEST_F(SignatureWalk, OneSignature_IsVerifiedReadAndClosed) {
  object->SetObserver(&observer);
  EXPECT_EQ(0u, Walk({Signed()}));
  EXPECT_EQ((Lines{"verify 0 null cached", "result 0", "provider data", "signer", "certificate 0",
                   "certificate seen", "close 0 null", "done"}),
            script.Events());
  EXPECT_EQ(1u, chains.Count());
  EXPECT_EQ(1u, TrustedChains().size());
  EXPECT_EQ(0u, script.OpenStates());
}

TEST_F(SignatureWalk, TwoSignatures_AreVisitedByTheirIndex) {
  object->SetObserver(&observer);
  EXPECT_EQ(0u, Walk({Signed(), Judged({kExpired})}));
  EXPECT_EQ((Lines{"verify 0 null cached", "result 0", "provider data", "signer", "certificate 0",
                   "certificate seen", "close 0 null", "done",  //
                   "verify 1 null cached", "result " + std::to_string(kExpired), "provider data",
                   "signer", "certificate 0", "certificate seen", "close 1 null", "done"}),
            script.Events());
  EXPECT_EQ(2u, chains.Count());
  EXPECT_EQ(1u, TrustedChains().size());
}

TEST_F(SignatureWalk, APrimaryAndTwoSecondarySignatures_MakeThreePasses) {
  EXPECT_EQ(0u, Walk({Signed(), Signed(), Signed()}));
  EXPECT_EQ(3u, chains.Count());
  std::vector<DWORD> indices;
  for (const VerifyCall& call : script.VerifyCalls()) {
    if (call.data.dwStateAction == WTD_STATEACTION_VERIFY) {
      indices.push_back(call.settings.dwIndex);
    }
  }
  EXPECT_EQ((std::vector<DWORD>{0, 1, 2}), indices);
}

TEST_F(SignatureWalk, Chains_KeepTheOrderOfTheSignatures) {
  std::vector<ScriptedSignature> signatures(3, Signed());
  for (BYTE i = 0; i < 3; ++i) {
    signatures[i].serial = {i};
  }
  Walk(signatures);
  std::wstring serials;
  for (const Cifra::Chain& chain : Cifra::Test::ToStd(chains)) {
    serials += chain.certificates.GetHead()->serial.CStr();
  }
  EXPECT_EQ(L"000102", serials);
}

void ExpectRecords(const VerifyCall& call, const std::filesystem::path& path) {
  const GUID genericVerify = {
      0x00AAC56B, 0xCD44, 0x11D0, {0x8C, 0xC2, 0x00, 0xC0, 0x4F, 0xC2, 0x95, 0xEE}};
  EXPECT_TRUE(IsEqualGUID(genericVerify, call.action));

  EXPECT_EQ(32u, call.file.cbStruct);
  EXPECT_EQ(path.wstring(), call.path);
  EXPECT_TRUE(call.fileIsOpen);
  EXPECT_EQ(nullptr, call.file.pgKnownSubject);

  EXPECT_EQ(32u, call.settings.cbStruct);
  EXPECT_EQ(3u, call.settings.dwFlags);
  EXPECT_EQ(nullptr, call.settings.pCryptoPolicy);

  EXPECT_EQ(88u, call.data.cbStruct);
  EXPECT_EQ(nullptr, call.data.pPolicyCallbackData);
  EXPECT_EQ(nullptr, call.data.pSIPClientData);
  EXPECT_EQ(2u, call.data.dwUIChoice);
  EXPECT_EQ(1u, call.data.fdwRevocationChecks);
  EXPECT_EQ(1u, call.data.dwUnionChoice);
  EXPECT_EQ(nullptr, call.data.pwszURLReference);
  EXPECT_EQ(0u, call.data.dwUIContext);
}

TEST_F(SignatureWalk, EveryCall_GetsRecordsThatAreFilledInAsRequired) {
  Walk({Judged({kOffline, 0}), Judged({kOffline}), Signed()}, true);
  ASSERT_EQ(10u, script.VerifyCalls().size());
  for (const VerifyCall& call : script.VerifyCalls()) {
    ExpectRecords(call, file);
    EXPECT_EQ(script.VerifyCalls().front().file.hFile, call.file.hFile);
    EXPECT_EQ(call.data.dwStateAction == 2u, call.data.hWVTStateData != nullptr);
  }
  const VerifyCall& first = script.VerifyCalls().front();
  EXPECT_EQ(nullptr, first.window);
  EXPECT_EQ(0x1000u, first.data.dwProvFlags);
  EXPECT_EQ(0u, first.settings.dwIndex);
  EXPECT_EQ(0u, first.settings.cSecondarySigs);
  EXPECT_EQ(0u, first.settings.dwVerifiedSigIndex);
}

TEST_F(SignatureWalk, AFailure_WithoutOnlineCheckIsNeitherRetriedNorLogged) {
  object->SetObserver(&observer);
  Walk({Judged({kExpired, 0})});
  EXPECT_EQ((Lines{"verify 0 null cached", "result " + std::to_string(kExpired), "provider data",
                   "signer", "certificate 0", "certificate seen", "close 0 null", "done"}),
            script.Events());
  EXPECT_TRUE(TrustedChains().empty());
  EXPECT_EQ(1u, chains.Count());
  for (const std::string& line : log) {
    EXPECT_EQ(std::string::npos, line.find("WinVerifyTrust")) << line;
  }
}

TEST_F(SignatureWalk, AFailure_WithOnlineCheckIsVerifiedOnceMoreWithRetrieval) {
  object->SetObserver(&observer);
  Walk({Judged({kOffline, 0})}, true);
  EXPECT_EQ((Lines{"verify 0 null cached", "close 0 none", "verify 0 none online", "result 0",
                   "provider data", "signer", "certificate 0", "certificate seen", "close 0 null",
                   "done"}),
            script.Events());
  EXPECT_EQ(1u, TrustedChains().size());
  const Lines messages = Cifra::Test::WithoutTraces(log);
  EXPECT_EQ("4 EnumCertificates: WinVerifyTrust failed with error 0x80092013\n", messages[0]);
  EXPECT_EQ("16 EnumCertificates: WinVerifyTrust try again online check", messages[1]);
}

TEST_F(SignatureWalk, AFailureOnlineToo_IsLoggedAndTheResult) {
  object->SetObserver(&observer);
  Walk({Judged({kOffline, kExpired})}, true);
  EXPECT_EQ("result " + std::to_string(kExpired), script.Events()[3]);
  EXPECT_TRUE(TrustedChains().empty());
  EXPECT_EQ(1u, chains.Count());
  EXPECT_EQ("4 EnumCertificates: WinVerifyTrust failed online with error 0x800B0101\n",
            Cifra::Test::WithoutTraces(log)[2]);
}

// The log's lines and the calls of the service in one order.
TEST_F(SignatureWalk, TheRetry_LogsClosesLogsAndVerifies) {
  script.BeforeEachCall([this] {
    for (const std::string& line : Cifra::Test::WithoutTraces(Cifra::Test::TakeSignatureLog())) {
      script.Events().push_back(line);
    }
  });
  Walk({Judged({kOffline, kExpired})}, true);
  EXPECT_EQ(
      (Lines{"verify 0 null cached",
             "4 EnumCertificates: WinVerifyTrust failed with error 0x80092013\n", "close 0 none",
             "16 EnumCertificates: WinVerifyTrust try again online check", "verify 0 none online",
             "4 EnumCertificates: WinVerifyTrust failed online with error 0x800B0101\n",
             "provider data", "signer", "certificate 0"}),
      Lines(script.Events().begin(), script.Events().begin() + 9));
}

class CountingObserver final : public Cifra::ISignatureObserver {
 public:
  explicit CountingObserver(std::function<void()> action) : count(std::move(action)) {}
  void OnVerifyResult(std::int32_t) override {}
  void OnCertificate(const CERT_CONTEXT*) override {}
  void OnSignatureDone() override { count(); }

 private:
  std::function<void()> count;
};

TEST_F(SignatureWalk, AChain_IsAppendedBeforeItsStateIsClosed) {
  const auto count = [this] {
    script.Events().push_back(std::to_string(chains.Count()) + " given, " +
                              std::to_string(TrustedChains().size()) + " trusted");
  };
  script.BeforeEachCall(count);
  CountingObserver counter(count);
  object->SetObserver(&counter);
  Walk({Signed(), Judged({kExpired})});
  EXPECT_EQ((Lines{"0 given, 0 trusted", "verify 0 null cached",  //
                   "0 given, 0 trusted", "provider data",         //
                   "0 given, 0 trusted", "signer",                //
                   "0 given, 0 trusted", "certificate 0",         //
                   "1 given, 1 trusted", "close 0 null",          //
                   "1 given, 1 trusted",                          // when the observer is told
                   "1 given, 1 trusted", "verify 1 null cached",  //
                   "1 given, 1 trusted", "provider data",         //
                   "1 given, 1 trusted", "signer",                //
                   "1 given, 1 trusted", "certificate 0",         //
                   "2 given, 1 trusted", "close 1 null",          //
                   "2 given, 1 trusted"}),
            script.Events());
}

TEST_F(SignatureWalk, AfterARetry_FurtherSignaturesAreVerifiedOnlineAtOnce) {
  Walk({Signed(), Judged({kOffline, 0}), Signed()}, true);
  EXPECT_EQ((std::vector<DWORD>{0x1000, 0x1000, 0, 0}), [this] {
    std::vector<DWORD> flags;
    for (const VerifyCall& call : script.VerifyCalls()) {
      if (call.data.dwStateAction == WTD_STATEACTION_VERIFY) {
        flags.push_back(call.data.dwProvFlags);
      }
    }
    return flags;
  }());
  EXPECT_EQ(3u, TrustedChains().size());
}

TEST_F(SignatureWalk, TheNextFile_IsVerifiedFromTheCacheAgain) {
  Walk({Judged({kOffline, 0})}, true);
  Walk({Signed()}, true);
  EXPECT_EQ("verify 0 null cached", script.Events().front());
}

TEST_F(SignatureWalk, TrustedSignatures_AreNotRetried) {
  Walk({Signed(), Signed()}, true);
  EXPECT_EQ(4u, script.VerifyCalls().size());
}

class OnlineSwitch final : public Cifra::ISignatureObserver {
 public:
  void OnVerifyResult(std::int32_t) override { onlineCheck = true; }
  void OnCertificate(const CERT_CONTEXT*) override {}
  void OnSignatureDone() override {}

  bool onlineCheck = false;
};

TEST_F(SignatureWalk, OnlineCheck_IsReadAnewForEachSignature) {
  OnlineSwitch onlineSwitch;
  object->SetObserver(&onlineSwitch);
  script.Play({Judged({kOffline}), Judged({kOffline, 0})});
  object->GetDigitalSignature(file.wstring().c_str(), chains, onlineSwitch.onlineCheck);
  EXPECT_EQ(1u, TrustedChains().size());
  EXPECT_EQ(6u, script.VerifyCalls().size());
}

TEST_F(SignatureWalk, AnUnsignedFile_GivesNoChainAndIsNotSigned) {
  ScriptedSignature none = Judged({kUnsigned});
  none.hasSigner = false;
  EXPECT_EQ(0u, Walk({none}));
  EXPECT_EQ(0u, chains.Count());
  EXPECT_TRUE(TrustedChains().empty());
  EXPECT_FALSE(object->IsSigned(file.wstring().c_str(), false));
}

TEST_F(SignatureWalk, MissingProviderData_IsLoggedAndTheWalkGoesOn) {
  object->SetObserver(&observer);
  ScriptedSignature broken = Judged({kUnsigned});
  broken.hasProviderData = false;
  Walk({Signed(), broken, Signed()});
  EXPECT_EQ(2u, chains.Count());
  EXPECT_EQ(1u, std::count(log.begin(), log.end(),
                           "4 EnumCertificates: Failed to get crypt provider data. Index 1 from 2 "
                           "certificates."));
  EXPECT_EQ((Lines{"verify 1 null cached", "result " + std::to_string(kUnsigned), "provider data",
                   "verify 2 null cached"}),
            Lines(script.Events().begin() + 8, script.Events().begin() + 12));
}

TEST_F(SignatureWalk, AMissingSigner_IsLoggedAndTheWalkGoesOn) {
  object->SetObserver(&observer);
  ScriptedSignature broken = Judged({kUnsigned});
  broken.hasSigner = false;
  Walk({broken, Signed()});
  EXPECT_EQ(1u, chains.Count());
  EXPECT_EQ("4 EnumCertificates: Failed to get crypt provider signer. Index 0 from 1 certificates.",
            Cifra::Test::WithoutTraces(log)[0]);
  EXPECT_EQ((Lines{"verify 0 null cached", "result " + std::to_string(kUnsigned), "provider data",
                   "signer", "verify 1 null cached"}),
            Lines(script.Events().begin(), script.Events().begin() + 5));
}

// Callers depend on the state staying open until the process ends.
TEST_F(SignatureWalk, TheStateOfAnEarlyFailure_IsLeftOpen) {
  ScriptedSignature noData = Judged({kUnsigned});
  noData.hasProviderData = false;
  ScriptedSignature noSigner = Judged({kUnsigned});
  noSigner.hasSigner = false;
  Walk({noData, Signed(), noSigner});
  EXPECT_EQ(2u, script.OpenStates());
  // The next verification begins with the handle of the open state still in its record.
  EXPECT_NE(nullptr, script.VerifyCalls()[1].data.hWVTStateData);
}

TEST_F(SignatureWalk, TheStateOfAnEarlyFailure_IsLeftOpenAfterARetryToo) {
  ScriptedSignature noSigner = Judged({kUnsigned});
  noSigner.hasSigner = false;
  Walk({noSigner}, true);
  EXPECT_EQ((Lines{"verify 0 null cached", "close 0 none", "verify 0 none online", "provider data",
                   "signer"}),
            script.Events());
  EXPECT_EQ(1u, script.OpenStates());
}

TEST_F(SignatureWalk, AMissingCertificate_GivesAnEmptyChainWithoutATime) {
  object->SetObserver(&observer);
  ScriptedSignature bare = Signed();
  bare.hasCertificate = false;
  bare.counterSigners = {{}};
  Walk({bare});
  EXPECT_EQ((Lines{"verify 0 null cached", "result 0", "provider data", "signer", "certificate 0",
                   "close 0 null", "done"}),
            script.Events());
  EXPECT_EQ((Lines{"4 GetCertificate: Failed to get provider certificate."}),
            Cifra::Test::WithoutTraces(log));
  ASSERT_EQ(1u, chains.Count());
  EXPECT_EQ(0u, chains.GetHead()->certificates.Count());
  EXPECT_EQ(0u, chains.GetHead()->timestamp);
  EXPECT_EQ(1u, TrustedChains().size());
}

TEST_F(SignatureWalk, SettingsThatTheServiceTookAway_EndTheWalk) {
  script.Play({Signed(), Signed()});
  script.ClearSettingsAtVerify();
  EXPECT_EQ(0u, object->GetDigitalSignature(file.wstring().c_str(), chains, false));
  EXPECT_EQ(2u, script.VerifyCalls().size());
  EXPECT_EQ(1u, chains.Count());
}

TEST_F(SignatureWalk, WithoutAnObserver_TheCallsAreTheSame) {
  Walk({Signed()});
  EXPECT_EQ(
      (Lines{"verify 0 null cached", "provider data", "signer", "certificate 0", "close 0 null"}),
      script.Events());
}

TEST_F(SignatureWalk, AnObserver_CanBeReplacedAndTakenAway) {
  Cifra::Test::EventObserver other(script);
  object->SetObserver(&observer);
  object->SetObserver(&other);
  Walk({Signed()});
  EXPECT_EQ(1u, std::count(script.Events().begin(), script.Events().end(), "done"));
  object->SetObserver(nullptr);
  Walk({Signed()});
  EXPECT_EQ(0u, std::count(script.Events().begin(), script.Events().end(), "done"));
}

TEST_F(SignatureWalk, ASignerOfAFileSaidToBeUnsigned_GivesAnUntrustedChain) {
  object->SetObserver(&observer);
  Walk({Judged({kUnsigned})});
  EXPECT_EQ(1u, chains.Count());
  EXPECT_EQ(1u, chains.GetHead()->certificates.Count());
  EXPECT_TRUE(TrustedChains().empty());
  EXPECT_EQ("done", script.Events().back());
  EXPECT_EQ(0u, script.OpenStates());
  EXPECT_FALSE(object->IsSigned(file.wstring().c_str(), false));
}

TEST_F(SignatureWalk, AFailedCallWithoutAState_IsMissingProviderData) {
  ScriptedSignature stateless = Judged({kUnsigned});
  stateless.hasState = false;
  Walk({stateless, Signed()});
  EXPECT_EQ((Lines{"verify 0 null cached", "provider data", "verify 1 null cached"}),
            Lines(script.Events().begin(), script.Events().begin() + 3));
  EXPECT_EQ("4 EnumCertificates: Failed to get crypt provider data. Index 0 from 1 certificates.",
            Cifra::Test::WithoutTraces(log)[0]);
  EXPECT_EQ(1u, chains.Count());
}

TEST_F(SignatureWalk, ACountThatOnlySuccessGives_EndsTheWalkAtAFailure) {
  for (const LONG result : {LONG{0}, kExpired}) {
    script.Play({Judged({result}), Signed()});
    script.CountOnlyOnSuccess();
    kx::List<Cifra::Chain> found;
    EXPECT_EQ(0u, object->GetDigitalSignature(file.wstring().c_str(), found, false));
    EXPECT_EQ(result == 0 ? 2u : 1u, found.Count());
  }
}

// Tells the script of the log's lines before each of its own.
class MergingObserver final : public Cifra::ISignatureObserver {
 public:
  MergingObserver(Cifra::ISignatureObserver& told, std::function<void()> action)
      : observer(told), mergeLog(std::move(action)) {}

  void OnVerifyResult(std::int32_t result) override {
    mergeLog();
    observer.OnVerifyResult(result);
  }
  void OnCertificate(const CERT_CONTEXT* certificate) override {
    mergeLog();
    observer.OnCertificate(certificate);
  }
  void OnSignatureDone() override {
    mergeLog();
    observer.OnSignatureDone();
  }

 private:
  Cifra::ISignatureObserver& observer;
  std::function<void()> mergeLog;
};

TEST_F(SignatureWalk, ObserverLogAndServiceCalls_ComeInOneOrder) {
  const auto mergeLog = [this] {
    for (const std::string& line : Cifra::Test::WithoutTraces(Cifra::Test::TakeSignatureLog())) {
      script.Events().push_back(line);
    }
  };
  script.BeforeEachCall(mergeLog);
  MergingObserver merging(observer, mergeLog);
  object->SetObserver(&merging);
  ScriptedSignature stamped = Judged({kExpired});
  stamped.counterSigners = {{}};
  Walk({stamped});
  EXPECT_EQ(
      (Lines{"verify 0 null cached", "result " + std::to_string(kExpired), "provider data",
             "signer", "certificate 0", "certificate seen", "32 GetIssuer: Issuer: CN=Issuer",
             "32 GetSubject: Subject: CN=Subject", "32 GetSerial: Serial: 01", "counter-signer 0",
             "32 GetTimestamp: Systemtime : 01/01/1601 00:00", "close 0 null", "done"}),
      script.Events());
}

}  // namespace
