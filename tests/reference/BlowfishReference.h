#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Cifra::Reference {

// The first 18 + 1024 words of the binary fraction of pi, calculated with Machin's formula.
const std::vector<std::uint32_t>& PiFraction();

// Blowfish is the cipher word by word as its author describes it, as the oracle for the engine. It
// takes its initial tables from pi and not from the engine.
class Blowfish {
 public:
  explicit Blowfish(const std::vector<std::uint8_t>& key);

  void Encipher(std::uint32_t& left, std::uint32_t& right) const;
  void Decipher(std::uint32_t& left, std::uint32_t& right) const;

  // Messages of whole blocks, the halves as little-endian words.
  std::vector<std::uint8_t> Encipher(const std::vector<std::uint8_t>& message) const;
  std::vector<std::uint8_t> Decipher(const std::vector<std::uint8_t>& message) const;

 private:
  static constexpr std::size_t kRounds = 16;

  std::uint32_t F(std::uint32_t x) const;

  std::array<std::uint32_t, kRounds + 2> p;
  std::array<std::array<std::uint32_t, 256>, 4> s;
};

}  // namespace Cifra::Reference
