#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// Names and serial numbers of certificates, from their encoded form to texts and maps.
namespace {

using Cifra::Test::EncodedName;
using Cifra::Test::Lines;
using Cifra::Test::NameMap;
using Cifra::Test::ScriptedSignature;
using Bytes = std::vector<BYTE>;

// One attribute of an encoded name.
struct Attribute {
  Bytes oid;
  std::string value;
};

const Bytes kCommonName = {0x55, 4, 3};
const Bytes kOrganization = {0x55, 4, 10};
const Bytes kUnit = {0x55, 4, 11};
const Bytes kUnknown = {0x2A, 3, 4};  // 1.2.3.4

Bytes Der(BYTE tag, const Bytes& content) {
  Bytes bytes = {tag};
  if (content.size() > 0x7F) {
    bytes.push_back(0x82);  // two bytes of length follow
    bytes.push_back(static_cast<BYTE>(content.size() >> 8));
  }
  bytes.push_back(static_cast<BYTE>(content.size()));
  bytes.insert(bytes.end(), content.begin(), content.end());
  return bytes;
}

Bytes Joined(const Bytes& first, const Bytes& second) {
  Bytes bytes = first;
  bytes.insert(bytes.end(), second.begin(), second.end());
  return bytes;
}

Bytes Encoded(const std::vector<Attribute>& attributes) {
  Bytes names;
  for (const Attribute& attribute : attributes) {
    const Bytes value(attribute.value.begin(), attribute.value.end());
    names = Joined(names, Der(0x31, Der(0x30, Joined(Der(6, attribute.oid), Der(12, value)))));
  }
  return Der(0x30, names);
}

class SignatureName : public Cifra::Test::ScriptedWalk {
 protected:
  Cifra::Certificate CertificateWith(const Bytes& issuer, const Bytes& subject,
                                     const Bytes& serial) {
    ScriptedSignature signature = Signed();
    signature.issuer = issuer;
    signature.subject = subject;
    signature.serial = serial;
    Walk({signature});
    log = Cifra::Test::WithoutTraces(log);
    return *chains.GetTail()->certificates.GetHead();
  }

  NameMap Issuer(const Bytes& issuer) {
    return Cifra::Test::ToStd(CertificateWith(issuer, EncodedName(L"CN=S"), {1}).issuer);
  }

  std::wstring Serial(const Bytes& serial) {
    const Bytes name = EncodedName(L"CN=A");
    return CertificateWith(name, name, serial).serial.CStr();
  }
};

TEST_F(SignatureName, Serials_AreWrittenMostSignificantByteFirst) {
  EXPECT_EQ(L"ab0001", Serial({0x01, 0x00, 0xAB}));
  EXPECT_EQ("32 GetSerial: Serial: ab0001", log[2]);
}

TEST_F(SignatureName, Serials_KeepLeadingZeroBytes) {
  EXPECT_EQ(L"00007f", Serial({0x7F, 0x00, 0x00}));
}

TEST_F(SignatureName, Serials_MayBeLong) {
  EXPECT_EQ(std::wstring(400, L'f'), Serial(Bytes(200, 0xFF)));
}

TEST_F(SignatureName, AnEmptySerial_IsLoggedAndEmpty) {
  EXPECT_EQ(L"", Serial({}));
  EXPECT_EQ("32 GetSerial: Serial: ", log[2]);
}

TEST_F(SignatureName, AName_IsSplitByTypeWithItsQuotesTakenOff) {
  EXPECT_EQ(
      (NameMap{{L"CN", {L"A"}}, {L"O", {L"B, C"}}, {L"OU", {L"X"}}}),
      Issuer(Encoded({{kCommonName, "A"}, {kOrganization, "B, C"}, {kUnit, "X"}, {kUnit, "X"}})));
  EXPECT_EQ("32 GetIssuer: Issuer: CN=A, O=\"B, C\", OU=X, OU=X", log[0]);
}

TEST_F(SignatureName, EqualValuesOfAType_AreOne) {
  EXPECT_EQ((NameMap{{L"OU", {L"X"}}}), Issuer(Encoded({{kUnit, "X"}, {kUnit, "X"}})));
}

TEST_F(SignatureName, DifferentValuesOfAType_AreInAscendingOrderOfTheirBytes) {
  EXPECT_EQ((NameMap{{L"OU", {L"B", L"a", L"z", L"\xE9", L"\x4E2D"}}}),
            Issuer(Encoded({{kUnit, "\xE4\xB8\xAD"},
                            {kUnit, "z"},
                            {kUnit, "\xC3\xA9"},
                            {kUnit, "a"},
                            {kUnit, "B"}})));
}

// As Wine writes it, with nothing behind the equals sign; Windows may write "".
TEST_F(SignatureName, AnEmptyValue_IsLeftOut) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}, {L"O", {L"C"}}}),
            Issuer(Encoded({{kCommonName, "A"}, {kUnit, ""}, {kOrganization, "C"}})));
}

