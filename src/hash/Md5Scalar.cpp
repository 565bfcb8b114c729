#include <bit>

#include "foundation/ByteOrder.h"
#include "foundation/ValueBarrier.h"
#include "hash/Md5Kernel.h"
#include "hash/Md5Steps.h"

// In general-purpose registers; usable everywhere.
namespace Cifra::Md5Blocks {

namespace {

struct Words {
  using Word = std::uint32_t;

  static Word FromState(std::uint32_t word) { return word; }
  static std::uint32_t ToState(Word word) { return word; }
  static Word Input(std::uint32_t sine, const std::uint8_t* bytes) {
    return sine + kx::LoadLittleEndian32(bytes);
  }
  static Word Add(Word a, Word b) { return a + b; }
  template <int kBits>
  static Word RotateLeft(Word a) {
    return std::rotl(a, kBits);
  }

  // The auxiliary function of a round, F, G, H or I of the RFC, added to early, the part of the
  // step's sum that does not wait for the step before. Only b comes from that step, so b is touched
  // as late as can be; early is opaque, or the compiler would sort the sum its own way and put b
  // first.
  template <std::size_t kRound>
  static Word AddFunction(Word early, Word b, Word c, Word d) {
    if constexpr (kRound == 0) {
      return kx::ValueBarrier(early) + (d ^ (b & (c ^ d)));
    } else if constexpr (kRound == 1) {
      // The two terms of G have no bit in common: adding them is joining them, one addition ahead.
      return kx::ValueBarrier(early + (c & ~d)) + (b & d);
    } else if constexpr (kRound == 2) {
      return kx::ValueBarrier(early) + (kx::ValueBarrier(c ^ d) ^ b);
    } else {
      return kx::ValueBarrier(early) + (c ^ (b | ~d));
    }
  }
};

}  // namespace

void TransformScalar(std::uint32_t (&state)[4], const std::uint8_t* blocks, std::uint32_t length) {
  TransformBlocks<Words>(state, blocks, length);
}

}  // namespace Cifra::Md5Blocks
