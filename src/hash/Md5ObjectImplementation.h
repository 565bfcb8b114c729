#pragma once

#include "Cifra/IKxBaseInterface.h"
#include "Cifra/IMd5.h"
#include "foundation/logging/CLogDLL.h"
#include "hash/Md5Engine.h"

class Md5ObjectImplementation final : public Cifra::IMd5, public IKxBaseInterface {
 public:
  Md5ObjectImplementation();
  ~Md5ObjectImplementation();

  void* QueryInterface(const InterfaceId& iid) override;

  void Init() override;
  void Update(const std::uint8_t* bytes, std::uint32_t length) override;
  void GetHashString(kx::StringT<wchar_t>& output) override;
  void Final(std::uint8_t (&digest)[kDigestBytes]) override;
  std::uint32_t HashFile(const wchar_t* path, kx::StringT<wchar_t>& output) override;

 private:
  Md5Context context{};
  logging::CLogDLLRef log;
};
