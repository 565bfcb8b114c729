#include "cipher/BlowfishGather.h"

#if defined(__x86_64__) || defined(_M_X64)

#include <immintrin.h>

// Needs AVX2; chosen where gathers are fast, see KernelRules.h. This file is compiled for AVX2 and
// calls nothing that other files could share.
namespace Cifra::BlowfishBlocks {

namespace {

struct Simd {
  using Register = __m256i;
  static constexpr std::size_t kLanes = 8;
  static constexpr bool kSingleRegisterPays = false;

  static Register Splat32(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }
  static Register And(Register a, Register b) { return _mm256_and_si256(a, b); }
  static Register Xor(Register a, Register b) { return _mm256_xor_si256(a, b); }
  static Register Add32(Register a, Register b) { return _mm256_add_epi32(a, b); }
  template <int kBits>
  static Register ShiftRight32(Register a) {
    return _mm256_srli_epi32(a, kBits);
  }
  static Register Gather(const std::uint32_t* words, Register indices) {
    return _mm256_i32gather_epi32(reinterpret_cast<const int*>(words), indices, 4);
  }

  // Which block is in which lane is of no matter as long as it goes back to its place, so the
  // halves are sorted within 16 bytes.
  static void LoadBlocks(const std::uint8_t* blocks, Register& left, Register& right) {
    const auto* const source = reinterpret_cast<const Register*>(blocks);
    const __m256 first = _mm256_castsi256_ps(_mm256_loadu_si256(source));
    const __m256 second = _mm256_castsi256_ps(_mm256_loadu_si256(source + 1));
    left = _mm256_castps_si256(_mm256_shuffle_ps(first, second, 0x88));
    right = _mm256_castps_si256(_mm256_shuffle_ps(first, second, 0xDD));
  }
  static void StoreBlocks(Register left, Register right, std::uint8_t* blocks) {
    auto* const target = reinterpret_cast<Register*>(blocks);
    _mm256_storeu_si256(target, _mm256_unpacklo_epi32(left, right));
    _mm256_storeu_si256(target + 1, _mm256_unpackhi_epi32(left, right));
  }
};

}  // namespace

std::size_t EncipherAvx2(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks) {
  return GatherAll<Simd, Direction::kEncipher>(tables, input, output, blocks);
}

std::size_t DecipherAvx2(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                         std::size_t blocks) {
  return GatherAll<Simd, Direction::kDecipher>(tables, input, output, blocks);
}

}  // namespace Cifra::BlowfishBlocks

#endif
