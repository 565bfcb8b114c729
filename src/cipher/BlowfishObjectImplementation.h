#pragma once

#include "Cifra/IBlowfish.h"
#include "Cifra/IKxBaseInterface.h"
#include "cipher/BlowfishEngine.h"

class BlowfishObjectImplementation final : public IKxBaseInterface, public Cifra::IBlowfish {
 public:
  void* QueryInterface(const InterfaceId& iid) override;

  void SetKey(const std::uint8_t* key, std::int32_t keyLength) override;
  std::uint32_t Encrypt(const std::uint8_t* input, std::uint64_t inputLength,
                        std::vector<std::uint8_t>& output) override;
  std::uint32_t Decrypt(const std::uint8_t* input, std::uint64_t inputLength,
                        std::vector<std::uint8_t>& output) override;

 private:
  class_blowfish cipher;
};
