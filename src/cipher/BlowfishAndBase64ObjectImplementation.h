#pragma once

#include "Cifra/IBase64.h"
#include "Cifra/IBlowfish.h"
#include "Cifra/IBlowfishAndBase64.h"
#include "Cifra/IKxBaseInterface.h"
#include "framework/ExportedObject.h"

class BlowfishAndBase64ObjectImplementation final : public IKxBaseInterface,
                                                    public Cifra::IBlowfishAndBase64 {
 public:
  BlowfishAndBase64ObjectImplementation();
  ~BlowfishAndBase64ObjectImplementation();

  void* QueryInterface(const InterfaceId& iid) override;

  std::uint32_t SetKey(const std::uint8_t* key, std::uint32_t keyLength) override;
  std::uint32_t EncodeText(const wchar_t* text, wchar_t* destination,
                           std::uint32_t destinationSize) override;
  std::uint32_t DecodeToBytes(const char* text, std::uint64_t length, std::string& output) override;
  std::uint32_t DecodeText(const wchar_t* text, wchar_t* destination,
                           std::uint32_t destinationSize) override;

 private:
  bool HasParts() const { return blowfish.iface && base64.iface; }
  bool Decipher(const std::string& text, std::vector<std::uint8_t>& plain);

  std::uint8_t key[kMaxKeyBytes] = {};
  std::uint32_t keyLength = 0;
  Cifra::CifraExportedObject<Cifra::IBlowfish> blowfish;
  Cifra::CifraExportedObject<Cifra::IBase64> base64;
};
