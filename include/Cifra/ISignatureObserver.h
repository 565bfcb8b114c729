#pragma once

#include <cstdint>

struct _CERT_CONTEXT;  // CERT_CONTEXT of the platform's wincrypt.h

namespace Cifra {

// ISignatureObserver is a caller's eye on a verification: it is told of every signature of a file,
// in the order in which the signatures are visited, on the caller's thread. An exception that
// leaves an operation ends the verification and reaches the caller of it.
class ISignatureObserver {
 public:
  // A signature was verified; result is the final one of WinVerifyTrust, 0 for a trusted signature.
  virtual void OnVerifyResult(std::int32_t result) = 0;

  // The signing certificate was found. The context (a PCCERT_CONTEXT) belongs to the platform and
  // is valid during this call only: duplicate it to keep it.
  virtual void OnCertificate(const _CERT_CONTEXT* certificate) = 0;

  // The signature is done with. Not called for a signature without a signer, such as that of an
  // unsigned file.
  virtual void OnSignatureDone() = 0;

 protected:
  ~ISignatureObserver() = default;
};

}  // namespace Cifra
