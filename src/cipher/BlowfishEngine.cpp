#include "cipher/BlowfishEngine.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "cipher/BlowfishTables.h"
#include "foundation/ByteOrder.h"
#include "foundation/CompilerHints.h"
#include "foundation/Fatal.h"
#include "foundation/ValueBarrier.h"
#include "foundation/Wipe.h"

using Cifra::BlowfishTables::kInitialP;
using Cifra::BlowfishTables::kInitialS;
using Cifra::BlowfishTables::kPWords;
using Cifra::BlowfishTables::kSWords;

namespace {

constexpr std::size_t kBlockBytes = class_blowfish::kBlockBytes;
constexpr std::size_t kBoxWords = 256;
constexpr std::size_t kPairs = kPWords / 2;

// Blocks that are worked on at once: as many as there are registers for their states. A round is a
// chain of about a dozen cycles' latency, and only independent blocks can fill them.
constexpr std::size_t kWidth = 8;

enum class Direction { kEncipher, kDecipher };

struct Boxes {
  explicit Boxes(const std::uint32_t* s)
      : s0(kx::ValueBarrier(s)),
        s1(kx::ValueBarrier(s + kBoxWords)),
        s2(kx::ValueBarrier(s + 2 * kBoxWords)),
        s3(kx::ValueBarrier(s + 3 * kBoxWords)) {}

  // Opaque to each other: ARM64 adds no offset to an indexed address, so that a box reached through
  // another one's pointer would cost an addition a lookup.
  const std::uint32_t* s0;
  const std::uint32_t* s1;
  const std::uint32_t* s2;
  const std::uint32_t* s3;
};

// The words that two rounds add to a state: number 0 of the first two, number kPairs - 1 of the
// end.
template <Direction kDirection>
std::uint64_t Pair(const std::uint32_t* p, std::size_t number) {
  const bool isForward = kDirection == Direction::kEncipher;
  const std::uint64_t pair = kx::LoadLittleEndian64(
      reinterpret_cast<const std::uint8_t*>(p + 2 * (isForward ? number : kPairs - 1 - number)));
  return isForward ? pair : std::rotl(pair, 32);
}

// One round. The state holds the half that goes through F in its low word and the other one in its
// high word; F goes into that one, and the halves change places.
KX_ALWAYS_INLINE std::uint64_t Round(std::uint64_t state, const Boxes& boxes) {
#if defined(__x86_64__) && defined(__GNUC__)
  // Compilers take the second and fourth byte with a shift and a mask and schedule the blocks into
  // each other until states are spilled; the registers with an addressable second byte make it one
  // instruction each. The boxes are reached by offsets, to save registers. The order, and which of
  // the look-ups are joined with the arithmetic, are among the fastest of some ninety tried.
  std::uint64_t low, second, third, fourth;
  asm("movl %k[state], %k[third]\n\t"
      "movzbl %b[state], %k[low]\n\t"
      "movzbl %h[third], %k[second]\n\t"
      "movl 3072(%[s], %[low], 4), %k[low]\n\t"
      "rorq $32, %[state]\n\t"
      "shrl $16, %k[third]\n\t"
      "movzbl %h[third], %k[fourth]\n\t"
      "movl (%[s], %[fourth], 4), %k[fourth]\n\t"
      "movzbl %b[third], %k[third]\n\t"
      "movl 1024(%[s], %[third], 4), %k[third]\n\t"
      "addl %k[third], %k[fourth]\n\t"
      "xorl 2048(%[s], %[second], 4), %k[fourth]\n\t"
      "addl %k[low], %k[fourth]\n\t"
      "xorq %[fourth], %[state]"
      : [state] "+r"(state), [low] "=&b"(low), [second] "=&c"(second), [third] "=&a"(third),
        [fourth] "=&d"(fourth)
      : [s] "r"(boxes.s0), "m"(*reinterpret_cast<const std::uint32_t(*)[kSWords]>(boxes.s0))
      : "cc");
  return state;
#else
  const std::uint32_t x = static_cast<std::uint32_t>(state);
  const std::uint32_t f =
      ((boxes.s0[x >> 24] + boxes.s1[x >> 16 & 0xFF]) ^ boxes.s2[x >> 8 & 0xFF]) +
      boxes.s3[x & 0xFF];
  return std::rotl(state, 32) ^ f;
#endif
}

// Inlined by force: the states are in registers only where no call gets in between.
template <std::size_t kCount>
KX_ALWAYS_INLINE void RunRound(std::uint64_t (&states)[kCount], const Boxes& boxes) {
  for (std::uint64_t& state : states) {
    state = Round(state, boxes);
  }
}

template <std::size_t kCount>
KX_ALWAYS_INLINE void RunTwoRounds(std::uint64_t (&states)[kCount], std::uint64_t pair,
                                   const Boxes& boxes) {
  for (std::uint64_t& state : states) {
    state ^= pair;
  }
  RunRound(states, boxes);
  RunRound(states, boxes);
}

// All rounds. The widest group's are written out, which saves the counting; a message has but one
// of the others.
template <Direction kDirection, std::size_t kCount>
KX_ALWAYS_INLINE void RunRounds(std::uint64_t (&states)[kCount], const std::uint32_t* p,
                                const Boxes& boxes) {
  if constexpr (kCount == kWidth) {
    KX_UNROLL_8
    for (std::size_t number = 0; number < kPairs - 1; ++number) {
      RunTwoRounds(states, Pair<kDirection>(p, number), boxes);
    }
  } else {
    for (std::size_t number = 0; number < kPairs - 1; ++number) {
      RunTwoRounds(states, Pair<kDirection>(p, number), boxes);
    }
  }
}

// Ciphers kCount neighbouring blocks at once. Where a block comes from and goes to memory it is
// opaque, lest GCC moves the states into vector registers and back.
template <Direction kDirection, std::size_t kCount>
void CipherGroup(const std::uint32_t* p, const Boxes& boxes, const std::uint8_t* input,
                 std::uint8_t* output) {
  std::uint64_t states[kCount];
  for (std::size_t i = 0; i < kCount; ++i) {
    states[i] = kx::ValueBarrier(kx::LoadLittleEndian64(input + i * kBlockBytes));
  }
  RunRounds<kDirection>(states, p, boxes);
  const std::uint64_t pair = Pair<kDirection>(p, kPairs - 1);
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::uint64_t block = kx::ValueBarrier(std::rotl(states[i] ^ pair, 32));
    kx::StoreLittleEndian64(block, output + i * kBlockBytes);
  }
}

