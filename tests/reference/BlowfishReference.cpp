#include "reference/BlowfishReference.h"

#include <algorithm>
#include <utility>

namespace Cifra::Reference {

namespace {

constexpr std::size_t kTableWords = 18 + 4 * 256;

// Fixed is a binary number from 0 up, most significant word first: one word in front of the point,
// then the fraction with two words more than are wanted, which take the rounding errors.
using Fixed = std::vector<std::uint32_t>;

bool IsZero(const Fixed& number) {
  return std::all_of(number.begin(), number.end(), [](std::uint32_t word) { return word == 0; });
}

Fixed Divide(const Fixed& dividend, std::uint32_t divisor) {
  Fixed quotient(dividend.size());
  std::uint64_t rest = 0;
  for (std::size_t i = 0; i < dividend.size(); ++i) {
    rest = rest << 32 | dividend[i];
    quotient[i] = static_cast<std::uint32_t>(rest / divisor);
    rest %= divisor;
  }
  return quotient;
}

// sum += factor * number; a negative factor is taken modulo 2^64 and so subtracts.
void AddMultiple(Fixed& sum, const Fixed& number, std::int32_t factor) {
  std::int64_t carry = 0;
  for (std::size_t i = sum.size(); i-- > 0;) {
    const std::int64_t word = carry + sum[i] + std::int64_t{factor} * number[i];
    sum[i] = static_cast<std::uint32_t>(word);
    carry = word >> 32;
  }
}

// sum += factor * arctan(1 / x)
void AddArctangent(Fixed& sum, std::int32_t factor, std::uint32_t x) {
  Fixed power(sum.size());
  power[0] = 1;
  power = Divide(power, x);
  for (std::uint32_t n = 1; !IsZero(power); n += 2, factor = -factor) {
    AddMultiple(sum, Divide(power, n), factor);
    power = Divide(power, x * x);
  }
}

std::uint32_t LoadLittleEndian(const std::uint8_t* bytes) {
  std::uint32_t word = 0;
  for (int i = 3; i >= 0; --i) {
    word = word << 8 | bytes[i];
  }
  return word;
}

template <typename Cipher>
std::vector<std::uint8_t> ForEachBlock(const std::vector<std::uint8_t>& message, Cipher cipher) {
  std::vector<std::uint8_t> result;
  for (std::size_t i = 0; i < message.size(); i += 8) {
    std::uint32_t halves[2] = {LoadLittleEndian(&message[i]), LoadLittleEndian(&message[i + 4])};
    cipher(halves[0], halves[1]);
    for (const std::uint32_t half : halves) {
      for (int shift = 0; shift < 32; shift += 8) {
        result.push_back(static_cast<std::uint8_t>(half >> shift));
      }
    }
  }
  return result;
}

}  // namespace

const std::vector<std::uint32_t>& PiFraction() {
  static const std::vector<std::uint32_t> fraction = [] {
    Fixed pi(1 + kTableWords + 2);
    AddArctangent(pi, 16, 5);
    AddArctangent(pi, -4, 239);
    return Fixed(pi.begin() + 1, pi.end() - 2);
  }();
  return fraction;
}

Blowfish::Blowfish(const std::vector<std::uint8_t>& key) {
  auto digits = PiFraction().begin();
  std::copy_n(digits, p.size(), p.begin());
  digits += static_cast<std::ptrdiff_t>(p.size());
  for (auto& box : s) {
    std::copy_n(digits, box.size(), box.begin());
    digits += static_cast<std::ptrdiff_t>(box.size());
  }
  std::size_t position = 0;
  for (std::uint32_t& word : p) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      word ^= static_cast<std::uint32_t>(key[position++ % key.size()]) << shift;
    }
  }
  std::uint32_t left = 0;
  std::uint32_t right = 0;
  const auto replacePair = [&](std::uint32_t* pair) {
    Encipher(left, right);
    pair[0] = left;
    pair[1] = right;
  };
  for (std::size_t i = 0; i < p.size(); i += 2) {
    replacePair(&p[i]);
  }
  for (auto& box : s) {
    for (std::size_t i = 0; i < box.size(); i += 2) {
      replacePair(&box[i]);
    }
  }
}

std::uint32_t Blowfish::F(std::uint32_t x) const {
  return ((s[0][x >> 24] + s[1][x >> 16 & 0xFF]) ^ s[2][x >> 8 & 0xFF]) + s[3][x & 0xFF];
}

void Blowfish::Encipher(std::uint32_t& left, std::uint32_t& right) const {
  for (std::size_t i = 0; i < kRounds; ++i) {
    left ^= p[i];
    right ^= F(left);
    std::swap(left, right);
  }
  std::swap(left, right);
  right ^= p[kRounds];
  left ^= p[kRounds + 1];
}

void Blowfish::Decipher(std::uint32_t& left, std::uint32_t& right) const {
  for (std::size_t i = kRounds + 1; i > 1; --i) {
    left ^= p[i];
    right ^= F(left);
    std::swap(left, right);
  }
  std::swap(left, right);
  right ^= p[1];
  left ^= p[0];
}

std::vector<std::uint8_t> Blowfish::Encipher(const std::vector<std::uint8_t>& message) const {
  return ForEachBlock(message,
                      [this](std::uint32_t& left, std::uint32_t& right) { Encipher(left, right); });
}

std::vector<std::uint8_t> Blowfish::Decipher(const std::vector<std::uint8_t>& message) const {
  return ForEachBlock(message,
                      [this](std::uint32_t& left, std::uint32_t& right) { Decipher(left, right); });
}

}  // namespace Cifra::Reference
