#include "cipher/Base64Text.h"

#include "program/Hex.h"

namespace client {
namespace {

// How a byte is shown in a message.
std::string Shown(char c) {
  const auto byte = static_cast<std::uint8_t>(c);
  if (byte > 0x20 && byte < 0x7F) {
    return {'\'', c, '\''};
  }
  return "0x" + ToHex({&byte, 1});
}

}  // namespace

void RemoveWhiteSpace(std::string& text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
}

std::string DescribeNotBase64(const std::string& text) {
  constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
  const std::size_t strange = text.find_first_not_of(kAlphabet);
  if (strange != std::string::npos) {
    return "not Base64: it contains " + Shown(text[strange]);
  }
  if (text.size() % 4 != 0) {
    return "not Base64: the number of its characters is not a multiple of 4, it may be cut short";
  }
  return "not Base64: '=' may stand only at the end, once or twice";
}

}  // namespace client
