#pragma once

#include "Cifra/IKxBaseInterface.h"
#include "Cifra/ISha256.h"
#include "foundation/logging/CLogDLL.h"
#include "hash/CngHandles.h"

class Sha256ObjectImplementation final : public Cifra::ISha256, public IKxBaseInterface {
 public:
  Sha256ObjectImplementation();

  void* QueryInterface(const InterfaceId& iid) override;

  std::int32_t Init() override;
  std::int32_t Update(const std::uint8_t* bytes, std::uint32_t length) override;
  void GetHashString(kx::StringT<wchar_t>& output) override;
  std::int32_t Final(std::uint8_t (&digest)[kDigestBytes]) override;
  std::uint32_t HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) override;

 private:
  logging::CLogDLLRef log;
  CngAlgorithm algorithm;  // outlives the hash that is made from it
  CngHash hash;
  bool open = false;  // the handles were set up, and are to be given back
};
