#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "Require.h"
#include "cipher/Base64Text.h"
#include "reference/Base64Reference.h"
#include "verify/ScriptSignature.h"

namespace {

// White space goes, the rest stays.
void TestBase64(const std::string& given) {
  std::string text = given;
  client::RemoveWhiteSpace(text);
  std::size_t place = 0;
  for (const char character : given) {
    if (std::string(" \t\r\n").find(character) == std::string::npos) {
      Cifra::Fuzz::Require(place < text.size() && text[place++] == character);
    }
  }
  Cifra::Fuzz::Require(place == text.size());
  const std::string reason = client::DescribeNotBase64(text);
  Cifra::Fuzz::Require(reason.starts_with("not Base64: "));
  for (const char character : reason) {
    Cifra::Fuzz::Require(character >= ' ' && character <= '~');
  }
}

// Whole groups of Base64 characters, and none without both marks.
void TestScript(const std::string& given) {
  const std::string signature = client::ScriptSignature(given);
  Cifra::Fuzz::Require(signature.size() % 4 == 0 && signature.size() <= given.size());
  Cifra::Fuzz::Require(client::DescribeNotBase64(signature).find("it contains") ==
                       std::string::npos);
  const bool isWide = given.starts_with("\xFF\xFE") || given.starts_with("\xFE\xFF");
  const bool hasMarks = given.find("Begin signature block") < given.rfind("End signature block");
  Cifra::Fuzz::Require(signature.empty() || isWide || hasMarks);
}

}  // namespace

// What the client does to text that people hand it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string given(reinterpret_cast<const char*>(data), size);
  TestBase64(given);
  TestScript(given);
  return 0;
}
