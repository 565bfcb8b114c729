#include "cipher/Base64X64.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// This file is compiled for AVX2 and calls nothing that other files could share.
namespace Cifra::Base64Codec {

namespace {

struct Simd {
  using Register = __m256i;
  static constexpr std::size_t kLanes = 2;

  static Register All8(int byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }
  static Register All32(int word) { return _mm256_set1_epi32(word); }
  static Register Table(const std::int8_t (&table)[16]) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table)));
  }
  static Register LookUp(Register table, Register indices) {
    return _mm256_shuffle_epi8(table, indices);
  }
  static Register And(Register a, Register b) { return _mm256_and_si256(a, b); }
  static Register Or(Register a, Register b) { return _mm256_or_si256(a, b); }
  static Register Add8(Register a, Register b) { return _mm256_add_epi8(a, b); }
  static Register SubtractToZero8(Register a, Register b) { return _mm256_subs_epu8(a, b); }
  static Register Greater8(Register a, Register b) { return _mm256_cmpgt_epi8(a, b); }
  static Register Equal8(Register a, Register b) { return _mm256_cmpeq_epi8(a, b); }
  static Register ShiftRight32By4(Register a) { return _mm256_srli_epi32(a, 4); }
  static Register MultiplyHigh16(Register a, Register b) { return _mm256_mulhi_epu16(a, b); }
  static Register MultiplyLow16(Register a, Register b) { return _mm256_mullo_epi16(a, b); }
  static Register MultiplyAddPairs8(Register a, Register b) { return _mm256_maddubs_epi16(a, b); }
  static Register MultiplyAddPairs16(Register a, Register b) { return _mm256_madd_epi16(a, b); }
  static bool HaveCommonBit(Register a, Register b) { return !_mm256_testz_si256(a, b); }

  // Each lane has its own 12 bytes.
  static Register LoadBytes(const std::uint8_t* bytes) {
    const Register order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    return LookUp(_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(bytes + kLaneBytes),
                                      reinterpret_cast<const __m128i*>(bytes)),
                  order);
  }
  static Register LoadCharacters(const char* text) {
    return _mm256_loadu_si256(reinterpret_cast<const Register*>(text));
  }
  static void StoreCharacters(Register characters, char* text) {
    _mm256_storeu_si256(reinterpret_cast<Register*>(text), characters);
  }
  // The low 3 bytes of each word, most significant first, without a gap in and between the lanes.
  static void StoreBytes(Register words, std::uint8_t* bytes) {
    const Register order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    const Register lanes = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    _mm256_storeu_si256(reinterpret_cast<Register*>(bytes),
                        _mm256_permutevar8x32_epi32(LookUp(words, order), lanes));
  }
};

}  // namespace

std::size_t EncodeAvx2(const std::uint8_t* input, std::size_t inputLength, char* output) {
  return EncodeLanes<Simd>(input, inputLength, output);
}

std::size_t DecodeAvx2(const char* text, std::size_t textLength, std::uint8_t* output) {
  return DecodeLanes<Simd>(text, textLength, output);
}

}  // namespace Cifra::Base64Codec

#endif
