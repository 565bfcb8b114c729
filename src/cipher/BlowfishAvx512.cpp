#include "cipher/BlowfishGather.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// Needs AVX-512 F; chosen where gathers are fast, see KernelRules.h. This file is compiled for
// AVX-512 and calls nothing that other files could share.
namespace Cifra::BlowfishBlocks {

namespace {

struct Simd {
  using Register = __m512i;
  static constexpr std::size_t kLanes = 16;
  static constexpr bool kSingleRegisterPays = true;

  static Register Splat32(std::uint32_t word) { return _mm512_set1_epi32(static_cast<int>(word)); }
  static Register And(Register a, Register b) { return _mm512_and_si512(a, b); }
  static Register Xor(Register a, Register b) { return _mm512_xor_si512(a, b); }
  static Register Add32(Register a, Register b) { return _mm512_add_epi32(a, b); }
  template <int kBits>
  static Register ShiftRight32(Register a) {
    return _mm512_srli_epi32(a, kBits);
  }
  static Register Gather(const std::uint32_t* words, Register indices) {
    return _mm512_i32gather_epi32(indices, words, 4);
  }

  // Which block is in which lane is of no matter as long as it goes back to its place, so the
  // halves are sorted within 16 bytes.
  static void LoadBlocks(const std::uint8_t* blocks, Register& left, Register& right) {
    const auto* const source = reinterpret_cast<const Register*>(blocks);
    const __m512 first = _mm512_castsi512_ps(_mm512_loadu_si512(source));
    const __m512 second = _mm512_castsi512_ps(_mm512_loadu_si512(source + 1));
    left = _mm512_castps_si512(_mm512_shuffle_ps(first, second, 0x88));
    right = _mm512_castps_si512(_mm512_shuffle_ps(first, second, 0xDD));
  }
  static void StoreBlocks(Register left, Register right, std::uint8_t* blocks) {
    auto* const target = reinterpret_cast<Register*>(blocks);
    _mm512_storeu_si512(target, _mm512_unpacklo_epi32(left, right));
    _mm512_storeu_si512(target + 1, _mm512_unpackhi_epi32(left, right));
  }
};

}  // namespace

std::size_t EncipherAvx512(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                           std::size_t blocks) {
  return GatherAll<Simd, Direction::kEncipher>(tables, input, output, blocks);
}

std::size_t DecipherAvx512(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                           std::size_t blocks) {
  return GatherAll<Simd, Direction::kDecipher>(tables, input, output, blocks);
}

}  // namespace Cifra::BlowfishBlocks

#endif
