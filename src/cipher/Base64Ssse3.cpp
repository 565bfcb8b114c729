#include "cipher/Base64X64.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <tmmintrin.h>

// Needs SSSE3; chosen wherever the processor has it and no better kernel. This file is compiled for
// SSSE3 and calls nothing that other files could share.
namespace Cifra::Base64Codec {

namespace {

struct Simd {
  using Register = __m128i;
  static constexpr std::size_t kLanes = 1;

  static Register Splat8(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
  static Register Splat32(int word) { return _mm_set1_epi32(word); }
  static Register Table(const std::int8_t (&table)[16]) {
    return _mm_load_si128(reinterpret_cast<const Register*>(table));
  }
  static Register LookUp(Register table, Register indices) {
    return _mm_shuffle_epi8(table, indices);
  }
  static Register And(Register a, Register b) { return _mm_and_si128(a, b); }
  static Register Or(Register a, Register b) { return _mm_or_si128(a, b); }
  static Register Add8(Register a, Register b) { return _mm_add_epi8(a, b); }
  static Register Subtract8(Register a, Register b) { return _mm_sub_epi8(a, b); }
  static Register SubtractSaturated8(Register a, Register b) { return _mm_subs_epu8(a, b); }
  static Register Greater8(Register a, Register b) { return _mm_cmpgt_epi8(a, b); }
  static Register Equal8(Register a, Register b) { return _mm_cmpeq_epi8(a, b); }
  static Register ShiftRight32By4(Register a) { return _mm_srli_epi32(a, 4); }
  static Register MultiplyHigh16(Register a, Register b) { return _mm_mulhi_epu16(a, b); }
  static Register MultiplyLow16(Register a, Register b) { return _mm_mullo_epi16(a, b); }
  static Register MultiplyAddPairs8(Register a, Register b) { return _mm_maddubs_epi16(a, b); }
  static Register MultiplyAddPairs16(Register a, Register b) { return _mm_madd_epi16(a, b); }
  static bool IsZero(Register a) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(a, _mm_setzero_si128())) == 0xFFFF;
  }

  // Reads 4 bytes after the 12, or 4 before them.
  static Register LoadFirst(const std::uint8_t* bytes) {
    return LookUp(_mm_loadu_si128(reinterpret_cast<const Register*>(bytes)),
                  _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  }
  static Register LoadExact(const std::uint8_t* bytes) {
    return LookUp(_mm_loadu_si128(reinterpret_cast<const Register*>(bytes - 4)),
                  _mm_setr_epi8(5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14));
  }
  static Register LoadEarly(const std::uint8_t* bytes) { return LoadExact(bytes); }
  static Register LoadCharacters(const char* text) {
    return _mm_loadu_si128(reinterpret_cast<const Register*>(text));
  }
  static void StoreCharacters(Register characters, char* text) {
    _mm_storeu_si128(reinterpret_cast<Register*>(text), characters);
  }
  // The low 3 bytes of each word, most significant first, without a gap.
  static Register Pack(Register words) {
    return LookUp(words, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  }
  // Writes 4 bytes beyond its own.
  static void StoreBytes(Register words, std::uint8_t* bytes) {
    _mm_storeu_si128(reinterpret_cast<Register*>(bytes), Pack(words));
  }
  static void StoreBytesExact(Register words, std::uint8_t* bytes) {
    const Register packed = Pack(words);
    _mm_storel_epi64(reinterpret_cast<Register*>(bytes), packed);
    _mm_storeu_si32(bytes + 8, _mm_srli_si128(packed, 8));
  }
};

}  // namespace

void EncodeSsse3(const std::uint8_t* input, std::size_t inputLength, char* output,
                 bool addPadding) {
  if (inputLength < kLaneBytes + 4) {
    EncodeScalar(input, inputLength, output, addPadding);
  } else {
    EncodeLanes<Simd>(input, inputLength, output, addPadding);
  }
}

bool DecodeSsse3(const char* text, std::size_t textLength, std::uint8_t* output) {
  return textLength < kLaneCharacters ? DecodeScalar(text, textLength, output)
                                      : DecodeLanes<Simd>(text, textLength, output);
}

}  // namespace Cifra::Base64Codec

#endif
