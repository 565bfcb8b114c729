#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "foundation/CompilerHints.h"

// The 64 steps of MD5 on a block, written once for any kind of register. Words has the operations
// of one kind.
namespace Cifra::Md5Blocks {

inline constexpr std::uint32_t kBlockBytes = 64;

// floor(abs(sin(i)) * 2^32) for i = 1 to 64.
inline constexpr std::uint32_t kSines[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

// What differs from round to round:
//   round  function  word of step i   rotations of steps 0 to 3, then again
//   0      F         i                7 12 17 22
//   1      G         5 i + 1          5  9 14 20
//   2      H         3 i + 5          4 11 16 23
//   3      I         7 i              6 10 15 21
inline constexpr int kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
inline constexpr std::size_t kWordFactor[4] = {1, 5, 3, 7};
inline constexpr std::size_t kWordStart[4] = {0, 1, 5, 0};

// Step kStep of 64: a = b + ((a + function(b, c, d) + word + sine) rotated). The state words stay
// put; a to d rotate through them.
template <typename Words, std::size_t kStep>
KX_ALWAYS_INLINE void Step(typename Words::Word (&state)[4], const std::uint8_t* block) {
  constexpr std::size_t kRound = kStep / 16;
  constexpr std::size_t kWord = (kWordStart[kRound] + kWordFactor[kRound] * kStep) % 16;
  auto& a = state[(64 - kStep) % 4];
  const auto b = state[(65 - kStep) % 4];
  const auto c = state[(66 - kStep) % 4];
  const auto d = state[(67 - kStep) % 4];
  const auto early = Words::Add(a, Words::Input(kSines[kStep], block + 4 * kWord));
  const auto sum = Words::template AddFunction<kRound>(early, b, c, d);
  a = Words::Add(b, Words::template RotateLeft<kRotations[kRound][kStep % 4]>(sum));
}

template <typename Words, std::size_t... kSteps>
KX_ALWAYS_INLINE void RunSteps(typename Words::Word (&state)[4], const std::uint8_t* block,
                               std::index_sequence<kSteps...>) {
  (Step<Words, kSteps>(state, block), ...);
}

template <typename Words>
KX_ALWAYS_INLINE void TransformBlocks(std::uint32_t (&state)[4], const std::uint8_t* blocks,
                                      std::uint32_t length) {
  typename Words::Word sums[4];
  for (std::size_t i = 0; i < 4; ++i) {
    sums[i] = Words::FromState(state[i]);
  }
  for (const std::uint8_t* const end = blocks + length; blocks != end; blocks += kBlockBytes) {
    typename Words::Word words[4] = {sums[0], sums[1], sums[2], sums[3]};
    RunSteps<Words>(words, blocks, std::make_index_sequence<64>());
    for (std::size_t i = 0; i < 4; ++i) {
      sums[i] = Words::Add(sums[i], words[i]);
    }
  }
  for (std::size_t i = 0; i < 4; ++i) {
    state[i] = Words::ToState(sums[i]);
  }
}

}  // namespace Cifra::Md5Blocks
