#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

#include "signature/SignatureResults.h"
#include "support/CifraLibrary.h"
#include "support/CountedHeap.h"
#include "support/ProcessResources.h"
#include "support/TempDirectory.h"

// Signed and damaged files, verified by the platform itself.
namespace {

using test::NameMap;
using test::Object;
using Bytes = std::vector<char>;

constexpr std::int32_t kTrusted = 0;
constexpr auto kNoSignature = static_cast<std::int32_t>(0x800B0100);
constexpr auto kUnknownForm = static_cast<std::int32_t>(0x800B0003);
constexpr auto kBadDigest = static_cast<std::int32_t>(0x80096010);

#ifdef CIFRA_LONG_RUNS
constexpr int kDamages = 2'000;
constexpr int kVerifications = 10'000;
#else
constexpr int kDamages = 200;
constexpr int kVerifications = 300;
#endif

class ResultObserver final : public Cifra::ISignatureObserver {
 public:
  void OnVerifyResult(std::int32_t result) override { results.push_back(result); }
  void OnCertificate(const _CERT_CONTEXT* certificate) override { EXPECT_NE(nullptr, certificate); }
  void OnSignatureDone() override {}

  std::vector<std::int32_t> results;
};

std::filesystem::path Fixture(const std::wstring& name) {
  const char* directory = std::getenv("CIFRA_FIXTURES");
  return std::filesystem::path(directory ? directory : "") / name;
}

Bytes Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

void Write(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

class SignatureFile : public testing::Test {
 protected:
  void SetUp() override { object->SetObserver(&observer); }

  // The platform's verdicts on a file's signatures, whose chains are in `chains` afterwards.
  std::vector<std::int32_t> Verdicts(const std::filesystem::path& path) {
    observer.results.clear();
    chains = {};
    EXPECT_EQ(0u, object->GetDigitalSignature(path.wstring().c_str(), chains, false)) << path;
    return observer.results;
  }
  std::vector<std::int32_t> VerdictsOf(const std::wstring& fixture) {
    return Verdicts(Fixture(fixture));
  }
  // The certificate of a trusted fixture.
  Cifra::Certificate Signer(const std::wstring& fixture) {
    EXPECT_EQ(std::vector{kTrusted}, VerdictsOf(fixture));
    return chains.Count() == 1 ? *chains.GetHead()->certificates.GetHead() : Cifra::Certificate();
  }

  ResultObserver observer;
  Object<Cifra::IDigitalSignature> object{Cifra::kDigitalSignatureObjectId};
  kx::List<Cifra::Chain> chains;
};

TEST_F(SignatureFile, ASignedFile_IsTrustedAndItsSignerNamed) {
  const Cifra::Certificate signer = Signer(L"signed.exe");
  EXPECT_EQ(L"1234", std::wstring(signer.serial.CStr()));
  EXPECT_EQ((NameMap{{L"C", {L"DE"}}, {L"CN", {L"Plain Signer"}}, {L"O", {L"Cifra"}}}),
            test::ToStd(signer.subject));
  EXPECT_EQ((NameMap{{L"CN", {L"Test Authority"}}, {L"O", {L"Cifra"}}}),
            test::ToStd(signer.issuer));
  EXPECT_EQ(0u, chains.GetHead()->timestamp);
  EXPECT_TRUE(object->IsSigned(Fixture(L"signed.exe").wstring().c_str(), false));
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

TEST_F(SignatureFile, UnusualNames_ComeThrough) {
  const Cifra::Certificate signer = Signer(L"names.exe");
  EXPECT_EQ((NameMap{{L"1.2.3.4", {L"strange"}},
                     {L"CN", {L"Signer"}},
                     {L"L",
                      {L"Gr\xF6\xDF"
                       L"e \x4E2D"}},
                     {L"O", {L"Big, Bigger \"\"and\"\" Co."}},
                     {L"OU", {L"Once", L"Twice"}}}),
            test::ToStd(signer.subject));
  EXPECT_EQ(L"00abcdef0123", std::wstring(signer.serial.CStr()));
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

TEST_F(SignatureFile, AppendedData_IsSurvived) {
  EXPECT_EQ(1u, VerdictsOf(L"appended.exe").size());
}

TEST_F(SignatureFile, AChangedCodeByte_IsABadDigest) {
  const test::TempDirectory directory;
  Bytes bytes = Content(Fixture(L"signed.exe"));
  bytes[0x300] ^= 1;
  Write(directory / L"changed.exe", bytes);
  EXPECT_EQ(std::vector{kBadDigest}, Verdicts(directory / L"changed.exe"));
  EXPECT_FALSE(object->IsSigned((directory / L"changed.exe").wstring().c_str(), false));
}

TEST_F(SignatureFile, CutFiles_AreNotTrusted) {
  EXPECT_NE(std::vector{kTrusted}, VerdictsOf(L"cut.exe"));
}

// Where the signature says that its own bytes and those that name its place are not covered.
struct Layout {
  std::size_t checksum;
  std::size_t tableEntry;
  std::size_t table;

  explicit Layout(const Bytes& bytes) {
    const auto at = [&bytes](std::size_t offset) {
      std::uint32_t value;
      std::memcpy(&value, &bytes[offset], sizeof(value));
      return value;
    };
    const std::size_t optionalHeader = at(0x3C) + 24;
    checksum = optionalHeader + 64;
    tableEntry = optionalHeader + 112 + 4 * 8;
    table = at(tableEntry);
  }

  bool Covers(std::size_t offset) const {
    return offset < table && !(offset >= checksum && offset < checksum + 4) &&
           !(offset >= tableEntry && offset < tableEntry + 8);
  }
};

TEST_F(SignatureFile, NoRandomDamage_IsTrusted) {
  const test::TempDirectory directory;
  const std::filesystem::path damaged = directory / L"damaged.exe";
  const Bytes bytes = Content(Fixture(L"signed.exe"));
  const Layout layout(bytes);
  std::mt19937 random(20240607);
  for (int i = 0; i < kDamages;) {
    const std::size_t offset = random() % layout.table;
    const char change = static_cast<char>(1 + random() % 255);
    if (!layout.Covers(offset)) {
      continue;
    }
    Bytes changed = bytes;
    changed[offset] = static_cast<char>(changed[offset] ^ change);
    Write(damaged, changed);
    for (const std::int32_t verdict : Verdicts(damaged)) {
      ASSERT_NE(kTrusted, verdict) << "byte " << offset << " changed by " << +change;
    }
    ++i;
  }
  std::vector<Cifra::Chain> trusted;
  object->GetTrustedChains(trusted);
  EXPECT_TRUE(trusted.empty());
}

// Damage inside the signature itself may be in bytes that nobody vouches for, but must be survived.
TEST_F(SignatureFile, DamageOfTheSignature_IsSurvived) {
  const test::TempDirectory directory;
  const std::filesystem::path damaged = directory / L"damaged.exe";
  const Bytes bytes = Content(Fixture(L"signed.exe"));
  const Layout layout(bytes);
  std::mt19937 random(7);
  for (int i = 0; i < kDamages / 10; ++i) {
    Bytes changed = bytes;
    char& byte = changed[layout.table + random() % (bytes.size() - layout.table)];
    byte = static_cast<char>(byte ^ static_cast<char>(1 + random() % 255));
    Write(damaged, changed);
    EXPECT_EQ(1u, Verdicts(damaged).size());
  }
}

// Each file is verified by an object of its own.
void VerifyInTurn(const std::vector<std::filesystem::path>& files, int times) {
  for (int i = 0; i < times; ++i) {
    Object<Cifra::IDigitalSignature> fresh(Cifra::kDigitalSignatureObjectId);
    fresh->VerifyFile(files[static_cast<std::size_t>(i) % files.size()].wstring().c_str(), false);
  }
}

TEST_F(SignatureFile, ManyVerifications_LeaveNothingBehind) {
  constexpr std::size_t kToleratedGrowth = 256 * 1024;  // an arena more or less
  const std::vector files = {Fixture(L"signed.exe"), Fixture(L"stamped.exe"),
                             Fixture(L"missing.exe")};
  VerifyInTurn(files, 100);
  const test::HandleWatch handles;
  [[maybe_unused]] const std::size_t memory = test::PrivateBytes();
  const test::CountedHeap heap;
  VerifyInTurn(files, kVerifications / 2);
  EXPECT_TRUE(handles.FindsNoLeak());
#ifndef __aarch64__  // where Wine keeps some 90 KB of its own for each verification
  EXPECT_LE(test::PrivateBytes(), memory + kToleratedGrowth);
#endif
  EXPECT_EQ(0, heap.LiveBlocks());
  EXPECT_EQ(nullptr, GetModuleHandleW(L"Ntdsapi.dll"));
}

// Wine gives no signer for a bad digest, so that its state is left open on purpose and the
// platform's memory grows; the library's own does not.
TEST_F(SignatureFile, ManyVerificationsOfBadFiles_LeaveOnlyThePlatformsState) {
  const test::TempDirectory directory;
  Bytes bytes = Content(Fixture(L"signed.exe"));
  bytes[0x300] ^= 1;
  Write(directory / L"changed.exe", bytes);
  const std::vector files = {directory / L"changed.exe", Fixture(L"unsigned.exe"),
                             Fixture(L"text.exe")};
  VerifyInTurn(files, 100);
  const test::HandleWatch handles;
  const test::CountedHeap heap;
  VerifyInTurn(files, kVerifications / 2);
  EXPECT_TRUE(handles.FindsNoLeak());
  EXPECT_EQ(0, heap.LiveBlocks());
}

}  // namespace
