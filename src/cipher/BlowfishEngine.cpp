#include "cipher/BlowfishEngine.h"

#include <algorithm>
#include <cstring>

#include "cipher/BlowfishBlock.h"
#include "cipher/BlowfishKernel.h"
#include "foundation/ByteOrder.h"
#include "foundation/Fatal.h"
#include "foundation/Wipe.h"

using Cifra::BlowfishBlock::Direction;
using Cifra::BlowfishTables::kInitialP;
using Cifra::BlowfishTables::kInitialS;
using Cifra::BlowfishTables::kPWords;
using Cifra::BlowfishTables::kSWords;

namespace {

// Fills the table with successive encryptions, each of the previous block, from left and right on.
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
    Cifra::BlowfishBlock::RunRounds<Direction::kEncipher>(chained, s, l, r);
    words[i] = l ^ p[0];
    words[i + 1] = r ^ p[1];
  }
  left = l ^ p[0];
  right = r ^ p[1];
  kx::Wipe(chained, sizeof(chained));
}

template <Direction kDirection>
void CipherSingle(const std::uint32_t* p, const std::uint32_t* s, const std::uint8_t* input,
                  std::uint8_t* output) {
  std::uint32_t left = kx::LoadLittleEndian32(input);
  std::uint32_t right = kx::LoadLittleEndian32(input + 4);
  Cifra::BlowfishBlock::Cipher<kDirection>(p, s, left, right);
  kx::StoreLittleEndian32(left, output);
  kx::StoreLittleEndian32(right, output + 4);
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
  Cifra::BlowfishBlock::Cipher<Direction::kEncipher>(pArray.get(), sBoxes.get(), left, right);
}

void class_blowfish::Decipher(std::uint32_t& left, std::uint32_t& right) const {
  Cifra::BlowfishBlock::Cipher<Direction::kDecipher>(pArray.get(), sBoxes.get(), left, right);
}

// A single block's halves are faster apart: nothing else fills the time of its look-ups.
void class_blowfish::EncipherBlocks(const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) const {
  if (blocks == 1) {
    CipherSingle<Direction::kEncipher>(pArray.get(), sBoxes.get(), input, output);
  } else {
    Cifra::BlowfishBlocks::Encipher(Tables(), input, output, blocks);
  }
}

void class_blowfish::DecipherBlocks(const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) const {
  if (blocks == 1) {
    CipherSingle<Direction::kDecipher>(pArray.get(), sBoxes.get(), input, output);
  } else {
    Cifra::BlowfishBlocks::Decipher(Tables(), input, output, blocks);
  }
}
