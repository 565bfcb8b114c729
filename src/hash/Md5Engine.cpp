#include "hash/Md5Engine.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

#include "foundation/ByteOrder.h"
#include "foundation/ValueBarrier.h"
#include "foundation/Wipe.h"

namespace {

constexpr std::uint32_t kBlockBytes = 64;
constexpr std::uint32_t kLengthOffset = 56;
constexpr std::uint8_t kPaddingStart = 0x80;

// floor(abs(sin(i)) * 2^32) for i = 1 to 64.
constexpr std::uint32_t kSines[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};
constexpr int kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
constexpr std::size_t kWordFactor[4] = {1, 5, 3, 7};
constexpr std::size_t kWordStart[4] = {0, 1, 5, 0};

// The auxiliary function of a round, F, G, H or I of the RFC, added to early, the part of the
// step's sum that does not wait for the step before. Only b comes from that step, so b is touched
// as late as can be; early is opaque, or the compiler would sort the sum its own way and put b
// first.
template <std::size_t kRound>
inline std::uint32_t AddMix(std::uint32_t early, std::uint32_t b, std::uint32_t c,
                            std::uint32_t d) {
  if constexpr (kRound == 0) {
    return kx::ValueBarrier(early) + (d ^ (b & (c ^ d)));
  } else if constexpr (kRound == 1) {
    // The two terms of G have no bit in common: adding them is joining them, one addition ahead.
    return kx::ValueBarrier(early + (c & ~d)) + (b & d);
  } else if constexpr (kRound == 2) {
    return kx::ValueBarrier(early) + (kx::ValueBarrier(c ^ d) ^ b);
  } else {
    return kx::ValueBarrier(early) + (c ^ (b | ~d));
  }
}

// Step kStep of 64. The words of the state are not moved from step to step but change their names.
template <std::size_t kStep>
inline void Step(std::uint32_t (&state)[4], const std::uint8_t* block) {
  constexpr std::size_t kRound = kStep / 16;
  constexpr std::size_t kWord = (kWordStart[kRound] + kWordFactor[kRound] * kStep) % 16;
  std::uint32_t& a = state[(64 - kStep) % 4];
  const std::uint32_t b = state[(65 - kStep) % 4];
  const std::uint32_t c = state[(66 - kStep) % 4];
  const std::uint32_t d = state[(67 - kStep) % 4];
  const std::uint32_t early = a + kSines[kStep] + kx::LoadLittleEndian32(block + 4 * kWord);
  a = b + std::rotl(AddMix<kRound>(early, b, c, d), kRotations[kRound][kStep % 4]);
}

template <std::size_t... kSteps>
inline void RunSteps(std::uint32_t (&state)[4], const std::uint8_t* block,
                     std::index_sequence<kSteps...>) {
  (Step<kSteps>(state, block), ...);
}

// Transforms the blocks of length bytes, a multiple of the block's.
void Transform(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length) {
  std::uint32_t sums[4] = {state[0], state[1], state[2], state[3]};
  for (const std::uint8_t* const end = blocks + length; blocks != end; blocks += kBlockBytes) {
    std::uint32_t words[4] = {sums[0], sums[1], sums[2], sums[3]};
    RunSteps(words, blocks, std::make_index_sequence<64>());
    for (std::size_t i = 0; i < 4; ++i) {
      sums[i] += words[i];
    }
  }
  std::copy_n(sums, 4, state);
}

// Writes the padding, a bit and then zeros, from index to the end of a block; in whole words, which
// for the short messages that wait for it is faster than a call of memset.
void Pad(std::uint8_t (&block)[kBlockBytes], std::size_t index) {
  constexpr std::size_t kWordBytes = 8;
  const std::size_t shift = index % kWordBytes * 8;
  std::uint8_t* word = block + index / kWordBytes * kWordBytes;
  const std::uint64_t text = kx::LoadLittleEndian64(word) & ~(~std::uint64_t{0} << shift);
  kx::StoreLittleEndian64(text | std::uint64_t{kPaddingStart} << shift, word);
  const std::uint64_t zero =
      kx::ValueBarrier(std::uint64_t{0});  // or GCC would call memset after all
  while ((word += kWordBytes) != std::end(block)) {
    kx::StoreLittleEndian64(zero, word);
  }
}

}  // namespace

void Md5Init(Md5Context& context) {
  context.state[0] = 0x67452301;
  context.state[1] = 0xEFCDAB89;
  context.state[2] = 0x98BADCFE;
  context.state[3] = 0x10325476;
  context.count[0] = 0;
  context.count[1] = 0;
}

void Md5Update(Md5Context& context, const std::uint8_t* bytes, std::uint32_t length) {
  if (length == 0) {
    return;  // bytes may be null
  }
  std::uint32_t index = context.count[0] / 8 % kBlockBytes;
  context.count[0] += length << 3;
  context.count[1] += (context.count[0] < length << 3) + (length >> 29);
  if (index > 0) {
    const std::uint32_t missing = kBlockBytes - index;
    if (length < missing) {
      std::memcpy(context.buffer + index, bytes, length);
      return;
    }
    std::memcpy(context.buffer + index, bytes, missing);
    Transform(context.state, context.buffer, kBlockBytes);
    bytes += missing;
    length -= missing;
  }
  const std::uint32_t rest = length % kBlockBytes;
  Transform(context.state, bytes, length - rest);
  std::memcpy(context.buffer, bytes + length - rest, rest);
}

void Md5Final(Md5Context& context, std::uint8_t (&digest)[kMd5DigestBytes]) {
  const std::uint32_t index = context.count[0] / 8 % kBlockBytes;
  Pad(context.buffer, index);
  if (index >= kLengthOffset) {
    Transform(context.state, context.buffer, kBlockBytes);
    std::memset(context.buffer, 0, kLengthOffset);
  }
  kx::StoreLittleEndian32(context.count[0], context.buffer + kLengthOffset);
  kx::StoreLittleEndian32(context.count[1], context.buffer + kLengthOffset + 4);
  Transform(context.state, context.buffer, kBlockBytes);
  for (std::size_t i = 0; i < 4; ++i) {
    kx::StoreLittleEndian32(context.state[i], digest + 4 * i);
  }
  kx::Wipe(&context, sizeof(context));
}
