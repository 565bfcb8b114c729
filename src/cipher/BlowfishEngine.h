#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "cipher/BlowfishKernel.h"

// class_blowfish is the Blowfish block cipher (B. Schneier, 1994): 16 rounds, 8-byte blocks, keys
// defined up to 56 bytes, of which up to 72 count. A block's halves are little-endian words, the
// key's bytes fill their words most significant byte first.
//
// The tables hold the key. They are not initialised before Initialize, and wiped before they are
// freed.
class class_blowfish {
 public:
  static constexpr std::size_t kBlockBytes = 8;

  class_blowfish();
  virtual ~class_blowfish();
  class_blowfish(const class_blowfish&) = delete;
  class_blowfish& operator=(const class_blowfish&) = delete;

  // The key schedule. keyLength is in bytes; a null key and a length below 1 end the process.
  void Initialize(const std::uint8_t* key, std::int32_t keyLength);

  void Encipher(std::uint32_t& left, std::uint32_t& right) const;
  void Decipher(std::uint32_t& left, std::uint32_t& right) const;

  // Encipher or decipher whole blocks of 8 bytes; input and output are the same buffer or do not
  // overlap.
  void EncipherBlocks(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) const;
  void DecipherBlocks(const std::uint8_t* input, std::uint8_t* output, std::size_t blocks) const;

  // What the kernels of BlowfishKernel.h work with.
  Cifra::BlowfishBlocks::Tables Tables() const { return {pArray.get(), sBoxes.get()}; }

 private:
  std::unique_ptr<std::uint32_t[]> sBoxes;
  std::unique_ptr<std::uint32_t[]> pArray;
};
