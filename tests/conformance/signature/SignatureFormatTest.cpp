#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "signature/ScriptedWalk.h"
#include "support/ImportPatch.h"

// Names as Windows writes and splits them, where that differs from what the platform at hand does:
// both of the platform's functions are played by a script.
namespace Cifra::Test {
namespace {

std::wstring writtenName;

DWORD WINAPI WriteScriptedName(DWORD, CERT_NAME_BLOB*, DWORD, wchar_t* text, DWORD size) {
  if (text) {
    EXPECT_LE(writtenName.size() + 1, size);
    text[writtenName.copy(text, size - 1)] = L'\0';
  }
  return static_cast<DWORD>(writtenName.size() + 1);
}

// What one call of DsGetRdnW gives: an error, or a key, a value and how many characters are left.
struct Element {
  std::wstring key;
  std::wstring value;
  DWORD left = 1;
  DWORD error = ERROR_SUCCESS;
};
std::vector<Element> elements;
std::size_t splits = 0;

DWORD WINAPI SplitScripted(const wchar_t** name, DWORD* nameLength, const wchar_t** key,
                           DWORD* keyLength, const wchar_t** value, DWORD* valueLength) {
  EXPECT_NE(nullptr, *name);
  if (splits >= elements.size()) {
    ADD_FAILURE() << "asked more often than there are elements";
    return ERROR_INVALID_PARAMETER;
  }
  const Element& element = elements[splits++];
  *nameLength = element.left;
  *key = element.key.c_str();
  *keyLength = static_cast<DWORD>(element.key.size());
  *value = element.value.c_str();
  *valueLength = static_cast<DWORD>(element.value.size());
  return element.error;
}

FARPROC WINAPI FindScriptedSplit(HMODULE module, const char* name) {
  return std::strcmp(name, "DsGetRdnW") == 0
             ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&SplitScripted))
             : GetProcAddress(module, name);
}

class SignatureFormat : public ScriptedWalk {
 protected:
  // The issuer of a certificate whose names the platform writes like this.
  NameMap IssuerWrittenAs(const std::wstring& name) {
    const ImportPatch patch(Library().Module(), "CertNameToStrW", &WriteScriptedName);
    writtenName = name;
    Walk({Signed()});
    log = WithoutTraces(log);
    return ToStd(chains.GetTail()->certificates.GetHead()->issuer);
  }

  // The subject of a certificate, which is the second name to be split. The issuer's splitting ends
  // at its first call.
  NameMap SubjectSplitInto(std::vector<Element> given) {
    const ImportPatch patch(Library().Module(), "GetProcAddress", &FindScriptedSplit);
    elements = std::move(given);
    elements.insert(elements.begin(), Element{L"CN", L"Issuer", 0});
    splits = 0;
    Walk({Signed()});
    log = WithoutTraces(log);
    EXPECT_EQ(elements.size(), splits);
    return ToStd(chains.GetTail()->certificates.GetHead()->subject);
  }
};

TEST_F(SignatureFormat, TypeWithoutAShortName_KeepsThePrefixThatWindowsWrites) {
  EXPECT_EQ((NameMap{{L"OID.1.2.3.4", {L"A"}}}), IssuerWrittenAs(L"OID.1.2.3.4=A"));
}

TEST_F(SignatureFormat, EmptyValueInQuotes_IsAnEmptyOne) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}, {L"OU", {L""}}}), IssuerWrittenAs(L"CN=A, OU=\"\""));
}

TEST_F(SignatureFormat, ValueInHexadecimal_IsKeptAsItIsWritten) {
  EXPECT_EQ((NameMap{{L"CN", {L"#0A56CF"}}}), IssuerWrittenAs(L"CN=#0A56CF"));
}

TEST_F(SignatureFormat, MultivaluedElement_GivesAllItsTypes) {
  EXPECT_EQ((NameMap{{L"C", {L"DE"}}, {L"CN", {L"A"}}, {L"OU", {L"B"}}}),
            IssuerWrittenAs(L"CN=A + OU=B, C=DE"));
}

TEST_F(SignatureFormat, KeysAndValues_LoseBlanksThenQuotesThenBlanks) {
  EXPECT_EQ(
      (NameMap{{L"CN", {L"A"}}, {L"O", {L"B"}}, {L"OU", {L"\" C"}}}),
      SubjectSplitInto(
          {{L"  CN", L"A  "}, {L"\"O\"", L"\"\"B\"\""}, {L" \" OU \" ", L"  \" \" C \"  ", 0}}));
}

TEST_F(SignatureFormat, ElementWithoutKeyOrValue_IsSkipped) {
  EXPECT_EQ(
      (NameMap{{L"CN", {L"A"}}, {L"O", {L"B"}}}),
      SubjectSplitInto({{L"", L"no key"}, {L"CN", L"A"}, {L"no value", L""}, {L"O", L"B", 0}}));
}

TEST_F(SignatureFormat, SkippedElementAtTheEnd_IsFollowedByOneMoreCall) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}),
            SubjectSplitInto({{L"CN", L"A"}, {L"OU", L"", 0}, {L"", L"", 0, ERROR_INVALID_NAME}}));
  EXPECT_EQ("4 kx::DistinguishedNameBuilder: Error 123\n", log[3]);
}

TEST_F(SignatureFormat, SuccessWithNothingLeft_IsTheEnd) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}), SubjectSplitInto({{L"CN", L"A", 0}}));
  EXPECT_EQ(0, std::count_if(log.begin(), log.end(), [](const std::string& line) {
              return line.find("Error") != std::string::npos;
            }));
}

TEST_F(SignatureFormat, ErrorInTheMiddle_LeavesWhatWasReadBefore) {
  EXPECT_EQ((NameMap{{L"CN", {L"A"}}}),
            SubjectSplitInto({{L"CN", L"A"}, {L"O", L"B", 5, ERROR_ACCESS_DENIED}}));
  EXPECT_EQ("4 kx::DistinguishedNameBuilder: Error 5\n", log[3]);
}

}  // namespace
}  // namespace Cifra::Test
