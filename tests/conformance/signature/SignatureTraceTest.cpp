#include <gtest/gtest.h>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// The whole log of a verification: its lines, their order and their nesting.
namespace {

using Cifra::Test::Lines;
using Cifra::Test::ScriptedSignature;

constexpr LONG kUnsigned = static_cast<LONG>(0x800B0100);

Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// A step with the lines inside it.
Lines Step(const std::string& name, const Lines& inside) {
  return Lines{"> " + name} + inside + Lines{"< " + name};
}

// A verification of a file that could be opened.
Lines Verification(const Lines& steps) {
  return Step("GetDigitalSignature", Step("OpenFileHandle", {}) + Step("EnumCertificates", steps));
}

Lines ReadName(const std::string& part, const std::string& name, const Lines& conversion = {}) {
  return Step("Get" + part,
              Step("BlobToStr", conversion) + Lines{"32 Get" + part + ": " + part + ": " + name});
}

const Lines kReadSerial = Step("GetSerial", {"32 GetSerial: Serial: 01"});
const Lines kSplitName = Step("kx::DistinguishedNameBuilder", {});
const Lines kReadCertificate =
    Step("GetCertificate", ReadName("Issuer", "CN=Issuer") + ReadName("Subject", "CN=Subject") +
                               kReadSerial + kSplitName + kSplitName);

using SignatureTrace = Cifra::Test::ScriptedWalk;

// Spelled out, to show the lines as they are.
TEST_F(SignatureTrace, Lines_AreNestedAsTheStepsAre) {
  ScriptedSignature stamped = Signed();
  stamped.counterSigners = {{}};
  Walk({stamped});
  const Lines kExpected = {
      "> GetDigitalSignature",
      "> OpenFileHandle",
      "< OpenFileHandle",
      "> EnumCertificates",
      "> GetCertificate",
      "> GetIssuer",
      "> BlobToStr",
      "< BlobToStr",
      "32 GetIssuer: Issuer: CN=Issuer",
      "< GetIssuer",
      "> GetSubject",
      "> BlobToStr",
      "< BlobToStr",
      "32 GetSubject: Subject: CN=Subject",
      "< GetSubject",
      "> GetSerial",
      "32 GetSerial: Serial: 01",
      "< GetSerial",
      "> kx::DistinguishedNameBuilder",
      "< kx::DistinguishedNameBuilder",
      "> kx::DistinguishedNameBuilder",
      "< kx::DistinguishedNameBuilder",
      "< GetCertificate",
      "> GetTimestamp",
      "32 GetTimestamp: Systemtime : 01/01/1601 00:00",
      "< GetTimestamp",
      "< EnumCertificates",
      "< GetDigitalSignature",
  };
  EXPECT_EQ(kExpected, log);
}

TEST_F(SignatureTrace, AFileThatCannotBeOpened_IsLoggedWhereItIsOpened) {
  std::filesystem::remove(file);
  EXPECT_EQ(2u, Walk({Signed()}));
  EXPECT_EQ(Step("GetDigitalSignature",
                 Step("OpenFileHandle", {"4 OpenFileHandle: Failed to open file with error 2."})),
            log);
}

TEST_F(SignatureTrace, MissingProviderData_IsLoggedOutsideAllInnerSteps) {
  ScriptedSignature broken = Signed();
  broken.results = {kUnsigned};
  broken.hasProviderData = false;
  Walk({broken});
  EXPECT_EQ(Verification({"4 EnumCertificates: Failed to get crypt provider data. Index 0 from 0 "
                          "certificates."}),
            log);
}

TEST_F(SignatureTrace, AMissingSigner_IsLoggedOutsideAllInnerSteps) {
  ScriptedSignature broken = Signed();
  broken.results = {kUnsigned};
  broken.hasSigner = false;
  Walk({broken});
  EXPECT_EQ(Verification({"4 EnumCertificates: Failed to get crypt provider signer. Index 0 from 0 "
                          "certificates."}),
            log);
}

TEST_F(SignatureTrace, AMissingCertificate_HasNoStepForTheTimeStamp) {
  ScriptedSignature bare = Signed();
  bare.hasCertificate = false;
  bare.counterSigners = {{}};
  Walk({bare});
  EXPECT_EQ(Verification(
                Step("GetCertificate", {"4 GetCertificate: Failed to get provider certificate."})),
            log);
}

TEST_F(SignatureTrace, NoCounterSigner_IsLoggedInTheStepForTheTimeStamp) {
  Walk({Signed()});
  EXPECT_EQ(Verification(kReadCertificate +
                         Step("GetTimestamp", {"4 GetTimestamp: No counter signer found."})),
            log);
}

TEST_F(SignatureTrace, NoTimeStampingCounterSigner_IsLoggedInTheSameStep) {
  ScriptedSignature signature = Signed();
  signature.counterSigners = {{0, {}}};
  Walk({signature});
  EXPECT_EQ(Verification(kReadCertificate +
                         Step("GetTimestamp",
                              {"4 GetTimestamp: No signer of type SGNR_TYPE_TIMESTAMP found."})),
            log);
}

TEST_F(SignatureTrace, FailuresOfBothAttempts_AreLoggedBeforeTheInnerSteps) {
  ScriptedSignature offline = Signed();
  offline.results = {kUnsigned};
  offline.hasCertificate = false;
  Walk({offline}, true);
  EXPECT_EQ(Verification(
                Lines{"4 EnumCertificates: WinVerifyTrust failed with error 0x800B0100\n",
                      "16 EnumCertificates: WinVerifyTrust try again online check",
                      "4 EnumCertificates: WinVerifyTrust failed online with error 0x800B0100\n"} +
                Step("GetCertificate", {"4 GetCertificate: Failed to get provider certificate."})),
            log);
}

DWORD WINAPI FailingNameToStr(DWORD, CERT_NAME_BLOB*, DWORD, wchar_t*, DWORD) { return 0; }

TEST_F(SignatureTrace, ANameThatCannotBeConverted_IsLoggedWhereItIsConverted) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW",
                                       &FailingNameToStr);
  Walk({Signed()});
  const Lines kFailure = {"4 BlobToStr: Failed to convert blob to string."};
  EXPECT_EQ(Verification(Step("GetCertificate", ReadName("Issuer", "", kFailure) +
                                                    ReadName("Subject", "", kFailure) +
                                                    kReadSerial + kSplitName + kSplitName) +
                         Step("GetTimestamp", {"4 GetTimestamp: No counter signer found."})),
            log);
}

DWORD WINAPI UnclosedNameToStr(DWORD, CERT_NAME_BLOB*, DWORD, wchar_t* text, DWORD size) {
  constexpr std::wstring_view kName = L"CN=\"A";
  if (text) {
    EXPECT_LE(kName.size() + 1, size);
    text[kName.copy(text, size - 1)] = L'\0';
  }
  return static_cast<DWORD>(kName.size() + 1);
}

TEST_F(SignatureTrace, ANameThatThePlatformRefuses_IsLoggedWhereItIsSplit) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW",
                                       &UnclosedNameToStr);
  Walk({Signed()});
  const Lines kRefused =
      Step("kx::DistinguishedNameBuilder", {"4 kx::DistinguishedNameBuilder: Error 8350\n"});
  EXPECT_EQ(Verification(Step("GetCertificate", ReadName("Issuer", "CN=\"A") +
                                                    ReadName("Subject", "CN=\"A") + kReadSerial +
                                                    kRefused + kRefused) +
                         Step("GetTimestamp", {"4 GetTimestamp: No counter signer found."})),
            log);
}

}  // namespace
