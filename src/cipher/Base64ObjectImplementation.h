#pragma once

#include "Cifra/IBase64.h"
#include "Cifra/IKxBaseInterface.h"

class Base64ObjectImplementation final : public Cifra::IBase64, public IKxBaseInterface {
 public:
  void* QueryInterface(const InterfaceId& iid) override;

  void Encode(const std::uint8_t* input, std::uint64_t inputLength, std::string& output,
              bool addPadding) override;
  void Encode(const std::vector<std::uint8_t>& input, std::string& output,
              bool addPadding) override;
  std::uint64_t GetDecodedSize(std::uint64_t encodedLength) override;
  std::uint32_t DecodeToBuffer(const std::string& input, std::uint8_t* output,
                               std::uint64_t* size) override;
  std::uint32_t Decode(const std::string& input, std::vector<std::uint8_t>& output) override;
};
