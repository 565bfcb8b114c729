#pragma once

#include <windows.h>
#include <wintrust.h>

#include <vector>

#include "Cifra/IDigitalSignature.h"
#include "foundation/FileHandle.h"
#include "foundation/logging/CLogDLL.h"
#include "signature/TrustRequest.h"

namespace Cifra {

// DigitalSignatureObjectImplementation verifies a file's signatures one after another with the
// platform's trust service (WinTrust) and describes each signer in a chain.
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

  DWORD OpenFileHandle();
  void EnumCertificates(kx::IList<Chain>& chains, const bool& onlineCheck);
  void VerifyOneSignature(TrustRequest& request, kx::IList<Chain>& chains, const bool& onlineCheck);
  bool GetCertificate(CRYPT_PROVIDER_SGNR& signer, Chain& chain);

  String filePath;
  kx::FileHandle file;
  std::vector<Chain> trustedChains;
  ISignatureObserver* observer = nullptr;
  logging::CLogDLLRef log;
};

}  // namespace Cifra
