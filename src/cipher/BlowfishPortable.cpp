#include "cipher/BlowfishGroups.h"

// The round in C++ alone: what ARM64 and Microsoft's compiler use.
namespace Cifra::BlowfishBlocks {

namespace {

// The state holds the half that goes through F in its low word and the other one in its high word;
// F goes into that one, and the halves change places.
class PortableRound {
 public:
  explicit PortableRound(const std::uint32_t* s)
      : s0(kx::ValueBarrier(s)),
        s1(kx::ValueBarrier(s + kBoxWords)),
        s2(kx::ValueBarrier(s + 2 * kBoxWords)),
        s3(kx::ValueBarrier(s + 3 * kBoxWords)) {}

  KX_ALWAYS_INLINE std::uint64_t operator()(std::uint64_t state) const {
    return std::rotl(state, 32) ^
           BlowfishBlock::F(s0, s1, s2, s3, static_cast<std::uint32_t>(state));
  }

 private:
  // Opaque to each other: ARM64 adds no offset to an indexed address, so that a box reached through
  // another one's pointer would cost an addition a look-up.
  const std::uint32_t* s0;
  const std::uint32_t* s1;
  const std::uint32_t* s2;
  const std::uint32_t* s3;
};

}  // namespace

void EncipherPortable(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) {
  CipherBlocks<PortableRound, Direction::kEncipher>(tables, input, output, blocks);
}

void DecipherPortable(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) {
  CipherBlocks<PortableRound, Direction::kDecipher>(tables, input, output, blocks);
}

}  // namespace Cifra::BlowfishBlocks
