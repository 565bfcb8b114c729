#include "cipher/BlowfishGroups.h"

// The round in x64 assembly. Compilers take the second and fourth byte with a shift and a mask, and
// schedule the blocks into each other until states are spilled; the registers whose second byte is
// addressable make it one instruction each.
#ifdef CIFRA_BLOWFISH_ASSEMBLY

namespace Cifra::BlowfishBlocks {

namespace {

class AssemblyRound {
 public:
  explicit AssemblyRound(const std::uint32_t* s) : boxes(kx::ValueBarrier(s)) {}

  // Bytes are counted from the least significant; the boxes are reached by offsets from the first,
  // to save registers.
  KX_ALWAYS_INLINE std::uint64_t operator()(std::uint64_t state) const {
    // Needs AH to DH, the only registers whose second byte is addressable, hence the constraints.
    std::uint64_t low, second, third, fourth;
    asm("movl %k[state], %k[third]\n\t"                // x, the half that goes through F
        "movzbl %b[state], %k[low]\n\t"                // x's byte 0
        "movzbl %h[third], %k[second]\n\t"             // x's byte 1
        "movl 3072(%[s], %[low], 4), %k[low]\n\t"      // S3[byte 0]
        "rorq $32, %[state]\n\t"                       // the halves change places
        "shrl $16, %k[third]\n\t"                      // x's upper bytes, to where they have names
        "movzbl %h[third], %k[fourth]\n\t"             // x's byte 3
        "movl (%[s], %[fourth], 4), %k[fourth]\n\t"    // S0[byte 3]
        "movzbl %b[third], %k[third]\n\t"              // x's byte 2
        "movl 1024(%[s], %[third], 4), %k[third]\n\t"  // S1[byte 2]
        "addl %k[third], %k[fourth]\n\t"               // S0 + S1
        "xorl 2048(%[s], %[second], 4), %k[fourth]\n\t"  // ... ^ S2[byte 1]
        "addl %k[low], %k[fourth]\n\t"                   // ... + S3
        "xorq %[fourth], %[state]"                       // F into the other half
        : [state] "+&r"(state), [low] "=&b"(low), [second] "=&c"(second), [third] "=&a"(third),
          [fourth] "=&d"(fourth)
        : [s] "r"(boxes),
          "m"(*reinterpret_cast<const std::uint32_t(*)[BlowfishTables::kSWords]>(boxes))
        : "cc");
    return state;
  }

 private:
  const std::uint32_t* boxes;
};

}  // namespace

void EncipherAssembly(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) {
  CipherBlocks<AssemblyRound, Direction::kEncipher>(tables, input, output, blocks);
}

void DecipherAssembly(const Tables& tables, const std::uint8_t* input, std::uint8_t* output,
                      std::size_t blocks) {
  CipherBlocks<AssemblyRound, Direction::kDecipher>(tables, input, output, blocks);
}

}  // namespace Cifra::BlowfishBlocks

#endif
