#include <gtest/gtest.h>

#include <cstdlib>

#include "CngScript.h"
#include "foundation/ModuleHandle.h"
#include "hash/HashData.h"
#include "support/LibraryUnderTest.h"
#include "support/ProgramArguments.h"
#include "support/TempDirectory.h"

// The SHA-256 object with a hashing service that the test controls. The stand-in is loaded before
// the library, which then uses the bcrypt.dll in the process.
namespace {

using Cifra::Object;
using Cifra::Test::CngScript;
using Cifra::Test::kInvalidHandle;
using Cifra::Test::Library;
using Cifra::Test::Narrow;

constexpr std::int32_t kFailure = static_cast<std::int32_t>(0xC0000001);

constexpr char kStarted[] =
    "BCryptOpenAlgorithmProvider SHA256 null 0\n"
    "BCryptCreateHash algorithm null 0 null 0 0\n";
constexpr char kReleased[] =
    "BCryptDestroyHash hash\n"
    "BCryptCloseAlgorithmProvider algorithm 0\n";
constexpr char kScriptedDigest[] =
    "0102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20";
const std::string kZeroDigest(64, '0');

const kx::ModuleHandle& StandIn() {
  static const kx::ModuleHandle module(LoadLibraryW(
      (Cifra::Test::ProgramFile().parent_path() / L"standins" / L"bcrypt" / L"bcrypt.dll")
          .c_str()));
  return module;
}

class Sha256Cng : public testing::Test {
 protected:
  Sha256Cng() {
    auto* const findScript =
        kx::FindProcedure<Cifra::Test::CngScriptFunction>(StandIn().get(), Cifra::Test::kCngScript);
    findCalls =
        kx::FindProcedure<Cifra::Test::CngCallsFunction>(StandIn().get(), Cifra::Test::kCngCalls);
    if (!findScript || !findCalls) {
      std::fputs("there is no stand-in for bcrypt.dll\n", stderr);
      std::exit(EXIT_FAILURE);
    }
    script = findScript();
    *script = {};
    Calls();
  }
  ~Sha256Cng() {
    EXPECT_EQ(0, script->openHashes);
    EXPECT_EQ(0, script->openAlgorithms);
  }

  std::string Calls() const { return findCalls(); }
  void Fail(const char* call) {
    script->failingCall = call;
    script->status = kFailure;
  }

  std::int32_t Update(Cifra::ISha256& sha256) { return sha256.Update(byte, 1); }

