#include "reference/Sha256Reference.h"

#include <array>
#include <bit>
#include <cmath>

namespace Cifra::Reference {
namespace {

using Word = std::uint32_t;

constexpr std::size_t kBlockBytes = 64;
constexpr std::array<unsigned, 64> kPrimes = {
    2,   3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,  41,  43,  47,  53,
    59,  61,  67,  71,  73,  79,  83,  89,  97,  101, 103, 107, 109, 113, 127, 131,
    137, 139, 149, 151, 157, 163, 167, 173, 179, 181, 191, 193, 197, 199, 211, 223,
    227, 229, 233, 239, 241, 251, 257, 263, 269, 271, 277, 281, 283, 293, 307, 311};

// The first 32 bits of the fraction of a root.
Word Fraction(double root) { return static_cast<Word>((root - std::floor(root)) * 4294967296.0); }

const std::array<Word, 64>& Constants() {
  static const std::array<Word, 64> constants = [] {
    std::array<Word, 64> all{};
    for (std::size_t i = 0; i < all.size(); ++i) {
      all[i] = Fraction(std::cbrt(kPrimes[i]));
    }
    return all;
  }();
  return constants;
}

void AddBlock(std::array<Word, 8>& hash, const std::uint8_t* block) {
  std::array<Word, 64> schedule{};
  for (std::size_t i = 0; i < 64; ++i) {
    if (i < 16) {
      for (std::size_t j = 0; j < 4; ++j) {
        schedule[i] = schedule[i] << 8 | block[4 * i + j];
      }
      continue;
    }
    const Word early = schedule[i - 15];
    const Word late = schedule[i - 2];
    schedule[i] = (std::rotr(late, 17) ^ std::rotr(late, 19) ^ late >> 10) + schedule[i - 7] +
                  (std::rotr(early, 7) ^ std::rotr(early, 18) ^ early >> 3) + schedule[i - 16];
  }
  auto [a, b, c, d, e, f, g, h] = hash;
  for (std::size_t i = 0; i < 64; ++i) {
    const Word first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                       ((e & f) ^ (~e & g)) + Constants()[i] + schedule[i];
    const Word second =
        (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + first;
    d = c;
    c = b;
    b = a;
    a = first + second;
  }
  const std::array<Word, 8> added = {a, b, c, d, e, f, g, h};
  for (std::size_t i = 0; i < hash.size(); ++i) {
    hash[i] += added[i];
  }
}

}  // namespace

std::vector<std::uint8_t> Sha256(const std::uint8_t* bytes, std::size_t length) {
  std::vector<std::uint8_t> message(bytes, bytes + length);
  message.push_back(0x80);
  while (message.size() % kBlockBytes != kBlockBytes - 8) {
    message.push_back(0);
  }
  for (int shift = 56; shift >= 0; shift -= 8) {
    message.push_back(static_cast<std::uint8_t>(std::uint64_t{length} * 8 >> shift));
  }
  std::array<Word, 8> hash{};
  for (std::size_t i = 0; i < hash.size(); ++i) {
    hash[i] = Fraction(std::sqrt(kPrimes[i]));
  }
  for (std::size_t at = 0; at < message.size(); at += kBlockBytes) {
    AddBlock(hash, message.data() + at);
  }
  std::vector<std::uint8_t> digest;
  for (const Word word : hash) {
    for (int shift = 24; shift >= 0; shift -= 8) {
      digest.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
  return digest;
}

}  // namespace Cifra::Reference
