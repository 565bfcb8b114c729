#pragma once

#include <cstdint>
#include <vector>

#include "Cifra/ISignatureObserver.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/ObjectIds.h"
#include "Cifra/SignatureInfo.h"
#include "foundation/collections/IList.h"
#include "foundation/string/StringT.h"

namespace Cifra {

// IDigitalSignature verifies the Authenticode signatures of a file with the platform's trust
// service and reports, for each of them, the signing certificate and the time stamp.
//
// Verification first uses only revocation data from the platform's cache. With onlineCheck set, a
// signature that fails is verified once more with network retrieval allowed; the file's remaining
// signatures may then retrieve at their first attempt.
//
// Result codes only tell whether the file could be opened: 0, or the platform's code, such as 2 for
// a missing file. The platform's verdict on each signature goes to the observer, and only trusted
// signatures are added to the trusted chains.
//
// The platform's state for a signature without provider data or signer, such as that of an unsigned
// file, stays open until the process ends: a process that verifies many such files grows with each
// of them. Callers depend on this order of calls to the platform.
//
// An object serves one caller at a time. Its trusted chains accumulate over all files it verifies:
// use a new object for each file if IsSigned or GetTrustedChains is to apply to that file alone.
//
// Obtained from the object kDigitalSignatureObjectId.
class IDigitalSignature {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x3A9EE0E6, 0x1477, 0x9A99, {0xD3, 0x41, 0xB8, 0x1B, 0x33, 0xA7, 0xC6, 0xD3}};
  static constexpr const wchar_t* kObjectId = kDigitalSignatureObjectId;

  // Verifies a file's signatures, reporting only to the observer and the trusted chains. Result
  // codes are those of GetDigitalSignature.
  virtual std::uint32_t VerifyFile(const kx::StringT<wchar_t>& path, bool onlineCheck) = 0;

  // Verifies a file's signatures and appends a chain to `chains` for each one that has a signer,
  // trusted or not. onlineCheck is read again for each signature: an observer may change it.
  virtual std::uint32_t GetDigitalSignature(const kx::StringT<wchar_t>& path,
                                            kx::IList<Chain>& chains, const bool& onlineCheck) = 0;

  // True if the file could be opened and this object has found a trusted signature in it or in any
  // earlier file.
  virtual bool IsSigned(const kx::StringT<wchar_t>& path, const bool& onlineCheck) = 0;

  // Copies the chains of all trusted signatures found so far. Caller and DLL must use the same
  // standard library; the DLL must stay loaded while `chains` is used.
  virtual void GetTrustedChains(std::vector<Chain>& chains) = 0;

  // Sets the observer of the verifications that follow; null removes it. The observer is owned by
  // the caller and must live as long as it is set.
  virtual void SetObserver(ISignatureObserver* observer) = 0;

 protected:
  ~IDigitalSignature() = default;
};

}  // namespace Cifra