  CngScript* script = nullptr;
  Cifra::Test::CngCallsFunction* findCalls = nullptr;
  const std::uint8_t byte[1] = {0};
  std::uint8_t digest[Cifra::ISha256::kDigestBytes] = {};
};

TEST_F(Sha256Cng, Object_MakesTheCallsOfAHashAndGivesItsHandlesBack) {
  {
    const Object<Cifra::ISha256> sha256(Library());
    EXPECT_EQ(kStarted, Calls());
    EXPECT_EQ(0, sha256->Update(byte, 1));
    EXPECT_EQ("BCryptHashData hash 1 0\n", Calls());
    EXPECT_EQ(0, sha256->Final(digest));
    EXPECT_EQ("BCryptFinishHash hash 32 0\n", Calls());
    EXPECT_EQ(32, digest[31]);
  }
  EXPECT_EQ(kReleased, Calls());
}

TEST_F(Sha256Cng, Init_GivesBothHandlesBackAndStartsAnew) {
  const Object<Cifra::ISha256> sha256(Library());
  Calls();
  EXPECT_EQ(0, sha256->Init());
  EXPECT_EQ(std::string(kReleased) + kStarted, Calls());
  EXPECT_EQ(1, script->openHashes);
  EXPECT_EQ(1, script->openAlgorithms);
}

TEST_F(Sha256Cng, FailedOpen_MakesOperationsReturnTheServicesStatus) {
  Fail("BCryptOpenAlgorithmProvider");
  {
    const Object<Cifra::ISha256> sha256(Library());
    ASSERT_NE(nullptr, sha256.Get());
    EXPECT_EQ(kInvalidHandle, Update(*sha256.Get()));
    EXPECT_EQ(kInvalidHandle, sha256->Final(digest));
    EXPECT_EQ(kInvalidHandle, sha256->Init());  // the status of the call that makes the hash
    EXPECT_EQ(kZeroDigest, Cifra::Test::HashString(*sha256.Get()));
    Calls();
  }
  EXPECT_EQ("", Calls()) << "there is nothing to release";
}

TEST_F(Sha256Cng, FailedCreate_MakesOperationsReturnTheServicesStatus) {
  Fail("BCryptCreateHash");
  {
    const Object<Cifra::ISha256> sha256(Library());
    ASSERT_NE(nullptr, sha256.Get());
    EXPECT_EQ(kInvalidHandle, Update(*sha256.Get()));
    EXPECT_EQ(kInvalidHandle, sha256->Final(digest));
    EXPECT_EQ(kFailure, sha256->Init());
    EXPECT_EQ(kZeroDigest, Cifra::Test::HashString(*sha256.Get()));
    Calls();
  }
  EXPECT_EQ("BCryptCloseAlgorithmProvider algorithm 0\n", Calls());
}

TEST_F(Sha256Cng, ServiceThatRecovers_IsUsedFromTheNextInitOn) {
  Fail("BCryptCreateHash");
  const Object<Cifra::ISha256> sha256(Library());
  *script = {nullptr, 0, script->openAlgorithms, script->openHashes};
  EXPECT_EQ(kInvalidHandle, Update(*sha256.Get()));
  EXPECT_EQ(0, sha256->Init());
  EXPECT_EQ(0, Update(*sha256.Get()));
}

TEST_F(Sha256Cng, HashDataThatFails_IsReturnedByUpdate) {
  Fail("BCryptHashData");
  const Object<Cifra::ISha256> sha256(Library());
  EXPECT_EQ(kFailure, Update(*sha256.Get()));
}

TEST_F(Sha256Cng, FinishThatFails_IsReturnedByFinalAndGivesATextOfZeros) {
  Fail("BCryptFinishHash");
  const Object<Cifra::ISha256> sha256(Library());
  EXPECT_EQ(kFailure, sha256->Final(digest));
  EXPECT_EQ(kZeroDigest, Cifra::Test::HashString(*sha256.Get()));
}

TEST_F(Sha256Cng, CloseAndDestroyThatFail_DoNotStopTheObjectsEnd) {
  for (const char* call : {"BCryptDestroyHash", "BCryptCloseAlgorithmProvider"}) {
    {
      Fail(call);
      const Object<Cifra::ISha256> sha256(Library());
      Calls();
    }
    EXPECT_EQ(kReleased, Calls()) << call;
    // A handle that the service refused to close stays open.
    *script = {};
  }
}

TEST_F(Sha256Cng, GetHashStringAgainWithoutInit_IsRefusedAndGivesATextOfZeros) {
  const Object<Cifra::ISha256> sha256(Library());
  EXPECT_EQ(kScriptedDigest, Cifra::Test::HashString(*sha256.Get()));
  EXPECT_EQ(kZeroDigest, Cifra::Test::HashString(*sha256.Get()));
  EXPECT_EQ(kInvalidHandle, sha256->Final(digest));
  EXPECT_EQ(kInvalidHandle, Update(*sha256.Get()));
}

TEST_F(Sha256Cng, HashFile_UsesAHashOfItsOwnAndGivesItBack) {
  const Cifra::Test::TempDirectory directory;
  Cifra::Test::WriteFileOfSize(directory / L"file", 10);
  const Object<Cifra::ISha256> sha256(Library());
  Calls();
  kx::StringT<wchar_t> output;
  EXPECT_EQ(kCifraSuccess, sha256->HashFile((directory / L"file").c_str(), output));
  EXPECT_EQ(kScriptedDigest, Narrow(output));
  EXPECT_EQ(
      std::string(kStarted) + "BCryptHashData hash 10 0\nBCryptFinishHash hash 32 0\n" + kReleased,
      Calls());
  EXPECT_EQ(1, script->openHashes);
}

TEST_F(Sha256Cng, HashFileWithAFailingService_ReturnsSuccessAndZeros) {
  const Cifra::Test::TempDirectory directory;
  Cifra::Test::WriteFileOfSize(directory / L"file", 10);
  Fail("BCryptOpenAlgorithmProvider");
  const Object<Cifra::ISha256> sha256(Library());
  ASSERT_NE(nullptr, sha256.Get());
  kx::StringT<wchar_t> output;
  EXPECT_EQ(kCifraSuccess, sha256->HashFile((directory / L"file").c_str(), output));
  EXPECT_EQ(kZeroDigest, Narrow(output));
}

}  // namespace
