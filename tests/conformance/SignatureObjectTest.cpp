#include <gtest/gtest.h>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// What the object of the signature verification promises apart from the walk itself.
namespace {

using test::Lines;
using test::Object;
using test::ScriptedSignature;

constexpr LONG kUntrusted = static_cast<LONG>(0x800B0109);

class SignatureObject : public test::ScriptedWalk {
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
};

TEST_F(SignatureObject, AMissingFile_Returns2AndAppendsNothing) {
  script.Play({Signed()});
  const std::wstring missing = directory / L"missing.exe";
  EXPECT_EQ(2u, Verify(missing));
  EXPECT_EQ(2u, object->VerifyFile(missing.c_str(), true));
  EXPECT_FALSE(IsSigned(missing));
  EXPECT_EQ(0u, chains.Count());
  EXPECT_TRUE(script.VerifyCalls().empty());
  EXPECT_EQ((Lines{"> GetDigitalSignature", "> OpenFileHandle",
                   "4 OpenFileHandle: Failed to open file with error 2.", "< OpenFileHandle",
                   "< GetDigitalSignature"}),
            [] {
              const Lines lines = test::TakeSignatureLog();
              return Lines(lines.begin(), lines.begin() + 5);
            }());
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
  const test::ImportPatch patch(test::Library().Module(), "CreateFileW", &RecordingCreateFile);
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
  Object<Cifra::IDigitalSignature> fresh(Cifra::kDigitalSignatureObjectId);
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

TEST_F(SignatureObject, GetTrustedChains_GivesAnExactCopy) {
  ScriptedSignature stamped = Signed();
  stamped.counterSigners = {{SGNR_TYPE_TIMESTAMP, {0xD53E8000, 0x019DB1DE}}};  // 1970
  script.Play({stamped, Signed()});
  Verify(file);
  std::vector<Cifra::Chain> trusted(5);
  object->GetTrustedChains(trusted);
  ASSERT_EQ(2u, trusted.size());
  ASSERT_EQ(1u, trusted[0].certificates.Count());
  EXPECT_EQ(L"01", std::wstring(trusted[0].certificates.GetHead()->serial.CStr()));
  EXPECT_EQ((test::NameMap{{L"CN", {L"Subject"}}}),
            test::ToStd(trusted[0].certificates.GetHead()->subject));
  trusted.clear();
  EXPECT_EQ(2u, TrustedChains().size());
}

TEST_F(SignatureObject, Objects_ShareNothing) {
  Object<Cifra::IDigitalSignature> other(Cifra::kDigitalSignatureObjectId);
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