// The same. After the last element the platform is called once more and refuses.
TEST_F(SignatureName, AnEmptyValueAtTheEnd_IsLeftOutWithAnError) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}), Issuer(Encoded({{kCommonName, "A"}, {kUnit, ""}})));
  EXPECT_EQ("4 kx::DistinguishedNameBuilder: Error 8350\n", log[3]);
}

// As Wine writes it; Windows puts "OID." in front, see SignatureFormatTest.
TEST_F(SignatureName, UnknownTypes_HaveTheirDottedIdentifier) {
  EXPECT_EQ((NameMap{{L"1.2.3.4", {L"A"}}}), Issuer(Encoded({{kUnknown, "A"}})));
}

TEST_F(SignatureName, QuotesInsideAValue_StayDoubled) {
  EXPECT_EQ((NameMap{{L"CN", {L"The \"\"great\"\" A"}}}),
            Issuer(Encoded({{kCommonName, "The \"great\" A"}})));
}

TEST_F(SignatureName, BlanksAndQuotesAroundAValue_AreTakenOff) {
  EXPECT_EQ((NameMap{{L"CN", {L"A B"}}}), Issuer(Encoded({{kCommonName, "  A B "}})));
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}), Issuer(Encoded({{kCommonName, "\"A\""}})));
}

// A value is tested for emptiness before it is trimmed.
TEST_F(SignatureName, AValueOfBlanksOnly_IsAnEmptyOne) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}, {L"OU", {L""}}}),
            Issuer(Encoded({{kCommonName, "A"}, {kUnit, "   "}})));
  EXPECT_EQ("32 GetIssuer: Issuer: CN=A, OU=\"   \"", log[0]);
}

TEST_F(SignatureName, AValueOfQuotesOnly_IsAnEmptyOne) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}, {L"OU", {L""}}}),
            Issuer(Encoded({{kCommonName, "A"}, {kUnit, "\"\""}})));
  EXPECT_EQ("32 GetIssuer: Issuer: CN=A, OU=\"\"\"\"\"\"", log[0]);
}

TEST_F(SignatureName, LineFeeds_AreKept) {
  EXPECT_EQ((NameMap{{L"CN", {L"A\nB\n"}}}), Issuer(Encoded({{kCommonName, "A\nB\n"}})));
}

TEST_F(SignatureName, UnicodeNames_AreKept) {
  EXPECT_EQ((NameMap{{L"CN",
                      {L"Gr\xF6\xDF"
                       L"e \x4E2D \xD83D\xDE00"}}}),
            Issuer(Encoded({{kCommonName,
                             "Gr\xC3\xB6\xC3\x9F"
                             "e \xE4\xB8\xAD \xF0\x9F\x98\x80"}})));
}

TEST_F(SignatureName, LongNames_AreKept) {
  EXPECT_EQ((NameMap{{L"CN", {std::wstring(1000, L'x')}}}),
            Issuer(Encoded({{kCommonName, std::string(1000, 'x')}})));
}

TEST_F(SignatureName, AnEmptyName_GivesAnEmptyMap) {
  EXPECT_EQ(NameMap(), Issuer(Encoded({})));
  EXPECT_EQ("32 GetIssuer: Issuer: ", log[0]);
}

TEST_F(SignatureName, AnUnreadableName_GivesAnEmptyTextAndMap) {
  EXPECT_EQ(NameMap(), Issuer({0xFF, 0x00, 0x13}));
  EXPECT_EQ("32 GetIssuer: Issuer: ", log[0]);
  EXPECT_EQ(NameMap(), Issuer({}));
}

TEST_F(SignatureName, SubjectAndIssuer_AreKeptApart) {
  const Cifra::Certificate certificate =
      CertificateWith(EncodedName(L"CN=I, C=DE"), EncodedName(L"CN=S, C=US"), {1});
  EXPECT_EQ((NameMap{{L"C", {L"DE"}}, {L"CN", {L"I"}}}), Cifra::Test::ToStd(certificate.issuer));
  EXPECT_EQ((NameMap{{L"C", {L"US"}}, {L"CN", {L"S"}}}), Cifra::Test::ToStd(certificate.subject));
  EXPECT_EQ("32 GetSubject: Subject: CN=S, C=US", log[1]);
}

// The library's calls of the platform, and its results when they fail.

struct NameCall {
  DWORD encoding;
  DWORD type;
  bool hasBuffer;
  DWORD size;
  DWORD result;
};
std::vector<NameCall> nameCalls;

DWORD WINAPI RecordingNameToStr(DWORD encoding, CERT_NAME_BLOB* name, DWORD type, wchar_t* text,
                                DWORD size) {
  const DWORD result = CertNameToStrW(encoding, name, type, text, size);
  nameCalls.push_back({encoding, type, text != nullptr, size, result});
  return result;
}

