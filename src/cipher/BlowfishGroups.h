#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "cipher/BlowfishBlock.h"
#include "cipher/BlowfishKernel.h"
#include "foundation/ByteOrder.h"

// Blowfish on groups of neighbouring blocks in general-purpose registers, written once for any form
// of the round. A block's state is one 64-bit word.
namespace Cifra::BlowfishBlocks {

using BlowfishBlock::Direction;
using BlowfishBlock::kBoxWords;
using BlowfishTables::kPWords;

inline constexpr std::size_t kPairs = kPWords / 2;

// Blocks that are worked on at once: as many as there are registers for their states. A round is a
// chain of about a dozen cycles' latency, and only independent blocks can fill them.
inline constexpr std::size_t kWidth = 8;

// Pair i holds the P words of rounds 2i and 2i+1; the last holds the output whitening.
template <Direction kDirection>
KX_ALWAYS_INLINE std::uint64_t Pair(const std::uint32_t* p, std::size_t number) {
  const bool isForward = kDirection == Direction::kEncipher;
  const std::uint64_t pair = kx::LoadLittleEndian64(
      reinterpret_cast<const std::uint8_t*>(p + 2 * (isForward ? number : kPairs - 1 - number)));
  return isForward ? pair : std::rotl(pair, 32);
}

// Inlined by force: the states are in registers only where no call gets in between.
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

// All rounds. The widest group's are written out, which saves the counting; smaller groups run at
// most once per message.
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

// A block is opaque on its way from and to memory; otherwise GCC moves the states into vector
// registers and back.
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

// The functions for what is left over of a message, 1 to kWidth blocks.
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
