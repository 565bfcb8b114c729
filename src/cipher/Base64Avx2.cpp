#include "cipher/Base64X64.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// Needs AVX2; chosen wherever the processor has it and no better kernel. This file is compiled for
// AVX2 and calls nothing that other files could share.
namespace Cifra::Base64Codec {

namespace {

struct Simd {
  using Register = __m256i;
  static constexpr std::size_t kLanes = 2;

  static Register Splat8(int byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }
  static Register Splat32(int word) { return _mm256_set1_epi32(word); }
  static Register Table(const std::int8_t (&table)[16]) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
  }
  static Register LookUp(Register table, Register indices) {
    return _mm256_shuffle_epi8(table, indices);
  }
  static Register And(Register a, Register b) { return _mm256_and_si256(a, b); }
  static Register Or(Register a, Register b) { return _mm256_or_si256(a, b); }
  static Register Add8(Register a, Register b) { return _mm256_add_epi8(a, b); }
  static Register Subtract8(Register a, Register b) { return _mm256_sub_epi8(a, b); }
  static Register SubtractSaturated8(Register a, Register b) { return _mm256_subs_epu8(a, b); }
  static Register Greater8(Register a, Register b) { return _mm256_cmpgt_epi8(a, b); }
  static Register Equal8(Register a, Register b) { return _mm256_cmpeq_epi8(a, b); }
  static Register ShiftRight32By4(Register a) { return _mm256_srli_epi32(a, 4); }
  static Register MultiplyHigh16(Register a, Register b) { return _mm256_mulhi_epu16(a, b); }
  static Register MultiplyLow16(Register a, Register b) { return _mm256_mullo_epi16(a, b); }
  static Register MultiplyAddPairs8(Register a, Register b) { return _mm256_maddubs_epi16(a, b); }
  static Register MultiplyAddPairs16(Register a, Register b) { return _mm256_madd_epi16(a, b); }
  static bool IsZero(Register a) { return _mm256_testz_si256(a, a) != 0; }

  static Register LoadHalves(const std::uint8_t* low, const std::uint8_t* high) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(high),
                               reinterpret_cast<const __m128i*>(low));
  }
  // The order 1 0 2 1 of each 3 bytes, of those at the begin or the end of a lane.
  static Register OrderAtFront() {
    return _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  }
  static Register OrderAtBack() { return Add8(OrderAtFront(), Splat8(4)); }

  // 24 bytes: those of the low lane end it, those of the high lane begin it, so that one load of 28
  // bytes that begins 4 early, and of 4 more, needs no move between the lanes.
  static Register LoadEarly(const std::uint8_t* bytes) {
    const Register order =
        _mm256_setr_epi8(5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14,  //
                         1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    return LookUp(_mm256_loadu_si256(reinterpret_cast<const Register*>(bytes - 4)), order);
  }
  // Reads 4 bytes after the 24.
  static Register LoadFirst(const std::uint8_t* bytes) {
    return LookUp(LoadHalves(bytes, bytes + kLaneBytes), OrderAtFront());
  }
  // Reads 4 bytes before the 24 and none after them.
  static Register LoadExact(const std::uint8_t* bytes) {
    return LookUp(LoadHalves(bytes - 4, bytes + kLaneBytes - 4), OrderAtBack());
  }
  static Register LoadCharacters(const char* text) {
    return _mm256_loadu_si256(reinterpret_cast<const Register*>(text));
  }
  static void StoreCharacters(Register characters, char* text) {
    _mm256_storeu_si256(reinterpret_cast<Register*>(text), characters);
  }
  // The low 3 bytes of each word, most significant first, at the begin of each lane.
  static Register Pack(Register words) {
    const Register order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    return LookUp(words, order);
  }
  // A lane at a time, each overwriting the 4 bytes that the one before wrote beyond its own.
  static void StoreBytes(Register words, std::uint8_t* bytes) {
    const Register packed = Pack(words);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm256_castsi256_si128(packed));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + kLaneBytes),
                     _mm256_extracti128_si256(packed, 1));
  }
  static void StoreBytesExact(Register words, std::uint8_t* bytes) {
    const Register packed = Pack(words);
    const __m128i high = _mm256_extracti128_si256(packed, 1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes + kLaneBytes), high);
    _mm_storeu_si32(bytes + kLaneBytes + 8, _mm_srli_si128(high, 8));
  }
};

}  // namespace

void EncodeAvx2(const std::uint8_t* input, std::size_t inputLength, char* output, bool addPadding) {
  if (inputLength < 2 * kLaneBytes + 4) {
    EncodeSsse3(input, inputLength, output, addPadding);
  } else {
    EncodeLanes<Simd>(input, inputLength, output, addPadding);
  }
}

bool DecodeAvx2(const char* text, std::size_t textLength, std::uint8_t* output) {
  return textLength < 2 * kLaneCharacters ? DecodeSsse3(text, textLength, output)
                                          : DecodeLanes<Simd>(text, textLength, output);
}

}  // namespace Cifra::Base64Codec

#endif
