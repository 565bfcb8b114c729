#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "LogText.h"
#include "signature/ScriptedWalk.h"

// The maps of random names, compared with what OpenSSL reads from the same names.
namespace {

using Cifra::Test::ScriptedSignature;

struct Attribute {
  std::string oid;
  std::string value;
};

struct RandomName {
  std::vector<BYTE> encoded;
  std::vector<Attribute> attributes;
};

// The platform's documented short names of attribute types.
std::wstring TypeName(const std::string& oid) {
  static const std::map<std::string, std::wstring> kNames = {{"2.5.4.3", L"CN"},
                                                             {"2.5.4.6", L"C"},
                                                             {"2.5.4.7", L"L"},
                                                             {"2.5.4.8", L"S"},
                                                             {"2.5.4.10", L"O"},
                                                             {"2.5.4.11", L"OU"},
                                                             {"1.2.840.113549.1.9.1", L"E"},
                                                             {"0.9.2342.19200300.100.1.25", L"DC"}};
  const auto known = kNames.find(oid);
  return known != kNames.end() ? known->second : std::wstring(oid.begin(), oid.end());
}

std::vector<BYTE> FromHex(const std::string& digits) {
  std::vector<BYTE> bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<BYTE>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::vector<RandomName> ReadNames() {
  const char* directory = std::getenv("CIFRA_FIXTURES");
  std::ifstream file(std::filesystem::path(directory ? directory : "") / "names.txt");
  std::vector<RandomName> names;
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    std::string encoded;
    std::getline(fields, encoded, '\t');
    names.push_back({FromHex(encoded), {}});
    for (std::string oid, value; std::getline(fields, oid, '\t');) {
      value.clear();
      std::getline(fields, value, '\t');
      const std::vector<BYTE> bytes = FromHex(value);
      names.back().attributes.push_back({oid, {bytes.begin(), bytes.end()}});
    }
  }
  return names;
}

std::string Trimmed(const std::string& text, char character) {
  const std::size_t first = text.find_first_not_of(character);
  return first == std::string::npos
             ? ""
             : text.substr(first, text.find_last_not_of(character) - first + 1);
}

// A value as the platform writes it into a name, without surrounding blanks and quotes.
std::string Shown(const std::string& value) {
  std::string text = value;
  const bool isQuoted = value.front() == ' ' || value.back() == ' ' ||
                        value.find_first_of(",+=#;<>\"\n") != std::string::npos;
  if (isQuoted) {
    text = "\"";
    for (const char character : value) {
      text.append(character == '"' ? 2 : 1, character);
    }
    text += '"';
  }
  return Trimmed(Trimmed(Trimmed(text, ' '), '"'), ' ');
}

// Both sides of the comparison: values by type, in their order.
using Utf8Map = std::map<std::wstring, std::vector<std::string>>;

Utf8Map Expected(const RandomName& name) {
  std::map<std::wstring, std::set<std::string>> bytewise;
  for (const Attribute& attribute : name.attributes) {
    if (!attribute.value.empty()) {
      bytewise[TypeName(attribute.oid)].insert(Shown(attribute.value));
    }
  }
  Utf8Map map;
  for (const auto& [type, values] : bytewise) {
    map[type].assign(values.begin(), values.end());
  }
  return map;
}

Utf8Map Found(const Cifra::SignatureInfo::Name& name) {
  Utf8Map map;
  for (const auto& [type, values] : Cifra::Test::ToStd(name)) {
    for (const std::wstring& value : values) {
      map[type].push_back(ToUtf8(value));
    }
  }
  return map;
}

using SignatureRandomName = Cifra::Test::ScriptedWalk;

TEST_F(SignatureRandomName, Maps_HoldWhatOpenSslReads) {
  const std::vector<RandomName> names = ReadNames();
  ASSERT_EQ(1000u, names.size());
  ScriptedSignature signature = Signed();
  for (std::size_t i = 0; i < names.size(); i += 2) {
    signature.issuer = names[i].encoded;
    signature.subject = names[i + 1].encoded;
    Walk({signature});
    const Cifra::Certificate& certificate = *chains.GetTail()->certificates.GetHead();
    ASSERT_EQ(Expected(names[i]), Found(certificate.issuer)) << "name " << i;
    ASSERT_EQ(Expected(names[i + 1]), Found(certificate.subject)) << "name " << i + 1;
  }
}

}  // namespace
