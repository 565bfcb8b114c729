#include "cipher/Base64Kernel.h"
#include "cipher/Base64Simd.h"

#if defined(__aarch64__) || defined(_M_ARM64)

#include <arm_neon.h>

// NEON's structure loads and stores take 3 or 4 streams apart and put them together again, so each
// register holds the first, second ... bytes or characters of 16 groups.
namespace Cifra::Base64Codec {

namespace {

constexpr std::size_t kGroups = 16;

uint8x16_t Table(const std::int8_t (&table)[16]) { return vreinterpretq_u8_s8(vld1q_s8(table)); }

uint8x16_t ToCharacters(uint8x16_t values, uint8x16_t table) {
  const uint8x16_t isCapital = vcltq_u8(values, vdupq_n_u8(kCapitals));
  const uint8x16_t kind = vorrq_u8(vqsubq_u8(values, vdupq_n_u8(kLastLetterValue)),
                                   vandq_u8(isCapital, vdupq_n_u8(kCapitalsClass)));
  return vaddq_u8(values, vqtbl1q_u8(table, kind));
}

struct Decoder {
  uint8x16_t foreignByHighHalf = Table(kForeignByHighHalf);
  uint8x16_t foreignByLowHalf = Table(kForeignByLowHalf);
  uint8x16_t toValue = Table(kToValue);

  // The characters' values; sets a bit in foreign where a character is not of the alphabet.
  uint8x16_t ToValues(uint8x16_t characters, uint8x16_t& foreign) const {
    const uint8x16_t high = vshrq_n_u8(characters, 4);
    const uint8x16_t low = vandq_u8(characters, vdupq_n_u8(0x0F));
    foreign = vorrq_u8(
        foreign, vandq_u8(vqtbl1q_u8(foreignByHighHalf, high), vqtbl1q_u8(foreignByLowHalf, low)));
    const uint8x16_t isSlash = vceqq_u8(characters, vdupq_n_u8('/'));  // -1 where it is
    return vaddq_u8(characters, vqtbl1q_u8(toValue, vaddq_u8(high, isSlash)));
  }
};

}  // namespace

std::size_t EncodeNeon(const std::uint8_t* input, std::size_t inputLength, char* output) {
  const uint8x16_t toCharacter = Table(kToCharacter);
  const uint8x16_t sixBits = vdupq_n_u8(63);
  std::size_t done = 0;
  for (; inputLength - done >= 3 * kGroups; done += 3 * kGroups) {
    const uint8x16x3_t bytes = vld3q_u8(input + done);
    uint8x16x4_t text;
    text.val[0] = vshrq_n_u8(bytes.val[0], 2);
    text.val[1] = vandq_u8(vsriq_n_u8(vshlq_n_u8(bytes.val[0], 4), bytes.val[1], 4), sixBits);
    text.val[2] = vandq_u8(vsriq_n_u8(vshlq_n_u8(bytes.val[1], 2), bytes.val[2], 6), sixBits);
    text.val[3] = vandq_u8(bytes.val[2], sixBits);
    for (uint8x16_t& values : text.val) {
      values = ToCharacters(values, toCharacter);
    }
    vst4q_u8(reinterpret_cast<std::uint8_t*>(output + done / 3 * 4), text);
  }
  return done;
}

std::size_t DecodeNeon(const char* text, std::size_t textLength, std::uint8_t* output) {
  const Decoder decoder;
  std::size_t done = 0;
  for (; textLength - done >= 4 * kGroups; done += 4 * kGroups) {
    uint8x16x4_t values = vld4q_u8(reinterpret_cast<const std::uint8_t*>(text + done));
    uint8x16_t foreign = vdupq_n_u8(0);
    for (uint8x16_t& stream : values.val) {
      stream = decoder.ToValues(stream, foreign);
    }
    if (vmaxvq_u8(foreign) != 0) {
      break;
    }
    uint8x16x3_t bytes;
    bytes.val[0] = vsliq_n_u8(vshrq_n_u8(values.val[1], 4), values.val[0], 2);
    bytes.val[1] = vsliq_n_u8(vshrq_n_u8(values.val[2], 2), values.val[1], 4);
    bytes.val[2] = vsliq_n_u8(values.val[3], values.val[2], 6);
    vst3q_u8(output + done / 4 * 3, bytes);
  }
  return done;
}

}  // namespace Cifra::Base64Codec

#endif
