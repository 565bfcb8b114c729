#pragma once

#include "cipher/Base64Kernel.h"
#include "cipher/Base64Simd.h"

// The x64 kernels, written once for registers of any number of 16-byte lanes. Simd wraps the
// instructions of a width. Each including file is compiled for its own instruction set, so nothing
// of what stands here may be shared between them: Simd is a type of the including file's own.
namespace Cifra::Base64Codec {

inline constexpr std::size_t kLaneBytes = 12;  // of data in a lane of 16 characters
inline constexpr std::size_t kLaneCharacters = 16;

// Makes of each 3 bytes, which Simd::LoadBytes has put into the order 1 0 2 1, 4 values of 6 bits.
template <typename Simd>
typename Simd::Register SplitBytes(typename Simd::Register bytes) {
  // A multiplication shifts two fields by different amounts at once.
  const auto odd =
      Simd::MultiplyHigh16(Simd::And(bytes, Simd::All32(0x0FC0FC00)), Simd::All32(0x04000040));
  const auto even =
      Simd::MultiplyLow16(Simd::And(bytes, Simd::All32(0x003F03F0)), Simd::All32(0x01000010));
  return Simd::Or(odd, even);
}

template <typename Simd>
typename Simd::Register ToCharacters(typename Simd::Register values) {
  const auto isCapital = Simd::Greater8(Simd::All8(kCapitals), values);
  const auto kind = Simd::Or(Simd::SubtractToZero8(values, Simd::All8(kLastLetterValue)),
                             Simd::And(isCapital, Simd::All8(kCapitalsClass)));
  return Simd::Add8(values, Simd::LookUp(Simd::Table(kToCharacter), kind));
}

template <typename Simd>
std::size_t EncodeLanes(const std::uint8_t* input, std::size_t inputLength, char* output) {
  constexpr std::size_t kStep = Simd::kLanes * kLaneBytes;
  constexpr std::size_t kReadBeyond = kLaneCharacters - kLaneBytes;
  std::size_t done = 0;
  for (; inputLength - done >= kStep + kReadBeyond; done += kStep) {
    const auto values = SplitBytes<Simd>(Simd::LoadBytes(input + done));
    Simd::StoreCharacters(ToCharacters<Simd>(values), output + done / 3 * 4);
  }
  return done;
}

template <typename Simd>
std::size_t DecodeLanes(const char* text, std::size_t textLength, std::uint8_t* output) {
  constexpr std::size_t kStep = Simd::kLanes * kLaneCharacters;
  // As much more text as makes the bytes that a store of a whole register writes beyond its own.
  constexpr std::size_t kWrittenBeyond = (kStep / 4 + 2) / 3 * 4;
  std::size_t done = 0;
  for (; textLength - done >= kStep + kWrittenBeyond; done += kStep) {
    const auto characters = Simd::LoadCharacters(text + done);
    const auto half = Simd::All8(0x0F);
    const auto high = Simd::And(Simd::ShiftRight32By4(characters), half);
    const auto low = Simd::And(characters, half);
    if (Simd::HaveCommonBit(Simd::LookUp(Simd::Table(kForeignByHighHalf), high),
                            Simd::LookUp(Simd::Table(kForeignByLowHalf), low))) {
      break;
    }
    const auto isSlash = Simd::Equal8(characters, Simd::All8('/'));  // -1 where it is
    const auto values =
        Simd::Add8(characters, Simd::LookUp(Simd::Table(kToValue), Simd::Add8(high, isSlash)));
    const auto pairs = Simd::MultiplyAddPairs8(values, Simd::All32(0x01400140));  // of 12 bits
    Simd::StoreBytes(Simd::MultiplyAddPairs16(pairs, Simd::All32(0x00011000)),
                     output + done / 4 * 3);
  }
  return done;
}

}  // namespace Cifra::Base64Codec
