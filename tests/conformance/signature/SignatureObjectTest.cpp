#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// The verification object's contract, apart from the walk over the signatures.
namespace {

using Cifra::Object;
using Cifra::Test::Library;
using Cifra::Test::ScriptedSignature;

constexpr LONG kUntrusted = static_cast<LONG>(0x800B0109);
constexpr LONG kOffline = static_cast<LONG>(0x80092013);

class SignatureObject : public Cifra::Test::ScriptedWalk {
 protected:
  std::uint32_t Verify(const std::wstring& path) {
    return object->GetDigitalSignature(path.c_str(), chains, false);
  }
  bool IsSigned(const std::wstring& path) { return object->IsSigned(path.c_str(), false); }
  void PlayUntrusted() {
    ScriptedSignature untrusted = Signed();
    untrusted.results = {kUntrusted};
    script.Play({untrusted});
  }
  Cifra::Test::Lines Attempts() {
    Cifra::Test::Lines attempts;
    std::ranges::copy_if(script.Events(), std::back_inserter(attempts),
                         [](const std::string& event) { return event.starts_with("verify"); });
    return attempts;
  }
};

TEST_F(SignatureObject, AMissingFile_Returns2AndAppendsNothing) {
  script.Play({Signed()});
  const std::wstring missing = directory / L"missing.exe";
  EXPECT_EQ(2u, Verify(missing));
  EXPECT_EQ(2u, object->VerifyFile(missing.c_str(), true));
  EXPECT_FALSE(IsSigned(missing));
  EXPECT_EQ(0u, chains.Count());
  EXPECT_TRUE(script.VerifyCalls().empty());
}

TEST_F(SignatureObject, AFileThatCannotBeOpened_ReturnsThePlatformsError) {
  EXPECT_EQ(3u, Verify(directory / L"missing" / L"file.exe"));
  EXPECT_EQ(3u, Verify(L""));
  EXPECT_EQ(5u, Verify(directory.Path()));
  EXPECT_EQ(123u, Verify(L"a<b"));
}

TEST_F(SignatureObject, AfterAFailedOpen_TheNextFileIsVerified) {
  script.Play({Signed()});
  EXPECT_EQ(2u, Verify(directory / L"missing.exe"));
  EXPECT_EQ(0u, Verify(file));
  EXPECT_EQ(1u, chains.Count());
}

struct OpenArguments {
  std::wstring path;
  DWORD access;
  DWORD sharing;
  SECURITY_ATTRIBUTES* security;
  DWORD disposition;
  DWORD flags;
  HANDLE templateFile;
} opened;

HANDLE WINAPI RecordingCreateFile(const wchar_t* path, DWORD access, DWORD sharing,
                                  SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                  HANDLE templateFile) {
  opened = {path, access, sharing, security, disposition, flags, templateFile};
  return CreateFileW(path, access, sharing, security, disposition, flags, templateFile);
}

TEST_F(SignatureObject, TheFile_IsOpenedForReadingAndSharedWithEverybody) {
  script.Play({Signed()});
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CreateFileW",
                                       &RecordingCreateFile);
  EXPECT_EQ(0u, Verify(file));
  EXPECT_EQ(file.wstring(), opened.path);
  EXPECT_EQ(0x80000000u, opened.access);
  EXPECT_EQ(7u, opened.sharing);
  EXPECT_EQ(nullptr, opened.security);
  EXPECT_EQ(3u, opened.disposition);
  EXPECT_EQ(0x80u, opened.flags);
  EXPECT_EQ(nullptr, opened.templateFile);
}

TEST_F(SignatureObject, AFileInUseByAWriter_CanBeVerified) {
  script.Play({Signed()});
  const std::ofstream writer(file, std::ios::app);
  EXPECT_EQ(0u, Verify(file));
}

TEST_F(SignatureObject, TheFile_IsClosedAfterwards) {
  script.Play({Signed()});
  EXPECT_EQ(0u, Verify(file));
  const HANDLE exclusive =
      CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(INVALID_HANDLE_VALUE, exclusive);
  CloseHandle(exclusive);
}

TEST_F(SignatureObject, AnUnsetPath_IsTheEmptyPath) {
  EXPECT_EQ(3u, object->GetDigitalSignature({}, chains, false));
}

TEST_F(SignatureObject, VerifyFile_TellsTheObserverAndFillsTheTrustedChains) {
  object->SetObserver(&observer);
  script.Play({Signed(), Signed()});
  EXPECT_EQ(0u, object->VerifyFile(file.wstring().c_str(), false));
  EXPECT_EQ(2u, TrustedChains().size());
  EXPECT_EQ("done", script.Events().back());
}

