#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "signature/SignedFile.h"
#include "support/CountedHeap.h"
#include "support/Platform.h"
#include "support/ProcessResources.h"

// Signed files, verified by the platform itself.
namespace {

using Cifra::Object;
using Cifra::Test::Bytes;
using Cifra::Test::Content;
using Cifra::Test::Fixture;
using Cifra::Test::kNoSignature;
using Cifra::Test::kTrusted;
using Cifra::Test::kUnknownForm;
using Cifra::Test::Library;
using Cifra::Test::NameMap;
using Cifra::Test::Write;

#ifdef CIFRA_LONG_RUNS
constexpr int kVerifications = 10'000;
#else
constexpr int kVerifications = 300;
#endif

class SignatureFile : public Cifra::Test::SignedFile {
 protected:
  // The certificate of a trusted fixture.
  Cifra::Certificate Signer(const std::wstring& fixture) {
    EXPECT_EQ(std::vector{kTrusted}, VerdictsOf(fixture));
    EXPECT_EQ(1u, chains.Count());
    EXPECT_EQ(1u, chains.GetHead()->certificates.Count());
    return *chains.GetHead()->certificates.GetHead();
  }
};

TEST_F(SignatureFile, ASignedFile_IsTrustedAndItsSignerNamed) {
  const Cifra::Certificate signer = Signer(L"signed.exe");
  EXPECT_EQ(L"1234", std::wstring(signer.serial.CStr()));
  EXPECT_EQ((NameMap{{L"C", {L"DE"}}, {L"CN", {L"Plain Signer"}}, {L"O", {L"Cifra"}}}),
            Cifra::Test::ToStd(signer.subject));
  EXPECT_EQ((NameMap{{L"CN", {L"Test Authority"}}, {L"O", {L"Cifra"}}}),
            Cifra::Test::ToStd(signer.issuer));
  EXPECT_TRUE(object->IsSigned(Fixture(L"signed.exe").wstring().c_str(), false));
}

TEST_F(SignatureFile, ASignatureWithoutATimeStamp_GivesOneCertificateAndNoTime) {
  EXPECT_EQ(std::vector{kTrusted}, VerdictsOf(L"signed.exe"));
  ASSERT_EQ(1u, chains.Count());
  EXPECT_EQ(1u, chains.GetHead()->certificates.Count());
  EXPECT_EQ(0u, chains.GetHead()->timestamp);
}

TEST_F(SignatureFile, AnUnsignedFile_IsNotSigned) {
  EXPECT_EQ(std::vector{kNoSignature}, VerdictsOf(L"unsigned.exe"));
  EXPECT_FALSE(object->IsSigned(Fixture(L"unsigned.exe").wstring().c_str(), false));
}

TEST_F(SignatureFile, AFileOfAnUnknownForm_IsNotSigned) {
  EXPECT_EQ(std::vector{kUnknownForm}, VerdictsOf(L"text.exe"));
  EXPECT_EQ(std::vector{kUnknownForm}, VerdictsOf(L"empty.exe"));
  EXPECT_EQ(0u, chains.Count());
}

TEST_F(SignatureFile, ObjectsOfEightThreads_DoNotDisturbEachOther) {
  const std::wstring files[] = {Fixture(L"signed.exe").wstring(),
                                Fixture(L"unsigned.exe").wstring()};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&files, i] {
      const Object<Cifra::IDigitalSignature> own(Library());
      const bool isSigned = i % 2 == 0;
      for (int round = 0; round < 3; ++round) {
        kx::List<Cifra::Chain> found;
        EXPECT_EQ(0u, own->GetDigitalSignature(files[isSigned ? 0 : 1].c_str(), found, false));
        EXPECT_EQ(isSigned ? 1u : 0u, found.Count());
      }
      std::vector<Cifra::Chain> trusted;
      own->GetTrustedChains(trusted);
      EXPECT_EQ(isSigned ? 3u : 0u, trusted.size());
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// The dotted identifier is Wine's form of an unknown type.
TEST_F(SignatureFile, UnusualNames_ComeThrough) {
  const Cifra::Certificate signer = Signer(L"names.exe");
  EXPECT_EQ((NameMap{{Cifra::Test::Platform().unnamedType, {L"strange"}},
                     {L"CN", {L"Signer"}},
                     {L"L",
                      {L"Gr\xF6\xDF"
                       L"e \x4E2D"}},
                     {L"O", {L"Big, Bigger \"\"and\"\" Co."}},
                     {L"OU", {L"Once", L"Twice"}}}),
            Cifra::Test::ToStd(signer.subject));
  EXPECT_EQ(L"00abcdef0123", std::wstring(signer.serial.CStr()));
}

TEST_F(SignatureFile, AnEmptyValueInAName_IsLeftOut) {
  EXPECT_EQ((NameMap{{L"CN", {L"Empty Title"}}, {L"O", {L"Cifra"}}}),
            Cifra::Test::ToStd(Signer(L"empty-value.exe").subject));
}

// Whatever the platform thinks of the signature.
TEST_F(SignatureFile, EveryKindOfSignedFile_NamesItsPrimarySigner) {
  const std::pair<const wchar_t*, const wchar_t*> serials[] = {
      {L"expired.exe", L"05"},    {L"self-signed.exe", L"07"},
      {L"nested-2.exe", L"1234"}, {L"nested-3.exe", L"1234"},
      {L"stamped.exe", L"1234"},  {L"high-serial.exe", L"00ff00000000000001"}};
  for (const auto& [name, serial] : serials) {
    VerdictsOf(name);
    ASSERT_NE(nullptr, chains.GetHead()) << name;
    ASSERT_EQ(1u, chains.GetHead()->certificates.Count()) << name;
    EXPECT_EQ(serial, std::wstring(chains.GetHead()->certificates.GetHead()->serial.CStr()));
  }
}

// Each file is verified by an object of its own.
void VerifyInTurn(const std::vector<std::filesystem::path>& files, int times) {
  for (int i = 0; i < times; ++i) {
    Object<Cifra::IDigitalSignature> fresh(Library());
    fresh->VerifyFile(files[static_cast<std::size_t>(i) % files.size()].wstring().c_str(), false);
  }
}

TEST_F(SignatureFile, ManyVerifications_LeakNothing) {
  // The platform itself may keep up to 1 KB a verification (Wine 8), besides an arena more or less;
  // a trusted file's state that was not closed would keep 16 KB.
  [[maybe_unused]] constexpr std::size_t kToleratedGrowth =
      (1 + 3 * (kVerifications / 2) / 1024) * 1024 * 1024;
  const std::vector files = {Fixture(L"signed.exe"), Fixture(L"stamped.exe"),
                             Fixture(L"missing.exe")};
  VerifyInTurn(files, 100);
  const Cifra::Test::HandleWatch handles;
  [[maybe_unused]] const std::size_t memory = Cifra::Test::PrivateBytes();
  const Cifra::Test::CountedHeap heap;
  VerifyInTurn(files, kVerifications / 2);
  EXPECT_TRUE(handles.FindsNoLeak());
#ifndef __aarch64__  // where Wine keeps some 90 KB of its own for each verification
  EXPECT_LE(Cifra::Test::PrivateBytes(), memory + kToleratedGrowth);
#endif
  EXPECT_EQ(0, heap.LiveBlocks());
  EXPECT_EQ(nullptr, GetModuleHandleW(L"Ntdsapi.dll"));
}

// Wine gives no signer for a bad digest: the state is left open and the platform's memory grows.
// The library's own does not.
TEST_F(SignatureFile, ManyVerificationsOfBadFiles_LeaveOnlyThePlatformsState) {
  const Cifra::Test::TempDirectory directory;
  Bytes bytes = Content(Fixture(L"signed.exe"));
  bytes[0x300] ^= 1;
  Write(directory / L"changed.exe", bytes);
  const std::vector files = {directory / L"changed.exe", Fixture(L"unsigned.exe"),
                             Fixture(L"text.exe")};
  VerifyInTurn(files, 100);
  const Cifra::Test::HandleWatch handles;
  const Cifra::Test::CountedHeap heap;
  VerifyInTurn(files, kVerifications / 2);
  EXPECT_TRUE(handles.FindsNoLeak());
  EXPECT_EQ(0, heap.LiveBlocks());
}

}  // namespace
