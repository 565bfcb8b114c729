#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Cifra::Test {

using Bytes = std::vector<std::uint8_t>;

// Reads a file of test vectors from the working directory (tests/data): one vector a line, fields
// separated by blanks, text with blanks or of no length in double quotes, lines that begin with '#'
// ignored. Throws std::runtime_error when there is no such file or no vector in it.
std::vector<std::vector<std::string>> ReadVectors(const std::string& fileName);

Bytes FromHex(std::string_view digits);
std::string ToHex(const std::uint8_t* bytes, std::size_t count);
Bytes FromText(std::string_view text);

// Random generates the same test input in every run and on every platform.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine(seed) {}

  // A number from 0 to limit - 1.
  std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(engine() % limit); }
  Bytes NextBytes(std::size_t count);
  // A length below limit, half of the time a short one.
  std::size_t NextLength(std::size_t limit);

 private:
  std::mt19937_64 engine;
};

}  // namespace Cifra::Test
