#include "hash/Md5Kernel.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

#include <cstring>

#include "hash/Md5Steps.h"

// Needs AVX-512 VL; chosen where the vector rotation takes one cycle. One message in the lowest
// lane of vector registers: any function of three words is one instruction there, so that a step is
// a chain of four cycles instead of four and a half to five. The other lanes hold whatever the same
// instructions make of them. This file is compiled for AVX-512 and calls nothing that other files
// could share.
namespace Cifra::Md5Blocks {

namespace {

struct Words {
  using Word = __m128i;

  static Word FromState(std::uint32_t word) { return _mm_cvtsi32_si128(static_cast<int>(word)); }
  static std::uint32_t ToState(Word word) {
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(word));
  }
  static Word Input(std::uint32_t sine, const std::uint8_t* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return _mm_add_epi32(FromState(word), _mm_set1_epi32(static_cast<int>(sine)));
  }
  static Word Add(Word a, Word b) { return _mm_add_epi32(a, b); }
  template <int kBits>
  static Word RotateLeft(Word a) {
    return _mm_rol_epi32(a, kBits);
  }

  // F, G, H and I of the RFC, by their truth tables: bit 4 b + 2 c + d is the result for the bits
  // b, c and d.
  template <std::size_t kRound>
  static Word AddFunction(Word early, Word b, Word c, Word d) {
    constexpr int kTruth[] = {0xCA, 0xE4, 0x96, 0x39};
    return _mm_add_epi32(early, _mm_ternarylogic_epi32(b, c, d, kTruth[kRound]));
  }
};

}  // namespace

void TransformAvx512(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length) {
  TransformBlocks<Words>(state, blocks, length);
}

}  // namespace Cifra::Md5Blocks

#endif
