#include "verify/ScriptSignature.h"

#include <algorithm>
#include <sstream>

namespace client {
namespace {

// UTF-16 without its higher bytes, which are zero in a signature; other text as it is.
std::string NarrowIfUtf16(std::string_view text) {
  const bool isLittleEndian = text.starts_with("\xFF\xFE");
  if (!isLittleEndian && !text.starts_with("\xFE\xFF")) {
    return std::string(text);
  }
  std::string narrow;
  for (std::size_t i = isLittleEndian ? 2 : 3; i < text.size(); i += 2) {
    narrow += text[i];
  }
  return narrow;
}

// Marks of comments are shorter or hold other characters, and so are the words around the block.
bool IsBase64(const std::string& word) {
  return word.size() % 4 == 0 && std::ranges::all_of(word, [](char c) {
           return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                  c == '+' || c == '/' || c == '=';
         });
}

}  // namespace

std::string ScriptSignature(std::string_view script) {
  const std::string text = NarrowIfUtf16(script);
  const std::size_t begin = text.rfind("Begin signature block");
  const std::size_t end = begin == text.npos ? begin : text.find("End signature block", begin);
  if (end == text.npos) {
    return {};
  }
  std::string base64;
  std::istringstream words(text.substr(begin, end - begin));
  for (std::string word; words >> word;) {
    base64 += IsBase64(word) ? word : "";
  }
  return base64;
}

}  // namespace client
