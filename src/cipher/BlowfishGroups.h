#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "cipher/BlowfishBlock.h"
#include "cipher/BlowfishKernel.h"
#include "foundation/ByteOrder.h"

// Blowfish on groups of adjacent blocks in general-purpose registers, for any implementation of the
// round. A block's state is one 64-bit word.
namespace Cifra::BlowfishBlocks {

using BlowfishBlock::Direction;
using BlowfishBlock::kBoxWords;
using BlowfishTables::kPWords;

inline constexpr std::size_t kPairs = kPWords / 2;

// Blocks processed at once: as many as there are registers for their states. A round has a latency
// of about a dozen cycles, which only independent blocks can fill.
inline constexpr std::size_t kWidth = 8;

// Pair i holds the P words of rounds 2i and 2i+1; the last holds the output whitening.
template <Direction kDirection>
KX_ALWAYS_INLINE std::uint64_t Pair(const std::uint32_t* p, std::size_t number) {
  const bool isForward = kDirection == Direction::kEncipher;
  const std::uint64_t pair = kx::LoadLittleEndian64(
      reinterpret_cast<const std::uint8_t*>(p + 2 * (isForward ? number : kPairs - 1 - number)));
  return isForward ? pair : std::rotl(pair, 32);
}

// Always inlined: a call would move the states out of their registers.
template <typename Round, std::size_t kCount>
KX_ALWAYS_INLINE void RunRound(std::uint64_t (&states)[kCount], const Round& round) {
  for (std::uint64_t& state : states) {
    state = round(state);
  }
}

template <typename Round, std::size_t kCount>
KX_ALWAYS_INLINE void RunTwoRounds(std::uint64_t (&states)[kCount], std::uint64_t pair,
                                   const Round& round) {
  for (std::uint64_t& state : states) {
    state ^= pair;
  }
  RunRound(states, round);
  RunRound(states, round);
}

// All rounds. Those of the widest group are unrolled; smaller groups run at most once per message.
template <typename Round, Direction kDirection, std::size_t kCount>
KX_ALWAYS_INLINE void RunAllRounds(std::uint64_t (&states)[kCount], const std::uint32_t* p,
                                   const Round& round) {
  if constexpr (kCount == kWidth) {
    KX_UNROLL_8
    for (std::size_t number = 0; number < kPairs - 1; ++number) {
      RunTwoRounds(states, Pair<kDirection>(p, number), round);
    }
  } else {
    for (std::size_t number = 0; number < kPairs - 1; ++number) {
      RunTwoRounds(states, Pair<kDirection>(p, number), round);
    }
  }
}

// Barriers at the loads and stores keep GCC from moving the states through vector registers.
template <typename Round, Direction kDirection, std::size_t kCount>
void CipherGroup(const std::uint32_t* p, const Round& round, const std::uint8_t* input,
                 std::uint8_t* output) {
  std::uint64_t states[kCount];
  for (std::size_t i = 0; i < kCount; ++i) {
    states[i] = kx::ValueBarrier(kx::LoadLittleEndian64(input + i * kBlockBytes));
  }
  RunAllRounds<Round, kDirection>(states, p, round);
  const std::uint64_t pair = Pair<kDirection>(p, kPairs - 1);
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::uint64_t block = kx::ValueBarrier(std::rotl(states[i] ^ pair, 32));
    kx::StoreLittleEndian64(block, output + i * kBlockBytes);
  }
}

// The functions for the remainder of a message, 1 to kWidth blocks.
template <typename Round, Direction kDirection, std::size_t... kIndices>
constexpr auto RestFunctions(std::index_sequence<kIndices...>) {
  using Function = void (*)(const std::uint32_t*, const Round&, const std::uint8_t*, std::uint8_t*);
  return std::array<Function, sizeof...(kIndices)>{CipherGroup<Round, kDirection, kIndices + 1>...};
}

template <typename Round, Direction kDirection>
void CipherBlocks(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                  std::size_t blocks) {
  static constexpr auto kRest =
      RestFunctions<Round, kDirection>(std::make_index_sequence<kWidth>());
  const Round round(tables.s);
  for (; blocks > kWidth; blocks -= kWidth) {
    CipherGroup<Round, kDirection, kWidth>(tables.p, round, input, output);
    input += kWidth * kBlockBytes;
    output += kWidth * kBlockBytes;
  }
  if (blocks > 0) {
    kRest[blocks - 1](tables.p, round, input, output);
  }
}

}  // namespace Cifra::BlowfishBlocks