TEST_F(SignatureObject, OnlineCheck_AllowsASecondAttemptInEveryOperation) {
  for (const bool onlineCheck : {false, true}) {
    const Cifra::Test::Lines attempts =
        onlineCheck ? Cifra::Test::Lines{"verify 0 null cached", "verify 0 none online"}
                    : Cifra::Test::Lines{"verify 0 null cached"};
    ScriptedSignature offline = Signed();
    offline.results = {kOffline, 0};

    script.Play({offline});
    Object<Cifra::IDigitalSignature> verifying(Library());
    EXPECT_EQ(0u, verifying->VerifyFile(file.wstring().c_str(), onlineCheck));
    EXPECT_EQ(attempts, Attempts());
    std::vector<Cifra::Chain> trusted;
    verifying->GetTrustedChains(trusted);
    EXPECT_EQ(onlineCheck ? 1u : 0u, trusted.size());

    script.Play({offline});
    Object<Cifra::IDigitalSignature> asking(Library());
    EXPECT_EQ(onlineCheck, asking->IsSigned(file.wstring().c_str(), onlineCheck));
    EXPECT_EQ(attempts, Attempts());
  }
}

TEST_F(SignatureObject, GetDigitalSignature_AppendsToTheCallersList) {
  script.Play({Signed()});
  Cifra::Chain earlier;
  earlier.timestamp = 7;
  chains.AddTail(earlier);
  EXPECT_EQ(0u, Verify(file));
  EXPECT_EQ(2u, chains.Count());
  EXPECT_EQ(7u, chains.GetHead()->timestamp);
}

TEST_F(SignatureObject, IsSigned_AsksForATrustedSignature) {
  PlayUntrusted();
  EXPECT_FALSE(IsSigned(file));
  script.Play({Signed()});
  EXPECT_TRUE(IsSigned(file));
}

TEST_F(SignatureObject, IsSigned_StaysTrueForLaterFilesOfTheSameObject) {
  script.Play({Signed()});
  EXPECT_TRUE(IsSigned(file));
  PlayUntrusted();
  EXPECT_TRUE(IsSigned(file));
  EXPECT_FALSE(IsSigned(directory / L"missing.exe"));
  Object<Cifra::IDigitalSignature> fresh(Library());
  EXPECT_FALSE(fresh->IsSigned(file.wstring().c_str(), false));
}

TEST_F(SignatureObject, TrustedChains_AddUpOverAllFiles) {
  script.Play({Signed()});
  for (unsigned i = 1; i <= 3; ++i) {
    Verify(file);
    EXPECT_EQ(i, TrustedChains().size());
  }
  PlayUntrusted();
  Verify(file);
  EXPECT_EQ(3u, TrustedChains().size());
  EXPECT_EQ(4u, chains.Count());
}

// Everything in a chain, as text.
std::wstring Shown(const Cifra::Chain& chain) {
  std::wstring text = std::to_wstring(chain.timestamp);
  const kx::EnumPtr<kx::IConstListEnum<Cifra::Certificate>> at(
      chain.certificates.CreateConstEnum());
  for (; at->IsValid(); at->Next()) {
    text += std::wstring(L" serial ") + at->Current()->serial.CStr();
    for (const auto* name : {&at->Current()->issuer, &at->Current()->subject}) {
      text += L" |";
      for (const auto& [type, values] : Cifra::Test::ToStd(*name)) {
        for (const std::wstring& value : values) {
          text += L" " + type + L"=" + value;
        }
      }
    }
  }
  return text;
}

TEST_F(SignatureObject, GetTrustedChains_GivesAnExactCopy) {
  ScriptedSignature stamped = Signed();
  stamped.issuer = Cifra::Test::EncodedName(L"CN=I, O=J");
  stamped.subject = Cifra::Test::EncodedName(L"CN=A, OU=B, OU=C");
  stamped.serial = {0xCD, 0xAB};
  stamped.counterSigners = {{SGNR_TYPE_TIMESTAMP, {0xD53E8000 + 1234 * 10'000, 0x019DB1DE}}};
  script.Play({stamped, Signed()});
  Verify(file);
  std::vector<Cifra::Chain> trusted(5);
  object->GetTrustedChains(trusted);
  ASSERT_EQ(2u, trusted.size());
  EXPECT_EQ(L"1234 serial abcd | CN=I O=J | CN=A OU=B OU=C", Shown(trusted[0]));
  EXPECT_EQ(L"0 serial 01 | CN=Issuer | CN=Subject", Shown(trusted[1]));
  trusted.clear();
  EXPECT_EQ(2u, TrustedChains().size());
}

TEST_F(SignatureObject, Objects_ShareNothing) {
  Object<Cifra::IDigitalSignature> other(Library());
  script.Play({Signed()});
  Verify(file);
  std::vector<Cifra::Chain> trusted(1);
  other->GetTrustedChains(trusted);
  EXPECT_TRUE(trusted.empty());
}

TEST_F(SignatureObject, AnObject_AnswersItsTwoInterfacesAndNoOther) {
  EXPECT_EQ(object.Get(), object.Base()->QueryInterface(Cifra::IDigitalSignature::kInterfaceId));
  EXPECT_EQ(object.Base(), object.Base()->QueryInterface(IKxBaseInterface::kInterfaceId));
  EXPECT_EQ(nullptr, object.Base()->QueryInterface(Cifra::IMd5::kInterfaceId));
  EXPECT_EQ(
      (InterfaceId{0x3A9EE0E6, 0x1477, 0x9A99, {0xD3, 0x41, 0xB8, 0x1B, 0x33, 0xA7, 0xC6, 0xD3}}),
      Cifra::IDigitalSignature::kInterfaceId);
}

}  // namespace