TEST_F(SignatureName, ABlob_IsConvertedIntoOneCharacterMoreThanItNeeds) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW",
                                       &RecordingNameToStr);
  nameCalls.clear();
  Issuer(EncodedName(L"CN=Cifra"));
  ASSERT_EQ(4u, nameCalls.size());
  EXPECT_EQ(1u, nameCalls[0].encoding);
  EXPECT_EQ(3u, nameCalls[0].type);
  EXPECT_FALSE(nameCalls[0].hasBuffer);
  EXPECT_EQ(0u, nameCalls[0].size);
  EXPECT_EQ(1u, nameCalls[1].encoding);
  EXPECT_EQ(3u, nameCalls[1].type);
  EXPECT_TRUE(nameCalls[1].hasBuffer);
  EXPECT_EQ(nameCalls[0].result + 1, nameCalls[1].size);
}

DWORD WINAPI FailingNameToStr(DWORD, CERT_NAME_BLOB*, DWORD, wchar_t* text, DWORD) {
  if (text) {
    *text = L'?';
    return 0;
  }
  return 10;
}

TEST_F(SignatureName, ABlobThatCannotBeConverted_IsLoggedAndEmpty) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW",
                                       &FailingNameToStr);
  EXPECT_EQ(NameMap(), Issuer(EncodedName(L"CN=A")));
  EXPECT_EQ((Lines{"4 BlobToStr: Failed to convert blob to string.",
                   "32 GetIssuer: Issuer: ", "4 BlobToStr: Failed to convert blob to string.",
                   "32 GetSubject: Subject: ", "32 GetSerial: Serial: 01"}),
            Lines(log.begin(), log.begin() + 5));
}

DWORD WINAPI NameToStrWithoutSize(DWORD, CERT_NAME_BLOB*, DWORD, wchar_t* text, DWORD size) {
  if (!text) {
    return 0;
  }
  EXPECT_EQ(1u, size);
  *text = L'\0';
  return 1;
}

TEST_F(SignatureName, AZeroSize_IsNoFailureByItself) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW",
                                       &NameToStrWithoutSize);
  EXPECT_EQ(NameMap(), Issuer(EncodedName(L"CN=A")));
  EXPECT_EQ("32 GetIssuer: Issuer: ", log[0]);
}

std::vector<std::wstring> loaded;
HMODULE WINAPI RecordingLoadLibrary(const wchar_t* file) {
  loaded.push_back(file);
  return LoadLibraryW(file);
}
unsigned freed;
BOOL WINAPI RecordingFreeLibrary(HMODULE module) {
  ++freed;
  return FreeLibrary(module);
}

TEST_F(SignatureName, TheNameLibrary_IsLoadedAndFreedForEachName) {
  const Cifra::Test::ImportPatch loading(Cifra::Test::Library().Module(), "LoadLibraryW",
                                         &RecordingLoadLibrary);
  const Cifra::Test::ImportPatch freeing(Cifra::Test::Library().Module(), "FreeLibrary",
                                         &RecordingFreeLibrary);
  for (const Bytes& name : {EncodedName(L"CN=A"), Encoded({})}) {
    loaded.clear();
    freed = 0;
    CertificateWith(name, name, {1});
    EXPECT_EQ((std::vector<std::wstring>{L"Ntdsapi.dll", L"Ntdsapi.dll"}), loaded);
    EXPECT_EQ(2u, freed);
  }
}

HMODULE WINAPI LoadNoLibrary(const wchar_t*) { return nullptr; }

TEST_F(SignatureName, WithoutTheNameLibrary_MapsAreEmptyAndNothingIsLogged) {
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "LoadLibraryW",
                                       &LoadNoLibrary);
  EXPECT_EQ(NameMap(), Issuer(EncodedName(L"CN=A")));
  EXPECT_EQ("32 GetIssuer: Issuer: CN=A", log[0]);
  EXPECT_EQ(4u, log.size());  // issuer, subject, serial, no counter-signer
}

FARPROC WINAPI FindNoProcedure(HMODULE, const char*) { return nullptr; }

TEST_F(SignatureName, WithoutItsFunction_MapsAreEmptyAndTheLibraryIsFreed) {
  const Cifra::Test::ImportPatch finding(Cifra::Test::Library().Module(), "GetProcAddress",
                                         &FindNoProcedure);
  const Cifra::Test::ImportPatch freeing(Cifra::Test::Library().Module(), "FreeLibrary",
                                         &RecordingFreeLibrary);
  freed = 0;
  EXPECT_EQ(NameMap(), Issuer(EncodedName(L"CN=A")));
  EXPECT_EQ(4u, log.size());
  EXPECT_EQ(2u, freed);
}

TEST_F(SignatureName, ANameThatThePlatformRefuses_GivesTheElementsBeforeIt) {
  nameCalls.clear();
  const auto unclosed = +[](DWORD, CERT_NAME_BLOB*, DWORD, wchar_t* text, DWORD) -> DWORD {
    constexpr wchar_t kName[] = L"CN=A, O=\"B, C=DE";
    if (text) {
      std::copy(std::begin(kName), std::end(kName), text);
    }
    return static_cast<DWORD>(std::size(kName));
  };
  const Cifra::Test::ImportPatch patch(Cifra::Test::Library().Module(), "CertNameToStrW", unclosed);
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}), Issuer(EncodedName(L"CN=A")));
  EXPECT_EQ("4 kx::DistinguishedNameBuilder: Error 8350\n", log[3]);
}

}  // namespace
