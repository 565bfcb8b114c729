#pragma once

#include "cipher/Base64Kernel.h"
#include "foundation/CompilerHints.h"

// The SSSE3 and AVX2 kernels, written once for registers of any number of 16-byte lanes. The method
// is that of W. Mula and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions"
// (2018). Simd wraps the instructions of a width; each including file is compiled for its own
// instruction set, so Simd is a type of the including file's own.
namespace Cifra::Base64Codec {

inline constexpr std::size_t kLaneBytes = 12;  // of data in a lane of 16 characters
inline constexpr std::size_t kLaneCharacters = 16;

// What is added to a value to make its character, by the value's class: 0 for 0 to 25, 1 for 26 to
// 51, 2 to 11 for the digits, 12 and 13 for '+' and '/'.
alignas(16) inline constexpr std::int8_t kToCharacter[16] = {
    'A',      'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
    '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 0,        0};

// A character is invalid when the entries for its high and its low half have a bit in common. Bit 0
// is for the high half 2, bit 1 for 3, bit 2 for 4 and 6, bit 3 for 5 and 7, bit 4 for all others.
alignas(16) inline constexpr std::int8_t kInvalidByHighHalf[16] = {
    0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
alignas(16) inline constexpr std::int8_t kInvalidByLowHalf[16] = {
    0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};

// What is added to a character to make its value, by its high half; '/', which has the high half of
// '+', takes the entry before.
alignas(16) inline constexpr std::int8_t kToValue[16] = {
    0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0};

// Makes of each 3 bytes, which are in the order 1 0 2 1, 4 values of 6 bits. For the bytes aaaaaabb
// bbbbcccc ccdddddd, the 16-bit halves are aaaaaabbbbbbcccc and bbbbccccccdddddd; a multiplication
// shifts a half's two fields by different amounts at once.
template <typename Simd>
KX_ALWAYS_INLINE typename Simd::Register SplitBytes(typename Simd::Register bytes) {
  const auto odd =  // a to the low byte by 10 bits to the right, c by 6
      Simd::MultiplyHigh16(Simd::And(bytes, Simd::Splat32(0x0FC0FC00)), Simd::Splat32(0x04000040));
  const auto even =  // b to the high byte by 4 bits to the left, d by 8
      Simd::MultiplyLow16(Simd::And(bytes, Simd::Splat32(0x003F03F0)), Simd::Splat32(0x01000010));
  return Simd::Or(odd, even);
}

template <typename Simd>
KX_ALWAYS_INLINE typename Simd::Register ToCharacters(typename Simd::Register bytes) {
  const auto values = SplitBytes<Simd>(bytes);
  const auto isNoCapital = Simd::Greater8(values, Simd::Splat8(25));  // -1 where it is none
  const auto kind =
      Simd::Subtract8(Simd::SubtractSaturated8(values, Simd::Splat8(51)), isNoCapital);
  return Simd::Add8(values, Simd::LookUp(Simd::Table(kToCharacter), kind));
}

// Words whose low 3 bytes are those of 4 characters, most significant first. Sets a bit in invalid
// where a character is not of the alphabet.
template <typename Simd>
KX_ALWAYS_INLINE typename Simd::Register ToWords(typename Simd::Register characters,
                                                 typename Simd::Register& invalid) {
  const auto half = Simd::Splat8(0x0F);
  const auto high = Simd::And(Simd::ShiftRight32By4(characters), half);
  const auto low = Simd::And(characters, half);
  invalid = Simd::Or(invalid, Simd::And(Simd::LookUp(Simd::Table(kInvalidByHighHalf), high),
                                        Simd::LookUp(Simd::Table(kInvalidByLowHalf), low)));
  const auto isSlash = Simd::Equal8(characters, Simd::Splat8('/'));  // -1 where it is
  const auto values =
      Simd::Add8(characters, Simd::LookUp(Simd::Table(kToValue), Simd::Add8(high, isSlash)));
  const auto pairs = Simd::MultiplyAddPairs8(values, Simd::Splat32(0x01400140));  // of 12 bits
  return Simd::MultiplyAddPairs16(pairs, Simd::Splat32(0x00011000));
}

// At least as many bytes as the first step reads. All later loads begin 4 bytes early, which saves
// moving bytes from lane to lane; the last step goes back to end where the whole groups end.
template <typename Simd>
KX_ALWAYS_INLINE void EncodeLanes(const std::uint8_t* input, std::size_t inputLength, char* output,
                                  bool addPadding) {
  constexpr std::size_t kStep = Simd::kLanes * kLaneBytes;
  constexpr std::size_t kSteps = 4;  // that are independent of each other
  const std::size_t whole = inputLength - inputLength % 3;
  const auto encode = [&](auto bytes, std::size_t place) {
    Simd::StoreCharacters(ToCharacters<Simd>(bytes), output + place / 3 * 4);
  };
  encode(Simd::LoadFirst(input), 0);
  std::size_t done = kStep;
  for (; inputLength - done >= kSteps * kStep + 4; done += kSteps * kStep) {
    for (std::size_t i = 0; i < kSteps; ++i) {
      encode(Simd::LoadEarly(input + done + i * kStep), done + i * kStep);
    }
  }
  for (; whole - done >= kStep; done += kStep) {
    encode(Simd::LoadExact(input + done), done);
  }
  if (whole > done && whole - kStep >= 4) {
    encode(Simd::LoadExact(input + whole - kStep), whole - kStep);
    done = whole;
  }
  if (inputLength > done) {
    EncodeScalar(input + done, inputLength - done, output + done / 3 * 4, addPadding);
  }
}

// At least as many characters as a register holds. The last step goes back to end where the whole
// groups end.
template <typename Simd>
KX_ALWAYS_INLINE bool DecodeLanes(const char* text, std::size_t textLength, std::uint8_t* output) {
  constexpr std::size_t kStep = Simd::kLanes * kLaneCharacters;
  constexpr std::size_t kSteps = 4;
  // Input that must remain so that a full-lane store stays inside the output.
  constexpr std::size_t kSlack = 8;
  const std::size_t whole = textLength - textLength % 4;
  auto invalid = Simd::Splat8(0);
  const auto decode = [&](std::size_t place) {
    return ToWords<Simd>(Simd::LoadCharacters(text + place), invalid);
  };
  std::size_t done = 0;
  for (; textLength - done >= kSteps * kStep + kSlack; done += kSteps * kStep) {
    for (std::size_t i = 0; i < kSteps; ++i) {
      Simd::StoreBytes(decode(done + i * kStep), output + (done + i * kStep) / 4 * 3);
    }
    if (!Simd::IsZero(invalid)) {
      return false;
    }
  }
  for (; whole - done >= kStep; done += kStep) {
    Simd::StoreBytesExact(decode(done), output + done / 4 * 3);
  }
  if (whole > done) {
    Simd::StoreBytesExact(decode(whole - kStep), output + (whole - kStep) / 4 * 3);
  }
  return Simd::IsZero(invalid) &&
         (textLength == whole ||
          DecodeScalar(text + whole, textLength - whole, output + whole / 4 * 3));
}

}  // namespace Cifra::Base64Codec
