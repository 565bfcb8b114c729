#pragma once

#include <cstddef>
#include <cstdint>

#include "cipher/BlowfishTables.h"
#include "foundation/CompilerHints.h"
#include "foundation/ValueBarrier.h"

// The rounds of Blowfish on the two halves of a single block; the key schedule consists of them.
namespace Cifra::BlowfishBlock {

inline constexpr std::size_t kBoxWords = 256;

enum class Direction { kEncipher, kDecipher };

// The algorithm's round function, for four S-boxes anywhere in memory or, below, in one table.
KX_ALWAYS_INLINE std::uint32_t F(const std::uint32_t* s0, const std::uint32_t* s1,
                                 const std::uint32_t* s2, const std::uint32_t* s3,
                                 std::uint32_t x) {
  return ((s0[x >> 24] + s1[x >> 16 & 0xFF]) ^ s2[x >> 8 & 0xFF]) + s3[x & 0xFF];
}

KX_ALWAYS_INLINE std::uint32_t F(const std::uint32_t* s, std::uint32_t x) {
  return F(s, s + kBoxWords, s + 2 * kBoxWords, s + 3 * kBoxWords, x);
}

// P's word of a step: forward for enciphering, backward for deciphering.
template <Direction kDirection>
constexpr std::size_t PIndex(std::size_t step) {
  return kDirection == Direction::kEncipher ? step : BlowfishTables::kPWords - 1 - step;
}

// The 16 rounds and the output whitening. The caller has added P's words of steps 0 and 1 already.
template <Direction kDirection>
KX_ALWAYS_INLINE void RunRounds(const std::uint32_t* p, const std::uint32_t* s, std::uint32_t& left,
                                std::uint32_t& right) {
  std::uint32_t l = left;
  std::uint32_t r = right;
  KX_UNROLL_8
  for (std::size_t step = 2; step < BlowfishTables::kPWords; step += 2) {
    r ^= F(s, l);
    // The barrier has P's word added during F's look-ups instead of after them.
    l = kx::ValueBarrier(l ^ p[PIndex<kDirection>(step)]) ^ F(s, r);
    r = kx::ValueBarrier(r ^ p[PIndex<kDirection>(step + 1)]);
  }
  left = r;
  right = l;
}

template <Direction kDirection>
KX_ALWAYS_INLINE void Cipher(const std::uint32_t* p, const std::uint32_t* s, std::uint32_t& left,
                             std::uint32_t& right) {
  left ^= p[PIndex<kDirection>(0)];
  right ^= p[PIndex<kDirection>(1)];
  RunRounds<kDirection>(p, s, left, right);
}

}  // namespace Cifra::BlowfishBlock
