#include "cipher/Base64X64.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <tmmintrin.h>

// This file is compiled for SSSE3 and calls nothing that other files could share.
namespace Cifra::Base64Codec {

namespace {

struct Simd {
  using Register = __m128i;
  static constexpr std::size_t kLanes = 1;

  static Register All8(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
  static Register All32(int word) { return _mm_set1_epi32(word); }
  static Register Table(const std::int8_t (&table)[16]) {
    return _mm_load_si128(reinterpret_cast<const Register*>(table));
  }
  static Register LookUp(Register table, Register indices) {
    return _mm_shuffle_epi8(table, indices);
  }
  static Register And(Register a, Register b) { return _mm_and_si128(a, b); }
  static Register Or(Register a, Register b) { return _mm_or_si128(a, b); }
  static Register Add8(Register a, Register b) { return _mm_add_epi8(a, b); }
  static Register SubtractToZero8(Register a, Register b) { return _mm_subs_epu8(a, b); }
  static Register Greater8(Register a, Register b) { return _mm_cmpgt_epi8(a, b); }
  static Register Equal8(Register a, Register b) { return _mm_cmpeq_epi8(a, b); }
  static Register ShiftRight32By4(Register a) { return _mm_srli_epi32(a, 4); }
  static Register MultiplyHigh16(Register a, Register b) { return _mm_mulhi_epu16(a, b); }
  static Register MultiplyLow16(Register a, Register b) { return _mm_mullo_epi16(a, b); }
  static Register MultiplyAddPairs8(Register a, Register b) { return _mm_maddubs_epi16(a, b); }
  static Register MultiplyAddPairs16(Register a, Register b) { return _mm_madd_epi16(a, b); }
  static bool HaveCommonBit(Register a, Register b) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(And(a, b), _mm_setzero_si128())) != 0xFFFF;
  }

  static Register LoadBytes(const std::uint8_t* bytes) {
    return LookUp(_mm_loadu_si128(reinterpret_cast<const Register*>(bytes)),
                  _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  }
  static Register LoadCharacters(const char* text) {
    return _mm_loadu_si128(reinterpret_cast<const Register*>(text));
  }
  static void StoreCharacters(Register characters, char* text) {
    _mm_storeu_si128(reinterpret_cast<Register*>(text), characters);
  }
  // The low 3 bytes of each word, most significant first, without a gap.
  static void StoreBytes(Register words, std::uint8_t* bytes) {
    const Register order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    _mm_storeu_si128(reinterpret_cast<Register*>(bytes), LookUp(words, order));
  }
};

}  // namespace

std::size_t EncodeSsse3(const std::uint8_t* input, std::size_t inputLength, char* output) {
  return EncodeLanes<Simd>(input, inputLength, output);
}

std::size_t DecodeSsse3(const char* text, std::size_t textLength, std::uint8_t* output) {
  return DecodeLanes<Simd>(text, textLength, output);
}

}  // namespace Cifra::Base64Codec

#endif
