#pragma once

#include <windows.h>
#include <wintrust.h>

namespace Cifra::Test {

// ITrustPlayer implements a stand-in wintrust.dll, whose four exports forward to it.
class ITrustPlayer {
 public:
  virtual LONG Verify(HWND window, const GUID* action, void* data) = 0;
  virtual CRYPT_PROVIDER_DATA* ProviderData(HANDLE state) = 0;
  virtual CRYPT_PROVIDER_SGNR* Signer(CRYPT_PROVIDER_DATA* provider, DWORD index,
                                      BOOL isCounterSigner, DWORD counterSignerIndex) = 0;
  virtual CRYPT_PROVIDER_CERT* Certificate(CRYPT_PROVIDER_SGNR* signer, DWORD index) = 0;

 protected:
  ~ITrustPlayer() = default;
};

// The player of a wintrust.dll; each stand-in defines its own.
ITrustPlayer& Player();

// A program that is the player exports a function of this type and name; it returns null while
// there is no player.
using TrustPlayerFunction = ITrustPlayer*();
inline constexpr char kTrustPlayer[] = "TrustPlayer";

}  // namespace Cifra::Test
