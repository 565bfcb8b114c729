#pragma once

#include <cstdint>
#include <vector>

#include "Cifra/ISignatureObserver.h"
#include "Cifra/InterfaceId.h"
#include "Cifra/SignatureInfo.h"
#include "foundation/collections/IList.h"
#include "foundation/string/StringT.h"

namespace Cifra {

// IDigitalSignature has the platform verify the Authenticode signatures of a file, and tells for
// each of them who signed, with which certificate, and when.
//
// A file is first verified with revocation data from the platform's cache only. Where onlineCheck
// is set, a signature that fails is verified once more with retrieval from the network allowed;
// from then on the file's further signatures are verified so at once.
//
// Result codes tell whether the file could be opened (0, or the platform's code, such as 2 for a
// missing file), and nothing of its signatures: the platform's verdict on each one is reported to
// the observer, and only signatures that it trusts get into the trusted chains.
//
// The platform's state of a signature for which it gives no provider data or no signer, as for an
// unsigned file, stays open on purpose until the process ends: one that verifies many such files
// grows with each of them.
//
// An object serves one caller at a time. The trusted chains add up over all files that the object
// has seen: use a fresh object for each file where IsSigned or GetTrustedChains is to speak of that
// file alone.
//
// Obtained from the object kDigitalSignatureObjectId.
class IDigitalSignature {
 public:
  static constexpr InterfaceId kInterfaceId{
      0x3A9EE0E6, 0x1477, 0x9A99, {0xD3, 0x41, 0xB8, 0x1B, 0x33, 0xA7, 0xC6, 0xD3}};

  // Verifies a file's signatures for the observer and the trusted chains alone. Returns what
  // GetDigitalSignature does.
  virtual std::uint32_t VerifyFile(const kx::StringT<wchar_t>& path, bool onlineCheck) = 0;

  // Verifies a file's signatures and appends a chain to `chains` for each one that has a signer,
  // trusted or not. onlineCheck is read anew for each signature, so that an observer may change it.
  virtual std::uint32_t GetDigitalSignature(const kx::StringT<wchar_t>& path,
                                            kx::IList<Chain>& chains, const bool& onlineCheck) = 0;

  // True when the file could be opened and this object has ever seen a trusted signature, in this
  // file or in an earlier one.
  virtual bool IsSigned(const kx::StringT<wchar_t>& path, const bool& onlineCheck) = 0;

  // Copies the chains of all trusted signatures that this object has seen. Needs the same standard
  // library on both sides; the library must stay loaded while `chains` is used.
  virtual void GetTrustedChains(std::vector<Chain>& chains) = 0;

  // Sets the observer of the verifications that follow, or none with null. The observer is the
  // caller's and must live as long as it is set.
  virtual void SetObserver(ISignatureObserver* observer) = 0;

 protected:
  ~IDigitalSignature() = default;
};

}  // namespace Cifra
