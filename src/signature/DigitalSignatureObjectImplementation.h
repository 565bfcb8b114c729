#pragma once

#include <windows.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <vector>

#include "Cifra/IDigitalSignature.h"
#include "foundation/FileHandle.h"
#include "foundation/logging/CLogDLL.h"
#include "signature/TrustRequest.h"

namespace Cifra {

// DigitalSignatureObjectImplementation walks the signatures of a file with the platform's trust
// service (WinTrust), and turns what it finds of the signers into chains.
class DigitalSignatureObjectImplementation : public IDigitalSignature {
 public:
  DigitalSignatureObjectImplementation();
  DigitalSignatureObjectImplementation(const DigitalSignatureObjectImplementation&) = delete;
  DigitalSignatureObjectImplementation& operator=(const DigitalSignatureObjectImplementation&) =
      delete;

  std::uint32_t VerifyFile(const kx::StringT<wchar_t>& path, bool onlineCheck) override;
  std::uint32_t GetDigitalSignature(const kx::StringT<wchar_t>& path, kx::IList<Chain>& chains,
                                    const bool& onlineCheck) override;
  bool IsSigned(const kx::StringT<wchar_t>& path, const bool& onlineCheck) override;
  void GetTrustedChains(std::vector<Chain>& chains) override;
  void SetObserver(ISignatureObserver* newObserver) override;

 protected:
  ~DigitalSignatureObjectImplementation() = default;

 private:
  using String = kx::StringT<wchar_t>;

  // The walk over the signatures of a file.
  DWORD OpenFileHandle();
  void EnumCertificates(kx::IList<Chain>& chains, const bool& onlineCheck);
  void HandleSignature(TrustRequest& request, kx::IList<Chain>& chains, const bool& onlineCheck);
  bool GetCertificate(CRYPT_PROVIDER_SGNR& signer, Chain& chain);

  // What is told of a certificate.
  static void BlobToStr(const CERT_NAME_BLOB& blob, String& text);
  static String GetName(const wchar_t* function, const wchar_t* format, const CERT_NAME_BLOB& blob);
  static String GetIssuer(const CERT_INFO& certificate);
  static String GetSubject(const CERT_INFO& certificate);
  static String GetSerial(const CERT_INFO& certificate);
  static SignatureInfo::Name SplitName(const String& name);

  // When a signature was made, in milliseconds since 1970, or 0.
  static std::uint64_t GetTimestamp(CRYPT_PROVIDER_DATA& provider, CRYPT_PROVIDER_SGNR& signer);

  String filePath;
  kx::FileHandle file;
  std::vector<Chain> trustedChains;
  ISignatureObserver* observer = nullptr;
  logging::CLogDLLRef log;
};

}  // namespace Cifra
