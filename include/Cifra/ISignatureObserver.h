#pragma once

#include <cstdint>

struct _CERT_CONTEXT;  // CERT_CONTEXT of the platform's wincrypt.h

namespace Cifra {

// ISignatureObserver receives progress callbacks for each signature of a file, in the order of
// verification and on the caller's thread. An exception thrown by an operation ends the
// verification and propagates to its caller. An operation must not call the observed object.
class ISignatureObserver {
 public:
  // A signature was verified; result is that of the last WinVerifyTrust call, 0 for trusted.
  virtual void OnVerifyResult(std::int32_t result) = 0;

  // The signing certificate was found. The context (a PCCERT_CONTEXT) belongs to the platform and
  // is valid during this call only: duplicate it to keep it.
  virtual void OnCertificate(const _CERT_CONTEXT* certificate) = 0;

  // Processing of this signature has finished. Not called for a signature without a signer, such as
  // that of an unsigned file.
  virtual void OnSignatureDone() = 0;

 protected:
  ~ISignatureObserver() = default;
};

}  // namespace Cifra
