#include "support/TestData.h"

#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace Cifra::Test {

std::vector<std::vector<std::string>> ReadVectors(const std::string& fileName) {
  std::ifstream file(fileName);
  std::vector<std::vector<std::string>> vectors;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) {
      continue;
    }
    std::istringstream fields(line);
    std::vector<std::string> vector;
    for (std::string field; fields >> std::quoted(field);) {
      vector.push_back(field);
    }
    if (!vector.empty()) {
      vectors.push_back(vector);
    }
  }
  if (vectors.empty()) {
    throw std::runtime_error("no test vectors in " + fileName);
  }
  return vectors;
}

Bytes FromHex(std::string_view digits) {
  Bytes bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoul(std::string(digits.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

std::string ToHex(const std::uint8_t* bytes, std::size_t count) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  for (std::size_t i = 0; i < count; ++i) {
    digits += kDigits[bytes[i] >> 4];
    digits += kDigits[bytes[i] & 15];
  }
  return digits;
}

Bytes FromText(std::string_view text) { return Bytes(text.begin(), text.end()); }

Bytes Random::NextBytes(std::size_t count) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(engine());
  }
  return bytes;
}

std::size_t Random::NextLength(std::size_t limit) {
  return Below(Below(2) == 0 ? (limit + 7) / 8 : limit);
}

}  // namespace Cifra::Test
