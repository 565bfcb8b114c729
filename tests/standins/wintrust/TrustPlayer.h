#pragma once

#include <windows.h>
#include <wintrust.h>

namespace test {

// ITrustPlayer answers for the stand-in wintrust.dll: its four exports pass their calls on as they
// come.
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

// The program exports a function of this type and name that gives the player, null when
// there is none.
using TrustPlayerFunction = ITrustPlayer*();
inline constexpr char kTrustPlayer[] = "TrustPlayer";

}  // namespace test