template <Direction kDirection>
using GroupCipher = void (*)(const std::uint32_t*, const Boxes&, const std::uint8_t*,
                             std::uint8_t*);

// The ciphers of the groups of 1 to kWidth blocks, for what is left over of a message.
template <Direction kDirection, std::size_t... kIndices>
constexpr std::array<GroupCipher<kDirection>, sizeof...(kIndices)> GroupCiphers(
    std::index_sequence<kIndices...>) {
  return {CipherGroup<kDirection, kIndices + 1>...};
}

template <Direction kDirection>
void CipherBlocks(const std::uint32_t* p, const std::uint32_t* s, const std::uint8_t* input,
                  std::uint8_t* output, std::size_t blocks) {
  static constexpr auto kCiphers = GroupCiphers<kDirection>(std::make_index_sequence<kWidth>());
  const Boxes boxes(s);
  for (; blocks > kWidth; blocks -= kWidth) {
    CipherGroup<kDirection, kWidth>(p, boxes, input, output);
    input += kWidth * kBlockBytes;
    output += kWidth * kBlockBytes;
  }
  if (blocks > 0) {
    kCiphers[blocks - 1](p, boxes, input, output);
  }
}

std::uint32_t F(const std::uint32_t* s, std::uint32_t x) {
  return ((s[x >> 24] + s[kBoxWords + (x >> 16 & 0xFF)]) ^ s[2 * kBoxWords + (x >> 8 & 0xFF)]) +
         s[3 * kBoxWords + (x & 0xFF)];
}

