#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "Require.h"
#include "cipher/Base64Text.h"
#include "reference/Base64Reference.h"

// What the client does to Base64 text that people hand it: white space goes, the rest stays.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string given(reinterpret_cast<const char*>(data), size);
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
  return 0;
}