// The rounds of a single block, with P in the order of the direction. P's first two words have been
// added to the halves before.
inline void RunRounds(const std::uint32_t* p, const std::uint32_t* s, std::uint32_t& left,
                      std::uint32_t& right) {
  std::uint32_t l = left;
  std::uint32_t r = right;
  for (std::size_t i = 2; i < kPWords; i += 2) {
    r ^= F(s, l);
    // Opaque so that P's word is added while F is still looked up, and not behind it.
    l = kx::ValueBarrier(l ^ p[i]) ^ F(s, r);
    r = kx::ValueBarrier(r ^ p[i + 1]);
  }
  left = r;
  right = l;
}

// Replaces the words of a table by the cipher of the block before, from left and right on.
void FillFromChain(const std::uint32_t* p, const std::uint32_t* s, std::uint32_t* words,
                   std::size_t count, std::uint32_t& left, std::uint32_t& right) {
  // A block's last addition of P and the next block's first are one, as P does not change.
  std::uint32_t chained[kPWords];
  std::copy_n(p, kPWords, chained);
  chained[kPWords - 2] ^= p[1];
  chained[kPWords - 1] ^= p[0];
  std::uint32_t l = left ^ p[0];
  std::uint32_t r = right ^ p[1];
  for (std::size_t i = 0; i < count; i += 2) {
    RunRounds(chained, s, l, r);
    words[i] = l ^ p[0];
    words[i + 1] = r ^ p[1];
  }
  left = l ^ p[0];
  right = r ^ p[1];
  kx::Wipe(chained, sizeof(chained));
}

}  // namespace

class_blowfish::class_blowfish() {
  pArray = std::make_unique_for_overwrite<std::uint32_t[]>(kPWords);
  sBoxes = std::make_unique_for_overwrite<std::uint32_t[]>(kSWords);
}

class_blowfish::~class_blowfish() {
  kx::Wipe(pArray.get(), kPWords * sizeof(std::uint32_t));
  kx::Wipe(sBoxes.get(), kSWords * sizeof(std::uint32_t));
}

void class_blowfish::Initialize(const std::uint8_t* key, std::int32_t keyLength) {
  kx::FatalUnless(key && keyLength >= 1);
  std::memcpy(pArray.get(), kInitialP, sizeof(kInitialP));
  std::memcpy(sBoxes.get(), kInitialS, sizeof(kInitialS));
  const std::size_t keyBytes = static_cast<std::size_t>(keyLength);
  std::size_t position = 0;
  for (std::size_t i = 0; i < kPWords; ++i) {
    std::uint32_t word = 0;
    for (int byte = 0; byte < 4; ++byte) {
      word = word << 8 | key[position];
      position = (position + 1) % keyBytes;
    }
    pArray[i] ^= word;
  }
  std::uint32_t left = 0;
  std::uint32_t right = 0;
  for (std::size_t i = 0; i < kPWords; i += 2) {
    Encipher(left, right);
    pArray[i] = left;
    pArray[i + 1] = right;
  }
  FillFromChain(pArray.get(), sBoxes.get(), sBoxes.get(), kSWords, left, right);
}

void class_blowfish::Encipher(std::uint32_t& left, std::uint32_t& right) const {
  const std::uint32_t* const p = pArray.get();
  left ^= p[0];
  right ^= p[1];
  RunRounds(p, sBoxes.get(), left, right);
}

void class_blowfish::Decipher(std::uint32_t& left, std::uint32_t& right) const {
  std::uint32_t reversed[kPWords];
  std::reverse_copy(pArray.get(), pArray.get() + kPWords, reversed);
  left ^= reversed[0];
  right ^= reversed[1];
  RunRounds(reversed, sBoxes.get(), left, right);
  kx::Wipe(reversed, sizeof(reversed));
}

void class_blowfish::EncipherBlocks(const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) const {
  CipherBlocks<Direction::kEncipher>(pArray.get(), sBoxes.get(), input, output, blocks);
}

void class_blowfish::DecipherBlocks(const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) const {
  CipherBlocks<Direction::kDecipher>(pArray.get(), sBoxes.get(), input, output, blocks);
}
